// The text is what decompile would write, but for the entries that nothing
// uses; marks tell where its parts are.
#include "tools/compare/outline.h"

#include <algorithm>

#include "Cutil/codes.h"
#include "Cutil/ut_hash.h"
#include "tools/compiled_model.h"
#include "tools/decompile/unparse.h"

namespace {

// Appends the lines of a piece of text.
void AddLines(std::string_view text, LineTable* table,
              std::vector<uint32_t>* lines) {
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    const size_t begin = line.find_first_not_of(' ');
    if (begin != std::string_view::npos)
      lines->push_back(table->add(line.substr(begin)));
  }
}

// The others have nothing but their name and what surrounds their parts.
bool HasLines(TextPart part) {
  return part != TextPart::ROUTINE && part != TextPart::OBJECT &&
         part != TextPart::MODULE;
}

// There are many small parts, so none keeps room that it does not need, and one
// with nothing in it is left out.
void EndPart(std::vector<OutlinePart*>* path) {
  OutlinePart* part = path->back();
  path->pop_back();
  part->lines.shrink_to_fit();
  part->parts.shrink_to_fit();
  if (part->name.empty() && part->lines.empty() && part->parts.empty())
    path->back()->parts.pop_back();
}

void BuildParts(std::string_view text, TextMarks* marks, LineTable* table,
                Outline* outline) {
  // A part moves only when its neighbours grow in number, and then it has
  // ended.
  std::vector<OutlinePart*> path = {&outline->root};
  size_t at = 0;
  const auto add_lines = [&](size_t end) {
    if (path.size() == 1 || HasLines(path.back()->part))
      AddLines(text.substr(at, end - at), table, &path.back()->lines);
    at = end;
  };
  for (const TextMark& mark : marks->marks) {
    add_lines(mark.offset);
    if (mark.begins) {
      path.back()->parts.push_back({mark.part, {}, {}, {}});
      path.push_back(&path.back()->parts.back());
      if (!mark.named) continue;
      path.back()->name = std::move(marks->names.front());
      marks->names.pop_front();
    } else {
      EndPart(&path);
    }
  }
  add_lines(text.size());
}

// The model is not there any more when the text is taken apart.
std::string WriteText(std::string_view bytes, Outline* outline,
                      TextMarks* marks, std::string* text) {
  CompiledModel model;
  const std::string wrong = ReadCompiled(bytes, &model);
  if (!wrong.empty()) return wrong;
  outline->header = model.header;
  outline->is_mask = model.is_mask();
  Unparsing unparsing;
  unparsing.for_reading = true;
  unparsing.with_errors = true;
  const LineSurvey no_lines;
  const LinePlan no_plan;
  Layout layout(no_lines, no_plan, marks);
  try {
    if (outline->is_mask)
      WriteMasks(&unparsing, model.list, &layout);
    else
      WriteProgram(&unparsing, *model.program, &layout);
  } catch (const Refusal& refusal) {
    return "has no source: " + refusal.reason;
  }
  *text = std::move(layout.finish()[0].text);
  outline->lines = std::move(unparsing.lines.lines);
  outline->constants = std::move(unparsing.constants);
  std::sort(outline->constants.begin(), outline->constants.end());
  outline->constants.erase(
      std::unique(outline->constants.begin(), outline->constants.end()),
      outline->constants.end());
  return {};
}

}  // namespace

// At most half of the slots are taken.
void LineTable::grow() {
  if (2 * begins_.size() <= slots_.size()) return;
  constexpr size_t FIRST_SLOTS = 64;
  slots_.assign(std::max(FIRST_SLOTS, 2 * slots_.size()), 0);
  for (uint32_t number = 0; number + 1 < begins_.size(); number++)
    *slot_of((*this)[number]) = number + 1;
}

// The slot of a line, or the free one where it belongs.
uint32_t* LineTable::slot_of(std::string_view line) {
  size_t at = UtHash(line.data(), line.size());
  for (;; at++) {
    uint32_t& slot = slots_[at & (slots_.size() - 1)];
    if (slot == 0 || (*this)[slot - 1] == line) return &slot;
  }
}

uint32_t LineTable::add(std::string_view line) {
  grow();
  uint32_t* const slot = slot_of(line);
  if (*slot == 0) {
    *slot = static_cast<uint32_t>(begins_.size());
    text_ += line;
    begins_.push_back(text_.size());
  }
  return *slot - 1;
}

std::string MakeOutline(std::string_view bytes, LineTable* table,
                        Outline* outline) {
  TextMarks marks;
  std::string text;
  std::string wrong = WriteText(bytes, outline, &marks, &text);
  if (wrong.empty()) BuildParts(text, &marks, table, outline);
  return wrong;
}

bool SameInOtherTransport(std::string_view a, std::string_view b) {
  CompiledModel model;
  XdHeader header;
  if (!ReadCompiled(a, &model).empty()) return false;
  if (XdReadHeader(b, &header) != RC_OK) return false;
  return WritesTheSame(&model, header.transport, b);
}
