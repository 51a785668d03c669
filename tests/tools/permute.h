// Compiled files that no source gives: those of the compiler with their records
// in another order, with other counts, and with entries that nobody needs. They
// can still be read.
#pragma once

#include <algorithm>

#include "tests/smith/random.h"
#include "tests/tools/compiled_files.h"

class Permuter {
 public:
  explicit Permuter(uint64_t seed) : random_(seed, 7) {}

  // The file of a case, permuted, or nothing when it cannot be read any more.
  std::string file(const std::string& bytes) {
    const int transport =
        random_.percent(50) ? XD_TRANSPORT_XDR : XD_TRANSPORT_PLAIN;
    std::string result;
    if (bytes[2] == XD_KIND_MASK) {
      McRun run;
      EditorList list(&run.attribute_names);
      if (MaskListReadFromBytes(bytes, &list) != RC_OK) return "";
      masks(&list);
      result = Written(&list, transport);
    } else {
      UtPtr<McProgram> program;
      if (McXdrReadFromBytes(bytes, &program) != RC_OK) return "";
      change(program.get());
      result = Written(program.get(), transport);
    }
    if (random_.percent(20)) result[4] = static_cast<char>(random_.draw(10));
    if (random_.percent(20)) result[5] = static_cast<char>(random_.draw(256));
    if (random_.percent(20)) result[7] = static_cast<char>(random_.draw(256));
    return result;
  }

 private:
  template <class Table>
  void shuffle(Table* table) {
    for (size_t i = table->size(); i > 1; i--)
      if (random_.percent(50))
        std::swap((*table)[i - 1], (*table)[random_.index(i)]);
  }
  template <class Table>
  void repeat(Table* table) {
    if (!table->empty() && random_.percent(30))
      table->push_back((*table)[random_.index(table->size())]);
  }

  void variables(McVarTable* table) {
    shuffle(&table->entries);
    repeat(&table->entries);
    if (random_.percent(20)) table->required = uint16_t(random_.draw(65536));
    for (McVar& variable : table->entries) {
      if (random_.percent(10))
        variable.name = random_.percent(50) ? nullptr : "";
      if (random_.percent(10))
        variable.storage = static_cast<McStorage>(random_.draw(4));
      if (variable.dims == nullptr && random_.percent(10))
        variable.dim_count = uint8_t(random_.draw(256));
      if (variable.range == nullptr && random_.percent(10))
        variable.type = static_cast<McValueType>(random_.draw(5));
    }
  }

  void pool(StringPool* strings) {
    shuffle(&strings->slots);
    const auto count = static_cast<uint32_t>(strings->slots.size());
    for (StringPoolSlot& slot : strings->slots)
      if (random_.percent(20)) slot.references = 1 + random_.draw(100);
    if (random_.percent(20)) strings->flags = random_.percent(50) ? 12 : 0;
    if (random_.percent(20)) strings->reuse_start = random_.draw(count + 1);
    if (random_.percent(20)) strings->unused_start = random_.draw(count + 1);
    if (random_.percent(20)) strings->slots.push_back({0, 0, {0}});
    if (random_.percent(20)) strings->text_capacity += 5632;
    if (strings->text_capacity > strings->text.size() && random_.percent(20))
      strings->text.push_back(static_cast<char>(random_.draw(256)));
  }

  void change(McProgram* program) {
    pool(&program->strings);
    shuffle(&program->imports);
    repeat(&program->imports);
    variables(&program->variables);
    for (McCommon& common : program->commons) variables(&common.variables);
    shuffle(&program->subs);
    for (McSub& sub : program->subs) {
      variables(&sub.locals);
      variables(&sub.parameters);
      for (McCommon& common : sub.commons) variables(&common.variables);
      shuffle(&sub.commons);
      if (random_.percent(10)) sub.name = nullptr;
    }
    shuffle(&program->calls);
    repeat(&program->calls);
    if (program->constants.count() > 0 && random_.percent(30)) {
      const McConstant& any =
          program->constants[random_.draw(program->constants.count())];
      const McConstant again = any;
      program->constants.append(again);
    }
    if (random_.percent(30))
      program->constants.append({McValueType::REAL, 0, {-0.0}});
    if (random_.percent(10)) program->name = nullptr;
  }

  void attributes(AttributeList* list) {
    for (unsigned i = 1; i < list->count; i++)
      std::swap(list->entries[i], list->entries[random_.draw(i + 1)]);
  }

  void masks(EditorList* list) {
    shuffle(&list->editors);
    if (random_.percent(20)) list->editors.push_back(nullptr);
    for (MaskObject* object = list->youngest; object != nullptr;
         object = object->older) {
      attributes(&object->attributes);
      if (random_.percent(20))
        object->type = static_cast<MaskObjectType>(1 + random_.draw(14));
      if (object->program != nullptr) change(object->program);
      for (unsigned i = 0; i < object->handlers.count; i++) {
        EventHandler& handler = object->handlers.entries[i];
        if (random_.percent(20)) handler.event.mask = uint32_t(random_.next());
        if (random_.percent(20)) handler.event.key = uint32_t(random_.next());
        if (handler.kind == HandlerKind::PROGRAM) {
          if (handler.program != nullptr) change(handler.program);
          continue;
        }
        attributes(&handler.attributes);
        if (random_.percent(5)) handler.kind = static_cast<HandlerKind>(7);
      }
    }
  }

  SmithRandom random_;
};
