#include "elut/compile/node_build.h"

#include <gtest/gtest.h>

#include "Cutil/codes.h"
#include "elut/compile/variables.h"

namespace {

// Built without the parser: what it never does must be refused all the same.
class NodeBuild : public testing::Test {
 protected:
  NodeBuild() { EXPECT_EQ(RC_OK, McCompileEnter(&program)); }
  ~NodeBuild() override {
    EXPECT_EQ(RC_OK, McCompileEnter(nullptr));
    McTokenStringsFree();
  }

  static McNodeRef integer(int32_t value) {
    McNodeRef node;
    EXPECT_EQ(RC_OK, McNodeInt(&node, value));
    return node;
  }
  static McNodeRef pair() {
    McNodeList list = {};
    McNodeAppendSibling(&list, integer(1));
    McNodeAppendSibling(&list, integer(2));
    return list.first;
  }

  McProgram program;
  McNodeRef out = 99;
};

// Builders that link something behind an operand want it unlinked.
TEST_F(NodeBuild, LinkedOperands) {
  int (*const builds[])(McNodeRef*) = {
      [](McNodeRef* to) { return McNodeBinary(1, to, pair(), integer(3)); },
      [](McNodeRef* to) { return McNodeIf(to, pair(), integer(3), 0); },
      [](McNodeRef* to) { return McNodeIf(to, integer(3), pair(), 0); },
      [](McNodeRef* to) { return McNodeWhile(to, pair(), integer(3)); },
      [](McNodeRef* to) { return McNodeCase(to, pair(), integer(3)); },
      [](McNodeRef* to) { return McNodeMake(McNodeKind::EXIT, to, pair()); },
      [](McNodeRef* to) { return McNodeAssign(0, to, 0, integer(3)); },
  };
  for (size_t i = 0; i < std::size(builds); i++) {
    out = 99;
    EXPECT_EQ(RC_OPERAND_LINKED, builds[i](&out)) << i;
    EXPECT_EQ(0u, out) << i;
  }
}

TEST_F(NodeBuild, OtherRefusals) {
  EXPECT_EQ(RC_BAD_OPERAND, McNodeAssign(0, &out, integer(1), integer(2)));
  EXPECT_EQ(RC_NOT_FOUND, McNodeTrace(&out, 0, 7));
  EXPECT_EQ(RC_NO_VARIABLE, McNodeVar(McNameIntern("none"), &out, integer(1)));
  EXPECT_EQ(0u, out);
  ASSERT_EQ(RC_OK, McCompileEnter(nullptr));
  EXPECT_EQ(RC_NO_NODE, McNodeInt(&out, 1));
  EXPECT_EQ(RC_NOT_FOUND, McNodeVar(McNameIntern("i"), &out, 0));
  EXPECT_EQ(0u, McNodeNew());
}

}  // namespace
