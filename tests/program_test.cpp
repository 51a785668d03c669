#include "elut/program.h"

#include <gtest/gtest.h>

#include "Cutil/codes.h"
#include "elut/variables.h"

namespace {

const char* Shown(const char* text) {
  return text == nullptr ? "none" : text;
}

TEST(Program, CallNames) {
  McProgram program;
  const struct {
    McCallKind kind;
    const char *name, *stored;
    bool external;
  } rows[] = {
      {McCallKind::SUB, "FNs", "FNs", true},
      {McCallKind::SUB, " s\t", "s", true},
      {McCallKind::FN, "FNs", "s", true},
      {McCallKind::FN, "FN s ", "s", true},
      {McCallKind::FN, "s", "s", true},
      {McCallKind::FN, "FNFNs", "FNs", true},
      {McCallKind::FN, "FN", "none", true},
      {McCallKind::CFN, "CFNs", "s", false},
      {McCallKind::CFN, "FNs", "FNs", false},
  };
  for (const auto& row : rows) {
    uint16_t index;
    ASSERT_EQ(RC_OK, McCallAdd(&program, row.kind, row.name, &index));
    EXPECT_STREQ(row.stored, Shown(program.calls[index].name)) << row.name;
    EXPECT_EQ(row.external, program.calls[index].external);
  }
}

// The first SUB of a name is meant, and FN or CFN routines never are.
TEST(Program, ResolvedCalls) {
  McProgram program;
  uint16_t index;
  for (const char* sub : {"x", "s", "s", ""})
    ASSERT_EQ(RC_OK, McSubAdd(&program, sub, &index));
  ASSERT_EQ(RC_OK, McCallAdd(&program, McCallKind::FN, "FNs", &index));
  ASSERT_EQ(RC_OK, McCallAdd(&program, McCallKind::SUB, "t", &index));
  ASSERT_EQ(RC_OK, McCallAdd(&program, McCallKind::SUB, "s", &index));
  ASSERT_EQ(RC_OK, McResolveCalls(&program));
  EXPECT_TRUE(program.calls[0].external && program.calls[1].external);
  EXPECT_FALSE(program.calls[2].external);
  EXPECT_EQ(nullptr, program.calls[2].name);
  EXPECT_EQ(1, program.calls[2].sub_index);
}

// The local table is searched first, whatever was declared first.
TEST(Program, ScopesInOrder) {
  McProgram program;
  McName* x = McNameIntern("x");
  McScope scope;
  uint16_t index;
  ASSERT_EQ(RC_OK, McCompileEnter(&program));
  EXPECT_EQ(RC_INVALID, McVarDeclare(3, x, McValueType::REAL, 0, 0, 0))
      << "there are no parameters outside of a SUB";
  ASSERT_EQ(RC_OK, McSubEnter("s"));
  ASSERT_EQ(RC_OK, McCommonDeclare("c"));
  for (const McScope next : std::initializer_list<McScope>{16, 3, 2, 2}) {
    ASSERT_EQ(RC_OK, McVarDeclare(next, x, McValueType::REAL, 0, 0, 0));
    ASSERT_EQ(RC_OK, McVarFind(x, &scope, &index));
    EXPECT_EQ(next, scope);
    EXPECT_EQ(0, index);
  }
  ASSERT_EQ(RC_OK, McSubEnter("t"));
  EXPECT_EQ(RC_NO_VARIABLE, McVarFind(x, &scope, &index));
  ASSERT_EQ(RC_OK, McCompileEnter(nullptr));
  EXPECT_EQ(RC_NOT_FOUND, McVarFind(x, &scope, &index));
  McCompileReset();
  McTokenStringsFree();
}

}  // namespace
