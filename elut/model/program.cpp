// What a program owns hangs in its vectors and its store, so releasing it is
// nothing but its destructor. Calls are bound to SUBs after the parse, when all
// SUBs are known; both tables may be large, so SUBs are found by an index.
#include "elut/model/program.h"

#include <cstring>
#include <string_view>

#include "Cutil/codes.h"
#include "Cutil/ut_chars.h"
#include "Cutil/ut_hash.h"
#include "Cutil/ut_index.h"

namespace {

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && UtIsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && UtIsBlank(text.back())) text.remove_suffix(1);
  return text;
}

// The name of a call reference as it is stored.
std::string_view NormalCallName(McCallKind kind, std::string_view name) {
  if (kind == McCallKind::FN && name.starts_with("FN")) name.remove_prefix(2);
  if (kind == McCallKind::CFN && name.starts_with("CFN")) name.remove_prefix(3);
  return Trimmed(name);
}

// A copy in the arena of the program; none for the empty text.
const char* Stored(McProgram* program, std::string_view text) {
  return text.empty() ? nullptr
                      : program->store->arena.copy(text.data(), text.size());
}

const char* Stored(McProgram* program, const char* text) {
  return Stored(program, std::string_view(text == nullptr ? "" : text));
}

// Appends to a table whose count is a 16-bit field of the file.
template <class Entry>
int Append(UtVector<Entry>* table, Entry entry, uint16_t* index) {
  if (table->size() >= MC_TABLE_LIMIT) return RC_TABLE_FULL;
  table->push_back(std::move(entry));
  *index = static_cast<uint16_t>(table->size() - 1);
  return RC_OK;
}

// Finds the first SUB of a name.
class SubIndex {
 public:
  explicit SubIndex(const UtVector<McSub>& subs) : subs_(subs) {
    for (size_t i = 0; i < subs.size(); i++) {
      if (subs[i].name == nullptr) continue;
      index_.make_room();
      const uint32_t hash = UtHash(subs[i].name, strlen(subs[i].name));
      UtNumbered* slot = slot_of(hash, subs[i].name);
      if (slot->empty()) index_.fill(slot, UtNumbered(hash, i));
    }
  }

  // The number of the SUB, or -1.
  int find(const char* name) {
    if (!index_.has_slots()) return -1;
    const UtNumbered* slot = slot_of(UtHash(name, strlen(name)), name);
    return slot->empty() ? -1 : static_cast<int>(slot->number());
  }

 private:
  UtNumbered* slot_of(uint32_t hash, const char* name) {
    return index_.slot(hash, [&](const UtNumbered& entry) {
      return entry.hash == hash &&
             strcmp(subs_[entry.number()].name, name) == 0;
    });
  }

  const UtVector<McSub>& subs_;
  UtIndex<UtNumbered> index_;
};

}  // namespace

McProgram::McProgram(McStore* shared) : store(shared) {
  StringPoolInit(&strings, POOL_UNIQUE);
}

UtPtr<McProgram> McProgramCreate() {
  return UtMake<McProgram>();
}

UtPtr<McProgram> McProgramCreate(McStore* shared) {
  return UtMake<McProgram>(shared);
}

void McProgramInit(McProgram* program) {
  program->~McProgram();
  ::new (program) McProgram();
}

void McProgramFree(McProgram** slot) {
  UtPtr<McProgram>(std::exchange(*slot, nullptr)).reset();
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
  sub.name = Stored(program, Trimmed(name));
  return Append(&program->subs, std::move(sub), index);
}

int McCallAdd(McProgram* program, McCallKind kind, const char* name,
              uint16_t* index) {
  const char* stored = Stored(program, NormalCallName(kind, name));
  return Append(&program->calls,
                McCallRef{stored, kind, kind != McCallKind::CFN, 0}, index);
}

int McImportAdd(McProgram* program, uint8_t kind, const char* name,
                const char* from, const char* module, const char* file) {
  McImport import = {kind, Stored(program, name), nullptr, nullptr};
  if (file != nullptr && *file != '\0') {
    import.kind |= MC_IMPORT_FILE;
    import.source = Stored(program, file);
  } else {
    import.source = Stored(program, from);
    import.module = Stored(program, module);
  }
  uint16_t index;
  return Append(&program->imports, import, &index);
}
