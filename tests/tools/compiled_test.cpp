// The walk over compiled files, and what validate finds in damaged ones.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "tests/smith/random.h"
#include "tests/tools/compiled_files.h"
#include "tools/compiled/check.h"
#include "tools/dump.h"

namespace {

// Every field of a file, those of its nodes included.
struct PlacedField {
  CompiledValue value;
  std::string path;
};

class FieldList : public CompiledSink {
 public:
  explicit FieldList(std::string_view file) {
    CompiledWalk over(file, this);
    complete = over.run();
    transport = over.transport();
  }
  void value(const CompiledValue& value) override { add(value); }
  void node(const CompiledNode& node) override {
    CompiledValue values[COMPILED_NODE_FIELDS];
    const int count = CompiledNodeValues(walk->transport(), node, values);
    for (int i = 0; i < count; i++) add(values[i]);
  }
  void node_end(const CompiledValue& end) override { add(end); }

  std::vector<PlacedField> fields;
  bool complete;
  XdTransport transport;

 private:
  void add(const CompiledValue& value) {
    fields.push_back({value, {}});
    walk->append_path(&fields.back().path, value.field);
  }
};

std::vector<CompiledTrouble> Findings(std::string_view bytes) {
  std::vector<CompiledTrouble> findings;
  CompiledCheck(bytes, [&](const CompiledTrouble& finding) {
    findings.push_back(finding);
  });
  return findings;
}

std::string Text(const std::vector<CompiledTrouble>& findings) {
  std::string text;
  for (const CompiledTrouble& finding : findings)
    text += std::to_string(finding.offset) + " " + finding.path + ": " +
            finding.found + ", expected " + finding.expected + "\n";
  return text;
}

TEST(Compiled, FilesOfTheCompilerAreSoundAndCovered) {
  std::vector<CompiledCase> cases = FullCases();
  for (const bool damaged : {false, true})
    for (CompiledCase& more : RandomCases(SourceCount(), damaged))
      cases.push_back(std::move(more));
  for (const CompiledCase& row : cases) {
    EXPECT_EQ("", Text(Findings(row.bytes))) << row.name;
    const FieldList list(row.bytes);
    uint64_t end = 0;
    for (const PlacedField& field : list.fields) {
      ASSERT_EQ(end, field.value.offset) << row.name << " " << field.path;
      end += field.value.length;
    }
    EXPECT_EQ(row.bytes.size(), end) << row.name;
  }
}

// The bytes that stand in the lines of a printed file.
std::string PrintedBytes(const std::string& text) {
  std::string hex;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (line[0] == '!') continue;
    // Two digits, a blank, and so on, up to two blanks.
    for (size_t at = 10; at + 1 < line.size() && line[at] != ' '; at += 3)
      hex += line.substr(at, 2);
  }
  return hex;
}

// Whether a file can be read to its end or not.
TEST(Compiled, DumpPrintsEveryByteOnce) {
  for (const CompiledCase& row : FullCases()) {
    for (size_t size = 0; size <= row.bytes.size();
         size += size < 90 ? 1 : 37) {
      const std::string bytes = row.bytes.substr(0, size);
      ToolText text, json, hex;
      EXPECT_EQ(ToolDumpText(bytes, &text), ToolDumpJson("a", bytes, &json));
      hex.hex_bytes(bytes);
      ASSERT_TRUE(text.finish() && json.finish() && hex.finish());
      EXPECT_EQ(hex.text, PrintedBytes(text.text)) << row.name << " " << size;
      const auto parsed = nlohmann::json::parse(json.text);
      std::string all;
      for (const auto& field : parsed["fields"]) {
        EXPECT_EQ(all.size(), 2 * field["offset"].get<size_t>());
        all += field["bytes"].get<std::string>();
      }
      EXPECT_EQ(all.size(), 2 * parsed["rest"]["offset"].get<size_t>());
      all += parsed["rest"]["bytes"].get<std::string>();
      EXPECT_EQ(hex.text, all) << row.name << " " << size;
      EXPECT_EQ(1, parsed["version"]);
    }
  }
}

