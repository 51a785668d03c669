#include "elut/model/program.h"

#include <gtest/gtest.h>

#include "Cutil/codes.h"

namespace {

TEST(Program, CallNames) {
  McProgram program;
  const struct {
    McCallKind kind;
    const char *name, *stored;
    bool external;
  } rows[] = {
      {McCallKind::SUB, "FNs", "FNs", true},
      {McCallKind::SUB, " s\t", "s", true},
      {McCallKind::FN, "FN s ", "s", true},
      {McCallKind::FN, "FNFNs", "FNs", true},
      {McCallKind::FN, "FN", nullptr, true},
      {McCallKind::CFN, "CFNs", "s", false},
      {McCallKind::CFN, "FNs", "FNs", false},
  };
  for (const auto& row : rows) {
    uint16_t index;
    ASSERT_EQ(RC_OK, McCallAdd(&program, row.kind, row.name, &index));
    EXPECT_STREQ(row.stored, program.calls[index].name);
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

}  // namespace
