// Counts are known before the entries that they count, and were checked against
// the rest of the file, so the tables take no more memory than they need.
#include "tools/compiled/tables.h"

#include <algorithm>

#include "elut/model/program.h"

namespace {

constexpr uint64_t LEAST_ENTRY = 3;  // bytes of the smallest entry of a table

// Where the characters of a text begin.
CompiledText TextOf(const CompiledSink& sink, const CompiledValue& value) {
  if (value.absent) return {};
  const auto at = value.text.data() - sink.walk->file().data();
  return {static_cast<uint32_t>(at), static_cast<uint32_t>(value.text.size())};
}

}  // namespace

const CompiledTables::Range* CompiledTables::scope(const Routine& routine,
                                                   uint32_t scope) const {
  if (scope == MC_SCOPE_LOCAL) return &routine.locals;
  if (scope == MC_SCOPE_PARAMETER)
    return &routine == &main ? nullptr : &routine.parameters;
  if (scope < MC_SCOPE_COMMON ||
      scope - MC_SCOPE_COMMON >= routine.commons.count)
    return nullptr;
  return &commons[routine.commons.first + scope - MC_SCOPE_COMMON].variables;
}

const CompiledTables::Variable* CompiledTables::variable(const Routine& routine,
                                                         uint32_t scope_number,
                                                         uint32_t index) const {
  const Range* table = scope(routine, scope_number);
  if (table == nullptr || index >= table->count) return nullptr;
  return &variables[table->first + index];
}

CompiledText CompiledTables::call_name(const Call& call) const {
  const bool bound = call.kind < static_cast<uint8_t>(McCallKind::CFN);
  if (!bound) return call.name;
  return call.sub < subs.size() ? subs[call.sub].name : CompiledText();
}

void CompiledCollector::begin(CompiledRecord record) {
  const auto last = [](const auto& table) {
    return static_cast<uint32_t>(table.size());
  };
  switch (record) {
    case CompiledRecord::SUB:
      tables_->subs.emplace_back();
      in_sub_ = true;
      break;
    case CompiledRecord::COMMONS:
      routine().commons.first = last(tables_->commons);
      break;
    case CompiledRecord::COMMON:
      tables_->commons.emplace_back();
      routine().commons.count++;
      break;
    case CompiledRecord::VARIABLES:
    case CompiledRecord::LOCALS: table_ = &routine().locals; break;
    case CompiledRecord::PARAMETERS: table_ = &routine().parameters; break;
    case CompiledRecord::COMMON_VARIABLES:
      table_ = &tables_->commons.back().variables;
      break;
    case CompiledRecord::VARIABLE:
      if (table_->count++ == 0) table_->first = last(tables_->variables);
      tables_->variables.emplace_back();
      break;
    case CompiledRecord::SLOT: tables_->slots.emplace_back(); break;
    case CompiledRecord::CONSTANT: tables_->constants.emplace_back(); break;
    case CompiledRecord::CALL: tables_->calls.emplace_back(); break;
    default: break;
  }
}

void CompiledCollector::end(CompiledRecord record) {
  if (record == CompiledRecord::SUB) in_sub_ = false;
  // The first tree is the main body.
  if (record == CompiledRecord::TREE && !tables_->body_read) {
    tables_->nodes = static_cast<uint32_t>(walk->nodes_so_far());
    tables_->body_read = true;
  }
}

// Makes room for the entries of a table, as far as the file can hold them.
template <class Table>
void CompiledCollector::reserve(Table* table, const CompiledValue& count) {
  const uint64_t left = walk->file().size() - count.offset;
  table->reserve(std::min<uint64_t>(count.number, left / LEAST_ENTRY));
}

void CompiledCollector::value(const CompiledValue& value) {
  switch (value.field) {
    case CompiledField::SLOT_COUNT: reserve(&tables_->slots, value); break;
    case CompiledField::SLOT_REFERENCES:
      tables_->slots.back().references = value.number;
      tables_->slots.back().at = static_cast<uint32_t>(value.offset);
      break;
    case CompiledField::SLOT_RESERVED:
      tables_->slots.back().text.length = value.number - 1;
      break;
    case CompiledField::SLOT_OFFSET:
      tables_->slots.back().text.at = value.number;
      break;
    case CompiledField::SLOT_TEXT:
      tables_->slots.back().text = TextOf(*this, value);
      break;
    case CompiledField::TEXT_BUFFER: place_slots(value); break;
    case CompiledField::CONSTANT_COUNT:
      reserve(&tables_->constants, value);
      break;
    case CompiledField::CONSTANT_TYPE:
      tables_->constants.back().type = static_cast<uint8_t>(value.number);
      break;
    case CompiledField::CONSTANT_REAL:
      tables_->constants.back().at = static_cast<uint32_t>(value.offset);
      break;
    case CompiledField::CONSTANT_TEXT:
      tables_->constants.back().text = TextOf(*this, value);
      break;
    case CompiledField::VARIABLE_TYPE:
      tables_->variables.back().type = static_cast<uint8_t>(value.number);
      break;
    case CompiledField::VARIABLE_STORAGE:
      tables_->variables.back().storage = static_cast<uint8_t>(value.number);
      break;
    case CompiledField::DIMENSIONS:
      tables_->variables.back().dimensions = static_cast<uint8_t>(value.number);
      break;
    case CompiledField::VARIABLE_NAME:
      tables_->variables.back().name = TextOf(*this, value);
      break;
    case CompiledField::COMMON_NAME:
      tables_->commons.back().name = TextOf(*this, value);
      break;
    case CompiledField::SUB_COUNT: reserve(&tables_->subs, value); break;
    case CompiledField::SUB_NAME:
      tables_->subs.back().name = TextOf(*this, value);
      break;
    case CompiledField::CALL_COUNT: reserve(&tables_->calls, value); break;
    case CompiledField::CALL_KIND:
      tables_->calls.back().kind = static_cast<uint8_t>(value.number);
      break;
    case CompiledField::CALL_NAME:
      tables_->calls.back().name = TextOf(*this, value);
      break;
    case CompiledField::CALL_SUB:
      tables_->calls.back().sub = static_cast<uint16_t>(value.number);
      break;
    default: break;
  }
}

// Turns places in the text buffer into places in the file. A slot whose text is
// not all in the buffer has none.
void CompiledCollector::place_slots(const CompiledValue& buffer) {
  const CompiledText texts = tables_->buffer = TextOf(*this, buffer);
  for (CompiledTables::Slot& slot : tables_->slots) {
    CompiledText& text = slot.text;
    const bool inside = slot.references != 0 && !text.is_absent() &&
                        text.at < texts.length &&
                        text.length < texts.length - text.at;
    text =
        inside ? CompiledText{texts.at + text.at, text.length} : CompiledText();
  }
}
