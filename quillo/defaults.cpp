// A file is read whole and passed over three times: bytes that do not count
// are removed, MSGGET references are replaced, lines are taken apart. Its
// resources, with those of the files it includes, are collected aside and then
// handed to the class entry by entry, which takes no memory and cannot fail.
#include "quillo/defaults.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "Cutil/ut_chars.h"
#include "Cutil/ut_file.h"
#include "services/environment.h"

namespace {

constexpr size_t LONGEST_CLASS_NAME = 31;
constexpr size_t LONGEST_INCLUDE = 511;
constexpr int MOST_NESTED_INCLUDES = 16;

bool IsClassName(const char* name) {
  const size_t length = strnlen(name, LONGEST_CLASS_NAME + 1);
  return length > 0 && length <= LONGEST_CLASS_NAME;
}

// Carriage returns and the end mark of other systems do not count.
void RemoveForeignBytes(UtString* text) {
  constexpr char CTRL_Z = 26;
  const auto end = std::remove_if(text->begin(), text->end(), [](char c) {
    return c == '\r' || c == CTRL_Z;
  });
  text->erase(end, text->end());
}

// One MSGGET reference in a file's text. Between its parts anything may stand.
struct Reference {
  UtString name, number, default_text;
  size_t end;  // behind the ")"
};

// Finds the text between the next `mark` and the one behind it.
bool TakeBetween(std::string_view text, char mark, size_t* at,
                 UtString* between) {
  const size_t first = text.find(mark, *at);
  if (first == std::string_view::npos) return false;
  const size_t last = text.find(mark, first + 1);
  if (last == std::string_view::npos) return false;
  *between = text.substr(first + 1, last - first - 1);
  *at = last + 1;
  return true;
}

bool TakeReference(std::string_view text, size_t at, Reference* reference) {
  if (!TakeBetween(text, '"', &at, &reference->name)) return false;
  if (!TakeBetween(text, ',', &at, &reference->number)) return false;
  if (!TakeBetween(text, '"', &at, &reference->default_text)) return false;
  const size_t close = text.find(')', at);
  if (close == std::string_view::npos) return false;
  reference->end = close + 1;
  return true;
}

// Replaces the references by their messages. At one that is not complete the
// replacing ends, and the text when it has become longer than `limit`.
void ExpandReferences(CatalogSet* catalogs, size_t limit, UtString* text) {
  constexpr std::string_view KEYWORD = "MSGGET";
  const std::string_view source = *text;
  size_t at = source.find(KEYWORD);
  if (at == std::string_view::npos) return;
  UtString expanded;
  size_t copied = 0;
  Reference reference;
  while (at != std::string_view::npos && expanded.size() <= limit &&
         TakeReference(source, at, &reference)) {
    expanded.append(source.substr(copied, at - copied));
    expanded +=
        catalogs->lookup(reference.name.c_str(), atoi(reference.number.c_str()),
                         reference.default_text.c_str());
    copied = reference.end;
    at = source.find(KEYWORD, copied);
  }
  expanded.append(source.substr(copied));
  if (expanded.size() > limit) expanded.resize(limit);
  text->swap(expanded);
}

void SkipBlanks(std::string_view* text) {
  while (!text->empty() && UtIsBlank(text->front())) text->remove_prefix(1);
}

// Takes the rest of the line, without its newline.
std::string_view TakeLine(std::string_view* rest) {
  const std::string_view line = rest->substr(0, rest->find('\n'));
  rest->remove_prefix(std::min(line.size() + 1, rest->size()));
  return line;
}

// Takes what a backslash stands for, which is already taken itself.
void TakeEscape(std::string_view* rest, UtString* value) {
  if (rest->empty()) return;
  const std::string_view text = *rest;
  size_t taken = 1;
  if (text[0] == 'n') {
    value->push_back('\n');
  } else if (text.size() >= 3 && UtIsOctal(text[0]) && UtIsOctal(text[1]) &&
             UtIsOctal(text[2])) {
    const int code =
        (text[0] - '0') * 64 + (text[1] - '0') * 8 + (text[2] - '0');
    value->push_back(static_cast<char>(code));
    taken = 3;
  } else if (text[0] != '\n') {  // else the value goes on in the next line
    value->push_back(text[0]);
  }
  rest->remove_prefix(taken);
}

// Takes a value with the lines it is continued on.
UtString TakeValue(std::string_view* rest) {
  UtString value;
  SkipBlanks(rest);
  while (true) {
    const size_t special = std::min(rest->find_first_of("\\\n"), rest->size());
    value.append(rest->substr(0, special));
    rest->remove_prefix(special);
    if (rest->empty()) return value;
    const bool ends = rest->front() == '\n';
    rest->remove_prefix(1);
    if (ends) return value;
    TakeEscape(rest, &value);
  }
}

}  // namespace