// A number that is wrong wherever that field stands.
struct WrongNumber {
  CompiledField field;
  uint32_t number;
};
using enum CompiledField;
constexpr WrongNumber WRONG_NUMBERS[] = {
    {MAGIC, 0xEEEF},
    {FILE_KIND, 4},
    {MAJOR_VERSION, 16},
    {MINOR_VERSION, 10},
    {SUB_VERSION, 33},
    {TRANSPORT, 3},
    {RESERVED, 1},
    {PRESENCE, 2},
    {NODE_COUNT, 1000},
    {POOL_VERSION, 2},
    {SLOT_COUNT, 0x10000000},
    {POOL_FLAGS, 12},
    {SLOT_REFERENCES, 0},
    {SLOT_RESERVED, 1},
    {SLOT_OFFSET, 0xFFFFFFFF},
    {REUSE_START, 9},
    {UNUSED_START, 9},
    {TEXT_USED, 5631},
    {TEXT_CAPACITY, 1},
    {IMPORT_COUNT, 0xFFFF},
    {IMPORT_KIND, 2},
    {CONSTANT_COUNT, 0x10000000},
    {CONSTANT_TYPE, 1},
    {NODE_KIND, 29},
    {NODE_SCOPE, 4},
    {NODE_INDEX, 0xFFFF},
    {NODE_CONSTANT, 0xFFFF},
    {NODE_LINE, 0},
    {NODE_SLOT, 1},
    {NODE_FUNCTION, 43},
    {NODE_FUNCTION_AGAIN, 1},
    {NODE_OPERATOR, 8},
    {NODE_CALL, 0xFFFF},
    {NODE_MEMBER, 3},
    {NODE_SIGIL, 'a'},
    {NODE_END, 29},
    {VARIABLE_COUNT, 0xFFFF},
    {REQUIRED, 1},
    {VARIABLE_TYPE, 0},
    {VARIABLE_STORAGE, 3},
    {VARIABLE_FLAGS, 4},
    {COMMON_COUNT, 0xFFFF},
    {SUB_COUNT, 0xFFFF},
    {CALL_COUNT, 0xFFFF},
    {CALL_KIND, 0x83},
    {CALL_SUB, 9},
    {EDITOR_COUNT, 0x10000000},
    {OBJECT_TYPE, 15},
    {SIBLING, 1},
    {ATTRIBUTE_COUNT, 0xFFFF},
    {ATTRIBUTE_TYPE, 5},
    {ATTRIBUTE_TYPE, 0},  // was found twice
    {HANDLER_COUNT, 0xFFFF},
    {HANDLER_KIND, 3},
    {HANDLER_EVENTS, 0x20},
};

// Fields whose value is free.
constexpr CompiledField FREE_NUMBERS[] = {
    NODE_INTEGER, INTEGER_LOW, INTEGER_HIGH, REAL_LOW,
    REAL_HIGH,    BOUND_LOW,   BOUND_HIGH,   ATTRIBUTE_INTEGER,
    SLOT_TEXT,  // only in pools of another kind
};

// Puts a number in the place of a field of an integer type.
void Put(std::string* bytes, const CompiledValue& value, uint32_t number) {
  for (uint64_t i = value.length; i-- > 0; number >>= 8)
    (*bytes)[value.offset + i] = static_cast<char>(number);
}

class DamagedField {
 public:
  DamagedField(const CompiledCase& row, const FieldList& list)
      : row_(row), list_(list) {}

  // Checks that a damaged file has a finding that names the field.
  void expect_named(const PlacedField& field, const std::string& bytes) {
    const std::vector<CompiledTrouble> findings = Findings(bytes);
    // What kind a node has is part of its path.
    const bool node =
        field.value.field == NODE_KIND || field.value.field == NODE_END;
    bool named = false;
    std::set<std::pair<uint64_t, std::string>> places;
    for (const CompiledTrouble& finding : findings) {
      EXPECT_TRUE(places.emplace(finding.offset, finding.path).second)
          << "twice: " << finding.path;
      named |= finding.offset >= field.value.offset &&
               finding.offset < field.value.offset + field.value.length &&
               (node || finding.path == field.path);
    }
    EXPECT_TRUE(named) << row_.name << " " << field.path << " at "
                       << field.value.offset << "\n"
                       << Text(findings);
    tried.insert(field.value.field);
  }

  void run() {
    for (const PlacedField& field : list_.fields) {
      std::string bytes = row_.bytes;
      const CompiledType type = CompiledTypeOf(field.value.field);
      if (type == CompiledType::TEXT || type == CompiledType::BLOCK) {
        Put(&bytes, {.field = MAGIC, .offset = field.value.offset, .length = 4},
            0x10000000);
        expect_named(field, bytes);
        damage_text(field);
      } else if (type == CompiledType::F64) {
        bytes[field.value.offset] = '\x80';
        if (field.value.field == CONSTANT_REAL) expect_named(field, bytes);
      } else {
        for (const WrongNumber& wrong : WRONG_NUMBERS) {
          if (wrong.field != field.value.field) continue;
          Put(&bytes, field.value, wrong.number);
          expect_named(field, bytes);
        }
        damage_word(field, type);
        if (field.value.field == DIMENSIONS || field.value.field == HANDLER_KEY)
          damage_in_context(field);
      }
    }
  }

