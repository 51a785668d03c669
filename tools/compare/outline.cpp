// The text is what decompile would write, but for the entries that nothing
// uses; marks tell where its parts are.
#include "tools/compare/outline.h"

#include <algorithm>

#include "Cutil/codes.h"
#include "tools/compiled_model.h"
#include "tools/decompile/unparse.h"

namespace {

// Appends the lines of a piece of text.
void AddLines(std::string_view text, std::vector<std::string_view>* lines) {
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    const size_t begin = line.find_first_not_of(' ');
    if (begin != std::string_view::npos) lines->push_back(line.substr(begin));
  }
}

void BuildParts(const std::vector<TextMark>& marks, Outline* outline) {
  // A part moves only when its neighbours grow in number, and then it has
  // ended.
  std::vector<OutlinePart*> path = {&outline->root};
  const std::string_view text = outline->text;
  size_t at = 0;
  for (const TextMark& mark : marks) {
    AddLines(text.substr(at, mark.offset - at), &path.back()->lines);
    at = mark.offset;
    if (mark.begins) {
      path.back()->parts.push_back({mark.part, mark.name, {}, {}});
      path.push_back(&path.back()->parts.back());
    } else {
      path.pop_back();
    }
  }
  AddLines(text.substr(at), &path.back()->lines);
}

}  // namespace

std::string MakeOutline(std::string_view bytes, Outline* outline) {
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
  std::vector<TextMark> marks;
  Layout layout(no_lines, no_plan, &marks);
  try {
    if (outline->is_mask)
      WriteMasks(&unparsing, model.list, &layout);
    else
      WriteProgram(&unparsing, *model.program, &layout);
  } catch (const Refusal& refusal) {
    return "has no source: " + refusal.reason;
  }
  outline->text = std::move(layout.finish()[0].text);
  BuildParts(marks, outline);
  outline->lines = std::move(unparsing.lines.lines);
  outline->constants = std::move(unparsing.constants);
  std::sort(outline->constants.begin(), outline->constants.end());
  outline->constants.erase(
      std::unique(outline->constants.begin(), outline->constants.end()),
      outline->constants.end());
  return {};
}

bool SameInOtherTransport(std::string_view a, std::string_view b) {
  CompiledModel model;
  XdHeader header;
  if (!ReadCompiled(a, &model).empty()) return false;
  if (XdReadHeader(b, &header) != RC_OK) return false;
  return WritesTheSame(&model, header.transport, b);
}
