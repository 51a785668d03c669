// The languages are listed once; catalogs are read when they are asked for.
#include "tools/check/catalogs.h"

#include <filesystem>
#include <set>

#include "services/environment.h"

std::shared_ptr<CheckCatalogs> CheckCatalogs::of_environment() {
  namespace fs = std::filesystem;
  const char* root = EnvValue("HD_U");
  const bool is_named = root != nullptr && *root != '\0';
  const fs::path version =
      fs::path(is_named ? root : DEFAULT_ROOT) / EnvValue("HD_VE", "1700");
  std::set<std::string> languages;
  for (const char* folder : {"msg_c", "msg"}) {
    std::error_code error;
    for (fs::directory_iterator entry(version / folder, error), end;
         entry != end; entry.increment(error))
      if (entry->is_directory(error))
        languages.insert(entry->path().filename().string());
  }
  if (languages.empty() && !is_named) return nullptr;
  languages.insert(EnvValue("HD_LA", "de"));
  auto catalogs = std::make_shared<CheckCatalogs>();
  catalogs->languages_.assign(languages.begin(), languages.end());
  return catalogs;
}

std::vector<std::string> CheckCatalogs::missing_in(const std::string& name,
                                                   int number) {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> missing;
  if (set_.has("en", name.c_str(), number)) return missing;
  for (const std::string& language : languages_)
    if (!set_.has(language.c_str(), name.c_str(), number))
      missing.push_back(language);
  return missing;
}
