// Texts are drawn from short lists of words and statements by a fixed sequence
// of numbers, so that they are the same at every call and on every machine. How
// often a kind of statement comes, how deep it nests and how long names are, is
// taken from what customers write: a source of nothing but assignments would
// flatter the compiler.
#include "bench/generate.h"

#include <cstdint>
#include <iterator>
#include <string_view>

namespace {

constexpr const char* NOUNS[] = {
    "part",   "line",   "edge",  "face",  "base",   "row",    "column",
    "frame",  "layer",  "hole",  "bolt",  "plate",  "curve",  "arc",
    "view",   "sheet",  "scale", "grid",  "label",  "angle",  "radius",
    "length", "width",  "depth", "start", "target", "offset", "total",
    "symbol", "margin", "point", "index"};
constexpr const char* VERBS[] = {"draw",   "update",  "check",  "read",
                                 "move",   "rotate",  "find",   "insert",
                                 "remove", "convert", "format", "store"};
constexpr const char* INTEGERS[] = {"count", "index", "row", "level", "state"};
constexpr const char* REALS[] = {"length", "width", "height", "angle", "ratio"};
constexpr const char* STRINGS[] = {"name", "line", "unit"};
constexpr const char* POINTS[] = {"start", "centre"};
constexpr const char* EXTERNALS[] = {"%ui_level", "%sheet_no", "&glob_scale",
                                     "&text_height", "&snap_dist"};
constexpr const char* FUNCTIONS[] = {"FNround_to", "FNdistance", "FNlimit"};
constexpr const char* MESSAGES[] = {
    "the selected element cannot be moved because its layer is locked",
    "value out of range for the number of rows", "press return to continue",
    "length and width must agree with the sheet format", "no entry found"};

constexpr unsigned STATEMENTS_PER_SUB = 30;
constexpr unsigned CALLED_NAMES = 2000;

// Appends source text. The draws come from a fixed sequence of numbers.
class Writer {
 public:
  explicit Writer(size_t bytes) { text_.reserve(bytes + 8192); }

  size_t size() const { return text_.size(); }
  std::string take() { return std::move(text_); }

  unsigned draw(unsigned limit) {
    state_ = state_ * 6364136223846793005u + 1442695040888963407u;
    return static_cast<unsigned>(state_ >> 33) % limit;
  }
  template <size_t N>
  const char* pick(const char* const (&words)[N]) {
    return words[draw(N)];
  }

  Writer& operator<<(std::string_view text) {
    text_ += text;
    return *this;
  }
  Writer& operator<<(unsigned number) {
    text_ += std::to_string(number);
    return *this;
  }

