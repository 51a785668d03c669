#include "elut/model/program.h"

#include <cstring>
#include <string_view>

#include "Cutil/codes.h"
#include "Cutil/ut_hash.h"
#include "elut/files/program_file.h"

namespace {

bool IsBlank(char c) {
  return c == ' ' || c == '\t';
}

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

// The name of a call reference as it is stored.
std::string_view NormalCallName(McCallKind kind, std::string_view name) {
  if (kind == McCallKind::FN && name.starts_with("FN")) name.remove_prefix(2);
  if (kind == McCallKind::CFN && name.starts_with("CFN")) name.remove_prefix(3);
  return Trimmed(name);
}

// A copy in the arena of the program; none for the empty text.
int StoreText(McProgram* program, std::string_view text, const char** stored) {
  *stored = nullptr;
  if (text.empty()) return RC_OK;
  *stored = program->arena.copy(text.data(), text.size());
  return *stored == nullptr ? RC_NO_MEMORY : RC_OK;
}

int StoreText(McProgram* program, const char* text, const char** stored) {
  return StoreText(program, std::string_view(text == nullptr ? "" : text),
                   stored);
}

// Appends to a table whose count is a 16-bit field of the file.
template <class Entry>
int Append(UtVector<Entry>* table, Entry entry, uint16_t* index) {
  if (table->size() >= MC_TABLE_LIMIT) return RC_INVALID;
  return UtGuarded([&] {
    table->push_back(std::move(entry));
    *index = static_cast<uint16_t>(table->size() - 1);
    return RC_OK;
  });
}

// Finds the first SUB of a name: open addressing, at most half full.
class SubIndex {
 public:
  explicit SubIndex(const UtVector<McSub>& subs) : subs_(subs) {
    size_t slots = 16;
    while (slots < subs.size() * 2) slots *= 2;
    slots_.resize(slots);
    for (size_t i = 0; i < subs.size(); i++) {
      if (subs[i].name == nullptr) continue;
      uint32_t* slot = slot_of(subs[i].name);
      if (*slot == 0) *slot = static_cast<uint32_t>(i + 1);
    }
  }

  // The number of the SUB, or -1.
  int find(const char* name) { return static_cast<int>(*slot_of(name)) - 1; }

 private:
  uint32_t* slot_of(const char* name) {
    const size_t mask = slots_.size() - 1;
    size_t at = UtHash(name, strlen(name)) & mask;
    while (slots_[at] != 0 && strcmp(subs_[slots_[at] - 1].name, name) != 0)
      at = (at + 1) & mask;
    return &slots_[at];
  }

  const UtVector<McSub>& subs_;
  UtVector<uint32_t> slots_;  // number of the SUB + 1; 0: empty
};

}  // namespace

McProgram::McProgram() {
  StringPoolInit(&strings, POOL_UNIQUE);
}

McProgram::~McProgram() = default;

McProgram* McProgramCreate() {
  return UtNew<McProgram>();
}

void McProgramInit(McProgram* program) {
  program->~McProgram();
  ::new (program) McProgram();
}

void McProgramFree(McProgram** slot) {
  XdStream release;
  XdCreateRelease(&release);
  // Releasing cannot fail.
  (void)McXdrProgram(&release, slot);
  (void)XdDestroy(&release);
}

int McResolveCalls(McProgram* program) {
  return UtGuarded([&] {
    SubIndex subs(program->subs);
    for (McCallRef& call : program->calls) {
      if (call.kind != McCallKind::SUB || call.name == nullptr) continue;
      const int found = subs.find(call.name);
      if (found < 0) continue;
      call.name = nullptr;
      call.external = false;
      call.sub_index = static_cast<uint16_t>(found);
    }
    return RC_OK;
  });
}

int McSubAdd(McProgram* program, const char* name, uint16_t* index) {
  McSub sub;
  const int code = StoreText(program, Trimmed(name), &sub.name);
  if (code != RC_OK) return code;
  return Append(&program->subs, std::move(sub), index);
}

int McCallAdd(McProgram* program, McCallKind kind, const char* name,
              uint16_t* index) {
  McCallRef call = {nullptr, kind, kind != McCallKind::CFN, 0};
  const int code = StoreText(program, NormalCallName(kind, name), &call.name);
  if (code != RC_OK) return code;
  return Append(&program->calls, call, index);
}

int McImportAdd(McProgram* program, uint8_t kind, const char* name,
                const char* from, const char* module, const char* file) {
  McImport import = {kind, nullptr, nullptr, nullptr};
  int code = StoreText(program, name, &import.name);
  if (file != nullptr && *file != '\0') {
    import.kind |= MC_IMPORT_FILE;
    if (code == RC_OK) code = StoreText(program, file, &import.source);
  } else {
    if (code == RC_OK) code = StoreText(program, from, &import.source);
    if (code == RC_OK) code = StoreText(program, module, &import.module);
  }
  if (code != RC_OK) return code;
  uint16_t index;
  return Append(&program->imports, import, &index);
}