// Reads one file with those that it includes.
class Defaults::Loader {
 public:
  explicit Loader(Defaults* defaults) : defaults_(defaults) {}
  int load(const char* path, int depth);
  Database& resources() { return resources_; }

 private:
  int include(std::string_view line, const char* path, int depth);
  void take_resource(std::string_view* rest);

  Defaults* defaults_;
  Database resources_;
};

int Defaults::Loader::load(const char* path, int depth) {
  UtString text;
  if (const int code = UtReadWhole(path, UT_LARGEST_FILE, &text)) return code;
  size_t& left = defaults_->bytes_left_;
  if (text.size() > left) text.resize(left);
  RemoveForeignBytes(&text);
  ExpandReferences(defaults_->catalogs_, left, &text);
  left -= text.size();
  std::string_view rest = text;
  while (!rest.empty()) {
    switch (rest.front()) {
      case '!': TakeLine(&rest); break;
      case '#':
        if (const int code = include(TakeLine(&rest), path, depth);
            code == RC_NO_MEMORY)
          return code;
        break;
      default: take_resource(&rest);
    }
  }
  return RC_OK;
}

// Loads the file named in an #include line of the file `path`.
int Defaults::Loader::include(std::string_view line, const char* path,
                              int depth) {
  constexpr std::string_view KEYWORD = "#include";
  if (!line.starts_with(KEYWORD)) return RC_OK;
  line.remove_prefix(KEYWORD.size());
  SkipBlanks(&line);
  const size_t close = line.find('"', 1);
  if (!line.starts_with('"') || close == std::string_view::npos) return RC_OK;
  const std::string_view name = line.substr(1, close - 1);

  UtString included;
  const char* slash = strrchr(path, '/');
  if (slash != nullptr && !name.starts_with('/'))
    included.assign(path, static_cast<size_t>(slash + 1 - path));
  included += name;
  if (included.size() > LONGEST_INCLUDE) return RC_OK;
  if (depth == MOST_NESTED_INCLUDES || defaults_->includes_left_ == 0)
    return RC_OK;
  defaults_->includes_left_--;
  return load(included.c_str(), depth + 1);
}

// Takes "name: value" into the resources; a line without ":" behind its name
// is only taken.
void Defaults::Loader::take_resource(std::string_view* rest) {
  std::string_view line = rest->substr(0, rest->find('\n'));
  SkipBlanks(&line);
  const std::string_view name = line.substr(0, line.find_first_of(" \t:"));
  line.remove_prefix(name.size());
  SkipBlanks(&line);
  if (name.empty() || !line.starts_with(':')) {
    TakeLine(rest);
    return;
  }
  rest->remove_prefix(static_cast<size_t>(line.data() + 1 - rest->data()));
  resources_[UtString(name)] = TakeValue(rest);
}

namespace {

// The paths of a set of defaults files, loaded one by one into a class.
class FileSet {
 public:
  FileSet(Defaults* defaults, const char* class_name, const char* extension)
      : defaults_(defaults), class_name_(class_name), extension_(extension) {}

  void load_installation(const DefaultsEntry& entry, const char* version);
  void load_pieces(const DefaultsEntry& entry, std::string_view pieces);

  // A file that cannot be loaded is skipped, whatever the reason.
  template <class... Parts>
  void load(const Parts&... parts) {
    path_.clear();
    (path_.append(parts), ...);
    path_.append(".").append(extension_);
    (void)defaults_->load_file(class_name_, path_.c_str());
  }

