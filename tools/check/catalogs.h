// The message catalogs of an installation, for the check of references: several
// threads ask, and every language at hand counts, not that of the user alone.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "trt/catalog.h"

class CheckCatalogs {
 public:
  // The installation that HD_U names, or the one where it usually is; nullptr
  // when there is none. Its languages are the folders below msg_c and msg, and
  // that of the user.
  static std::shared_ptr<CheckCatalogs> of_environment();

  // The languages in which nothing answers for a message, in the order of their
  // names. What English has answers for it in all.
  std::vector<std::string> missing_in(const std::string& name, int number);

  // All languages.
  const std::vector<std::string>& languages() const { return languages_; }

 private:
  std::vector<std::string> languages_;
  std::mutex mutex_;
  CatalogSet set_;
};