  std::set<CompiledField> tried;

 private:
  // The second length and the fill of a text in XDR; a zero byte in one.
  void damage_text(const PlacedField& field) {
    const auto& text = field.value.text;
    if (text.empty()) return;
    const auto at = static_cast<size_t>(text.data() - row_.bytes.data());
    std::string bytes = row_.bytes;
    if (CompiledTypeOf(field.value.field) == CompiledType::TEXT) {
      bytes[at] = '\0';
      expect_named(field, bytes);
    }
    if (list_.transport != XD_TRANSPORT_XDR) return;
    bytes = row_.bytes;
    bytes[at - 1]++;
    expect_named(field, bytes);
    if (text.size() % 4 == 0) return;
    bytes = row_.bytes;
    bytes[field.value.offset + field.value.length - 1] = 1;
    expect_named(field, bytes);
  }

  // A word with something in the bits that do not belong to the field.
  void damage_word(const PlacedField& field, CompiledType type) {
    if (list_.transport != XD_TRANSPORT_XDR || type == CompiledType::U32 ||
        type == CompiledType::I32 || field.value.length != 4)
      return;
    std::string bytes = row_.bytes;
    bytes[field.value.offset] = 1;
    expect_named(field, bytes);
  }

  // What is wrong depends on other fields: some change of the value is.
  void damage_in_context(const PlacedField& field) {
    std::set<std::string> paths;
    for (const uint32_t number : {0u, 1u, 2u, 255u}) {
      std::string bytes = row_.bytes;
      Put(&bytes, field.value, number);
      for (const CompiledTrouble& finding : Findings(bytes))
        paths.insert(finding.path);
    }
    // The flags say whether there are dimensions.
    std::string flags = field.path;
    const size_t name = flags.rfind("dimensions");
    if (name != std::string::npos) flags.replace(name, 10, "flags");
    const bool key_is_free =
        field.value.field == HANDLER_KEY && field.value.number > 1;
    EXPECT_TRUE(key_is_free || paths.count(field.path) + paths.count(flags) > 0)
        << row_.name << " " << field.path;
    tried.insert(field.value.field);
  }

  const CompiledCase& row_;
  const FieldList& list_;
};

TEST(Compiled, ValidateNamesTheFieldThatIsWrong) {
  std::set<CompiledField> tried;
  for (const CompiledCase& row : FullCases()) {
    const FieldList list(row.bytes);
    DamagedField damage(row, list);
    damage.run();
    tried.merge(damage.tried);
  }
  for (const CompiledField field : FREE_NUMBERS) tried.insert(field);
  for (int field = 0; field <= static_cast<int>(HANDLER_KEY); field++)
    EXPECT_EQ(1u, tried.count(static_cast<CompiledField>(field)))
        << CompiledName(static_cast<CompiledField>(field)) << " " << field;
}

// A file is refused by the compiler's readers just when there is a finding that
// says so.
void ExpectAgreement(const std::string& bytes, const std::string& what) {
  const std::vector<CompiledTrouble> findings = Findings(bytes);
  bool readable = true;
  for (const CompiledTrouble& finding : findings)
    readable &= finding.grade != CompiledGrade::UNREADABLE;
  EXPECT_EQ(ReaderTakes(bytes), readable) << what << "\n" << Text(findings);
}

TEST(Compiled, ValidateAgreesWithTheReaders) {
  std::vector<CompiledCase> cases = FullCases();
  for (CompiledCase& more : RandomCases(SourceCount() / 8, false))
    cases.push_back(std::move(more));
  for (const CompiledCase& row : cases) {
    std::string bytes = row.bytes;
    const bool full = row.name.starts_with("full");
    SmithRandom random(bytes.size(), 1);
    // Every length and every byte of the short ones, some of the others.
    for (size_t i = 0; i < row.bytes.size(); i++) {
      if (!full && random.draw(30) != 0) continue;
      ExpectAgreement(row.bytes.substr(0, i),
                      row.name + " cut at " + std::to_string(i));
      for (const int change : {1, 2, 0x80, 0xFF}) {
        bytes[i] = static_cast<char>(row.bytes[i] + change);
        ExpectAgreement(bytes, row.name + " at " + std::to_string(i) + " + " +
                                   std::to_string(change));
      }
      bytes[i] = row.bytes[i];
      if (testing::Test::HasFailure()) return;
    }
    ExpectAgreement(row.bytes + '\0', row.name + " and one byte");
  }
}

}  // namespace
