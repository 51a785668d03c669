// Defaults files: the resources that an installation, a user's directories and
// a host set before anything else runs.
//
// Resources are kept per class, in one database from resource name to value.
// Nothing in the compiler reads them back, but every tool of the suite loads
// the same files in the same order, and a broken file must not stop it: what
// is missing or malformed is skipped without a word. Files loaded later
// override values of files loaded earlier.
//
// A file is text in lines:
//
//   ! comment
//   #include "more.dflt"                   relative to this file
//   macro*title:  MSGGET("cad_msg.txt", 12, "Close")
//   macro.list:   one\ntwo \101             escapes; a "\" at the end of a line
//                                           continues the value on the next
//
// All files of a run together hold at most 16 MiB, also when their references
// are replaced, and #include is followed 1,000 times, 16 deep: what goes beyond
// is not read.
#pragma once

#include <cstddef>
#include <functional>
#include <string_view>
#include <unordered_map>

#include "Cutil/ut_memory.h"
#include "trt/catalog.h"

// One set of defaults files. Each text is a part of a path.
struct DefaultsEntry {
  const char* base_name;               // "macro": macro.dflt, macro-HOST.dflt
  const char* installation_directory;  // "util"; "util_s" and "util_c" too
  const char* common_directory;        // "glob"
  const char* path_variable;           // "MCPATH"
};

class Defaults {
 public:
  // Messages come from `catalogs`, which outlives the defaults.
  explicit Defaults(CatalogSet* catalogs) : catalogs_(catalogs) {}
  Defaults(const Defaults&) = delete;
  Defaults& operator=(const Defaults&) = delete;

  // Loads the files of each entry into the class. From the lowest precedence to
  // the highest these are, with the extension "dflt":
  //
  //   P/glob/dflt/macro.dflt, P/dflt/macro.dflt
  //                   for each piece P of the path variable, the last one
  //                   first; when the variable is empty or not set, instead
  //   HD_U/version/util/glob/dflt/macro.dflt, the same with util_s and util_c
  //   macro.dflt      in the current directory
  //   macro-HOST.dflt there
  //
  // Returns 0 whatever the files hold.
  int load_files(const char* class_name, const char* version,
                 const DefaultsEntry* table, size_t count,
                 const char* extension);

  // Loads one file with all that it includes. Returns 0; RC_BAD_CLASS for a
  // class name that is empty or longer than 31 characters; RC_NO_DEFAULTS_FILE
  // when the file cannot be read; RC_NO_MEMORY. The class is unchanged then.
  [[nodiscard]] int load_file(const char* class_name, const char* path);

  // Gives the class an empty database when it has none. Returns 0,
  // RC_BAD_CLASS or RC_NO_MEMORY.
  [[nodiscard]] int ensure_class(const char* class_name);

  // The value of a resource; nullptr when the class has none.
  [[nodiscard]] const char* value(const char* class_name, const char* resource);

 private:
  class Loader;
  struct TextHash {
    size_t operator()(const UtString& text) const {
      return std::hash<std::string_view>()(text);
    }
  };
  template <class Value>
  using TextTable =
      std::unordered_map<UtString, Value, TextHash, std::equal_to<UtString>,
                         UtAllocator<std::pair<const UtString, Value>>>;
  using Database = TextTable<UtString>;

  Database* find_database(const char* class_name);
  void merge(const char* class_name, Database loaded);

  CatalogSet* catalogs_;
  TextTable<Database> classes_;
  UtString last_name_;        // class used last
  Database* last_ = nullptr;  // its database
  size_t bytes_left_ = size_t{16} << 20;
  int includes_left_ = 1000;
};