 private:
  std::string text_;
  uint64_t state_ = 1;
};

void Factor(Writer* out) {
  switch (out->draw(8)) {
    case 0: *out << out->draw(1000) << "." << out->draw(100); break;
    case 1: *out << out->draw(500); break;
    case 2: *out << out->pick(EXTERNALS); break;
    case 3: *out << "list(" << out->pick(INTEGERS) << ")"; break;
    case 4: *out << out->pick(POINTS) << ".X"; break;
    case 5:
      *out << out->pick(FUNCTIONS) << "(" << out->pick(REALS) << ", "
           << out->draw(10) << ")";
      break;
    case 6:
      *out << "(" << out->pick(REALS) << " - " << out->pick(REALS) << ")";
      break;
    default: *out << out->pick(REALS); break;
  }
}

void Expression(Writer* out) {
  static constexpr const char* OPERATORS[] = {" + ", " - ", " * ", " / "};
  Factor(out);
  for (unsigned i = 2 + out->draw(4); i > 0; i--) {
    *out << out->pick(OPERATORS);
    Factor(out);
  }
}

void Routine(Writer* out, unsigned number) {
  *out << VERBS[number % std::size(VERBS)] << "_"
       << NOUNS[number / std::size(VERBS) % std::size(NOUNS)] << "_" << number;
}

void Indent(Writer* out, unsigned depth) {
  for (; depth > 0; depth--) *out << "  ";
}

// Writes one statement with those inside it; returns their number.
unsigned Statement(Writer* out, unsigned depth);

unsigned Statements(Writer* out, unsigned depth, unsigned number) {
  unsigned written = 0;
  while (written < number) written += Statement(out, depth);
  return written;
}

unsigned Select(Writer* out, unsigned depth) {
  *out << "SELECT " << out->pick(INTEGERS) << ";\n";
  unsigned written = 1;
  for (unsigned label = 1; label < 10; label += 3) {
    Indent(out, depth);
    *out << "CASE " << label << ", " << label + 1 << " TO " << label + 2
         << ";\n";
    written += Statements(out, depth + 1, 1);
  }
  Indent(out, depth);
  *out << "CASE ELSE\n";
  written += Statements(out, depth + 1, 1);
  Indent(out, depth);
  *out << "END SELECT\n";
  return written;
}

unsigned If(Writer* out, unsigned depth) {
  *out << "IF " << out->pick(REALS) << " > " << out->draw(100) << " AND "
       << out->pick(INTEGERS) << " <> " << out->draw(9) << " THEN\n";
  unsigned written = 1 + Statements(out, depth + 1, 2);
  if (out->draw(2) == 0) {
    Indent(out, depth);
    *out << "ELSE\n";
    written += Statements(out, depth + 1, 1);
  }
  Indent(out, depth);
  *out << "END IF\n";
  return written;
}

unsigned While(Writer* out, unsigned depth) {
  *out << "WHILE " << out->pick(INTEGERS) << " < " << out->draw(200) << " DO\n";
  const unsigned written = 1 + Statements(out, depth + 1, 2);
  Indent(out, depth);
  *out << "END WHILE\n";
  return written;
}

unsigned Statement(Writer* out, unsigned depth) {
  if (out->draw(6) == 0) {
    Indent(out, depth);
    *out << "! " << out->pick(MESSAGES) << "\n";
  }
  Indent(out, depth);
  // Nests are three deep at most.
  switch (out->draw(depth > 3 ? 7 : 10)) {
    case 0:
      *out << "CALL ";
      Routine(out, out->draw(CALLED_NAMES));
      *out << "(" << out->pick(REALS) << ", list(*), \"" << out->pick(NOUNS)
           << "\");\n";
      return 1;
    case 1:
      *out << "PRINT \"" << out->pick(MESSAGES) << "\", " << out->pick(REALS)
           << ";\n";
      return 1;
    case 2:
      *out << out->pick(STRINGS) << " = SPRINT(\"%8.3f\", " << out->pick(REALS)
           << ") + " << out->pick(STRINGS) << ";\n";
      return 1;
    case 3: *out << out->pick(INTEGERS) << " += 1;\n"; return 1;
    case 7: return If(out, depth);
    case 8: return While(out, depth);
    case 9: return Select(out, depth);
    default:
      *out << out->pick(REALS) << " = ";
      Expression(out);
      *out << ";\n";
      return 1;
  }
}

void Sub(Writer* out, unsigned number) {
  *out << "! " << MESSAGES[number % std::size(MESSAGES)] << "\nSUB ";
  Routine(out, number);
  *out << " (REAL length, list(*); STRING name)\n"
          "  INTEGER count, index, row[1:500], level, state;\n"
          "  REAL width, height, angle[0.0:360.0], ratio, table(0:12);\n"
          "  STRING line, unit;\n"
          "  POINT start, centre;\n"
          "  COMMON "
       << NOUNS[number % std::size(NOUNS)]
       << "_data\n"
          "    INTEGER total;\n"
          "    REAL limit;\n"
          "  END COMMON\n";
  (void)Statements(out, 1, STATEMENTS_PER_SUB);
  *out << "SUBEND\n\n";
}

void Window(Writer* out, unsigned number) {
  *out << "WINDOW " << out->pick(NOUNS) << "_" << number
       << " {\n"
          "  title = \""
       << out->pick(MESSAGES) << "\"; width = " << out->draw(900)
       << "; height = " << out->draw(600)
       << ";\n"
          "  ON KEY PF1 DO show_help WITH \"window"
       << number
       << "\";\n"
          "  ON CREATE EXECUTE {\n"
          "    INTEGER count;\n"
          "    count = %ui_level * 2;\n"
          "    PRINT \""
       << out->pick(MESSAGES)
       << "\", count + 1;\n"
          "  }\n";
  for (unsigned group = 0; group < 2; group++) {
    *out << "  GROUP " << out->pick(NOUNS) << " {\n    border = " << group
         << ";\n";
    for (unsigned i = 0; i < 4; i++) {
      *out << "    LABEL { x = " << out->draw(400) << "; y = " << out->draw(300)
           << "; text = \"" << out->pick(NOUNS) << "\"; }\n    BUTTON "
           << out->pick(VERBS) << i << " {\n      x = " << out->draw(400)
           << "; y = " << out->draw(300) << "; text = \"" << out->pick(VERBS)
           << "\";\n      ON BUTTON PRESS DO " << out->pick(VERBS) << " WITH "
           << out->pick(NOUNS) << ";\n    }\n";
    }
    *out << "  }\n";
  }
  *out << "}\n\n";
}

// The body of one program ----------------------------------------------------

constexpr unsigned VARIABLES = 50000;  // a table holds 65535
constexpr unsigned CALLS = 60000;

void Declarations(Writer* out) {
  *out << "  INTEGER count, index, row, level, state, list(20);\n"
          "  REAL length, width, height, angle, ratio;\n"
          "  STRING name, line, unit;\n"
          "  POINT start, centre;\n";
}

void Flat(Writer* out) {
  *out << "  " << out->pick(REALS) << " = ";
  Expression(out);
  *out << ";\n";
}

void Strings(Writer* out, unsigned number) {
  *out << "  " << out->pick(STRINGS) << " = \"" << out->pick(MESSAGES) << " "
       << number << "\" + " << out->pick(STRINGS) << ";\n";
}

void Calls(Writer* out, unsigned number) {
  *out << "  CALL ";
  Routine(out, number % CALLS);
  *out << "(" << out->pick(REALS) << ", list(*), " << out->draw(100) << ");\n";
}

void Variable(Writer* out, unsigned number) {
  *out << NOUNS[number % std::size(NOUNS)] << "_" << number;
}

// Declares as many variables as will do, then uses them.
void Symbols(Writer* out, size_t bytes) {
  constexpr size_t BYTES_EACH = 60;  // declared once and used three times
  constexpr unsigned STEP = 7919;    // a prime: it meets all of them
  const auto wanted = static_cast<unsigned>(bytes / BYTES_EACH) + 1;
  const unsigned count = wanted < VARIABLES ? wanted : VARIABLES;
  *out << "  REAL ";
  for (unsigned i = 0; i < count; i++) {
    Variable(out, i);
    *out << (i + 1 < count ? (i % 8 == 7 ? ",\n    " : ", ") : ";\n");
  }
  for (unsigned i = 0; i < count || out->size() < bytes; i++) {
    const char* separators[] = {"  ", " = ", " + "};
    for (unsigned part = 0; part < 3; part++) {
      *out << separators[part];
      Variable(out, (i * 3 + part) * STEP % count);
    }
    *out << ";\n";
  }
}

void Deep(Writer* out, size_t bytes) {
  *out << "  length = width";
  for (unsigned i = 1; out->size() < bytes; i++) {
    *out << (i % 2 == 0 ? " + " : " * ") << out->pick(REALS);
    if (i % 16 == 0) *out << "\n    ";
  }
  *out << ";\n";
}

std::string GenerateBody(std::string_view shape, size_t bytes) {
  Writer out(bytes);
  out << "PROGRAM site;\n";
  if (shape == "symbols") {
    Symbols(&out, bytes);
    return out.take();
  }
  Declarations(&out);
  if (shape == "deep") Deep(&out, bytes);
  for (unsigned i = 0; out.size() < bytes; i++)
    if (shape == "flat")
      Flat(&out);
    else if (shape == "strings")
      Strings(&out, i);
    else
      Calls(&out, i);
  return out.take();
}

}  // namespace

std::string GenerateProgram(size_t bytes) {
  Writer out(bytes);
  out << "PROGRAM site;\n"
         "IMPORT draw_line, draw_text, set_layer FROM graphics MODULE "
         "base_lib;\n"
         "IMPORT CSUB plot_line FROM FILE \"plot.so\";\n\n";
  for (unsigned number = 0; out.size() < bytes; number++) Sub(&out, number);
  out << "CALL draw_part_0;\n";
  return out.take();
}

std::string GenerateMasks(size_t bytes) {
  Writer out(bytes);
  for (unsigned number = 0; out.size() < bytes; number++) Window(&out, number);
  return out.take();
}

std::string GenerateShape(std::string_view shape, size_t bytes) {
  if (shape == "mixed") return GenerateProgram(bytes);
  if (shape == "masks") return GenerateMasks(bytes);
  if (shape == "trivial") return "PROGRAM p;\n;\n";
  for (const std::string_view body :
       {"flat", "strings", "symbols", "calls", "deep"})
    if (shape == body) return GenerateBody(shape, bytes);
  return "";
}
