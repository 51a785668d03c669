// Message catalog: numbered texts in files, one set of files per language.
//
// A catalog is asked for by its file name. The file of the user's language is
// the first that exists of
//
//   HD_U/HD_VE/msg_c/HD_LA/name        /u/1700/msg_c/de/cad_msg.txt
//   HD_U/HD_VE/msg/HD_LA/name          /u/1700/msg/de/cad_msg.txt
//
// and the file of the language "en", found the same way, answers for what is
// missing there. A catalog file is read once, at the first question about it:
//
//   1 TRT 1 : MMSGID 950:Messages      the header; Messages becomes text 1
//   $ windows                          comment
//   12 Close                           number, one blank, tab or comma, text
//   40,Hello ## the greeting           "##" ends what is handed out
//
// The numbers ascend; a record behind a higher number is never found. With
// TQS_MSG_ID above 0 each text starts with the first letter of the catalog's
// name and the number: c12Close.
//
// A run has one set of catalogs and passes it to who asks.
#pragma once

#include <functional>
#include <string_view>
#include <unordered_map>

#include "Cutil/ut_memory.h"
#include "services/environment.h"

class CatalogSet {
 public:
  CatalogSet() = default;
  CatalogSet(const CatalogSet&) = delete;
  CatalogSet& operator=(const CatalogSet&) = delete;

  // The text of a message. It never fails:
  //
  //   found in either language        its text
  //   otherwise, with a default       the default, which also becomes the text
  //                                   of that number when that is 1 or more
  //   otherwise                       number and name as "%4.4d %40.40s"
  //
  // An empty name, HD_VE or HD_LA gives the last form at once. Texts of
  // messages stay valid as long as the set, a number-and-name text until the
  // next call; a default that could not be kept is returned itself.
  [[nodiscard]] const char* lookup(const char* name, int number,
                                   const char* default_text);

  // Whether the catalog of a language has the message itself, whatever language
  // answers for it. Throws bad_alloc.
  [[nodiscard]] bool has(const char* language, const char* name, int number);

  // The message that a reference stands for. A reference is what MSGGET leaves
  // in a program: catalog name, number and default text between bytes 4,
  //
  //   \4 cad_msg.txt \4 12 \4 Close \4     (without the blanks)
  //
  // A number below 1 gives the default text. Everything else - another first
  // byte, 1024 bytes and more, a missing byte 4 - is returned as it is. The
  // result is valid until the next call.
  [[nodiscard]] const char* expand_reference(const char* text);

 private:
  static constexpr size_t LONGEST_REFERENCE = 1023;

  struct TextHash {
    size_t operator()(const UtString& text) const {
      return std::hash<std::string_view>()(text);
    }
  };
  template <class Key, class Value, class Hash>
  using Table = std::unordered_map<Key, Value, Hash, std::equal_to<Key>,
                                   UtAllocator<std::pair<const Key, Value>>>;
  using Module = Table<int, UtString, std::hash<int>>;

  void take_settings();
  bool with_prefix();
  UtString find_file(const char* language, const char* name);
  void read_module(const char* name, std::string_view rest, Module* module);
  Module* module_of(const char* language, const char* name);
  const char* find(const char* name, int number, const char* default_text);
  const char* numbered_text(const char* name, int number);

  WorkingDirectory directory_;
  bool has_settings_ = false;
  UtString root_, version_, language_;
  bool has_prefix_setting_ = false;
  bool with_prefix_ = false;  // texts start with letter and number

  Table<UtString, Module, TextHash> modules_;  // by language, zero byte, name
  UtString last_name_;            // name of the module asked for last
  const Module* last_ = nullptr;  // in the user's language

  char numbered_[64] = {};                      // "0012    cad_msg.txt"
  char reference_[LONGEST_REFERENCE + 1] = {};  // being expanded
};