 private:
  Defaults* defaults_;
  const char* class_name_;
  const char* extension_;
  UtString path_;
};

void FileSet::load_installation(const DefaultsEntry& entry,
                                const char* version) {
  const char* root = EnvValue("HD_U", DEFAULT_ROOT);
  for (const char* variant : {"", "_s", "_c"})
    load(root, "/", version, "/", entry.installation_directory, variant, "/",
         entry.common_directory, "/", extension_, "/", entry.base_name);
}

// Loads the files of the pieces of a path variable, from the last to the
// first.
void FileSet::load_pieces(const DefaultsEntry& entry, std::string_view pieces) {
  while (true) {
    const size_t semicolon = pieces.rfind(';');
    const bool is_first = semicolon == std::string_view::npos;
    std::string_view piece = pieces.substr(is_first ? 0 : semicolon + 1);
    SkipBlanks(&piece);
    while (!piece.empty() && UtIsBlank(piece.back())) piece.remove_suffix(1);
    if (!piece.empty()) {
      load(piece, "/", entry.common_directory, "/", extension_, "/",
           entry.base_name);
      load(piece, "/", extension_, "/", entry.base_name);
    }
    if (is_first) return;
    pieces = pieces.substr(0, semicolon);
  }
}

}  // namespace

// The database of a class; nullptr when it has none.
Defaults::Database* Defaults::find_database(const char* class_name) {
  if (last_ != nullptr && last_name_ == class_name) return last_;
  UtString name(class_name);
  const auto found = classes_.find(name);
  if (found == classes_.end()) return nullptr;
  last_name_.swap(name);
  last_ = &found->second;
  return last_;
}

// The resources of `loaded` replace those with the same names.
void Defaults::merge(const char* class_name, Database loaded) {
  Database* database = find_database(class_name);
  if (database == nullptr) {
    classes_.emplace(class_name, std::move(loaded));
    return;
  }
  database->reserve(database->size() + loaded.size());
  while (!loaded.empty()) {
    auto added = database->insert(loaded.extract(loaded.begin()));
    if (!added.inserted) added.position->second.swap(added.node.mapped());
  }
}

int Defaults::load_files(const char* class_name, const char* version,
                         const DefaultsEntry* table, size_t count,
                         const char* extension) {
  // Without memory the files that are left are skipped like missing ones.
  (void)UtGuarded([&] {
    FileSet files(this, class_name, extension);
    for (size_t i = 0; i < count; i++) {
      const char* pieces = EnvValue(table[i].path_variable, "");
      if (*pieces != '\0')
        files.load_pieces(table[i], pieces);
      else
        files.load_installation(table[i], version);
    }
    for (size_t i = 0; i < count; i++) files.load(table[i].base_name);
    char host[HOST_NAME_BYTES];
    if (!EnvHostName(host)) return RC_OK;
    for (size_t i = 0; i < count; i++)
      files.load(table[i].base_name, "-", host);
    return RC_OK;
  });
  return RC_OK;
}

int Defaults::load_file(const char* class_name, const char* path) {
  if (!IsClassName(class_name)) return RC_BAD_CLASS;
  return UtGuarded([&]() -> int {
    Loader loader(this);
    const int code = loader.load(path, 0);
    if (code == RC_CANNOT_OPEN) return RC_NO_DEFAULTS_FILE;
    if (code != RC_OK) return code;
    merge(class_name, std::move(loader.resources()));
    return RC_OK;
  });
}

int Defaults::ensure_class(const char* class_name) {
  if (!IsClassName(class_name)) return RC_BAD_CLASS;
  return UtGuarded([&] {
    classes_.try_emplace(class_name);
    return RC_OK;
  });
}

const char* Defaults::value(const char* class_name, const char* resource) {
  const char* value = nullptr;
  const int code = UtGuarded([&] {
    const Database* database = find_database(class_name);
    if (database == nullptr) return RC_OK;
    const auto found = database->find(resource);
    if (found != database->end()) value = found->second.c_str();
    return RC_OK;
  });
  return code == RC_OK ? value : nullptr;
}
