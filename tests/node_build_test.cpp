#include "elut/node_build.h"

#include <gtest/gtest.h>

#include <functional>

#include "Cutil/codes.h"
#include "elut/variables.h"
#include "tree_text.h"

namespace {

// A program with the variables of every storage and type, built without the
// parser: what it never does must be refused all the same.
class NodeBuild : public testing::Test {
 protected:
  NodeBuild() {
    EXPECT_EQ(RC_OK, McCompileEnter(&program));
    EXPECT_EQ(RC_OK, McSubEnter("s"));
    declare("i", McValueType::INTEGER);
    declare("r", McValueType::REAL);
    declare("s", McValueType::STRING);
    declare("p", McValueType::POINT);
    EXPECT_EQ(RC_OK, McVarDeclareDynamic(MC_SCOPE_LOCAL, name("alloc"),
                                         McValueType::POINT, 1, 0, 0));
    EXPECT_EQ(RC_OK, McVarDeclareRef(MC_SCOPE_PARAMETER, name("ref"),
                                     McValueType::POINT, 1));
  }
  ~NodeBuild() override {
    EXPECT_EQ(RC_OK, McCompileEnter(nullptr));
    McTokenStringsFree();
  }

  static McName* name(const char* text) { return McNameIntern(text); }
  static void declare(const char* text, McValueType type) {
    EXPECT_EQ(RC_OK, McVarDeclare(MC_SCOPE_LOCAL, name(text), type, 0, 0, 0));
  }
  static McNodeRef integer(int32_t value) {
    McNodeRef node;
    EXPECT_EQ(RC_OK, McNodeInt(&node, value));
    return node;
  }
  static McNodeRef variable(const char* text) {
    McNodeRef node;
    EXPECT_EQ(RC_OK, McNodeVar(name(text), &node, 0));
    return node;
  }
  static McNodeRef pair() {
    McNodeList list = {};
    McNodeAppendSibling(&list, integer(1));
    McNodeAppendSibling(&list, integer(2));
    return list.first;
  }
  std::string text(McNodeRef node) const {
    return TreeText(program, &program.subs[0])(node);
  }

  McProgram program;
  McNodeRef out = 99;
};

using Build = std::function<int(McNodeRef*)>;

// Builders that link something behind an operand want it unlinked.
TEST_F(NodeBuild, LinkedOperands) {
  const Build builds[] = {
      [](McNodeRef* to) { return McNodeBinary(1, to, pair(), integer(3)); },
      [](McNodeRef* to) { return McNodeTest(16, to, pair()); },
      [](McNodeRef* to) { return McNodeIf(to, pair(), integer(3), 0); },
      [](McNodeRef* to) { return McNodeIf(to, integer(3), pair(), 0); },
      [](McNodeRef* to) { return McNodeWhile(to, pair(), integer(3)); },
      [](McNodeRef* to) { return McNodeSelect(to, pair(), integer(3)); },
      [](McNodeRef* to) { return McNodeCase(to, pair(), integer(3)); },
      [](McNodeRef* to) { return McNodeDim(to, pair(), integer(3)); },
      [](McNodeRef* to) { return McNodeMake(McNodeKind::EXIT, to, pair()); },
      [](McNodeRef* to) { return McNodeAssign(0, to, pair(), integer(3)); },
      [](McNodeRef* to) { return McNodeAssign(0, to, 0, integer(3)); },
      [](McNodeRef* to) { return McNodeAssign(0, to, variable("i"), 0); },
  };
  for (size_t i = 0; i < std::size(builds); i++) {
    out = 99;
    EXPECT_EQ(RC_OPERAND_LINKED, builds[i](&out)) << i;
    EXPECT_EQ(0u, out) << i;
  }
}

TEST_F(NodeBuild, Members) {
  const struct {
    const char* variable;
    const char* member;
    int code;
  } rows[] = {
      {"p", "X", RC_OK},
      {"p", "Z", RC_OK},
      {"alloc", "Y", RC_OK},
      {"p", "W", RC_NO_MEMBER},
      {"p", "x", RC_NO_MEMBER},
      {"p", "XX", RC_NO_MEMBER},
      {"p", "", RC_NO_MEMBER},
      {"ref", "X", RC_NO_REFERENCE},
      {"i", "X", RC_SCALAR_MEMBER},
      {"r", "W", RC_SCALAR_MEMBER},
      {"s", "X", RC_SCALAR_MEMBER},
  };
  for (const auto& row : rows) {
    const McNodeRef node = variable(row.variable);
    McNodeRef last = 0;
    EXPECT_EQ(row.code, McNodeRefer(node, &last, row.member, integer(1)))
        << row.variable << "." << row.member;
    EXPECT_EQ(row.code == RC_OK, program.nodes[node].child != 0);
  }
  const McNodeRef node = variable("p");
  McNodeRef last = 0;
  program.nodes[node].variable.index = 99;
  EXPECT_EQ(RC_INVALID, McNodeRefer(node, &last, "X", 0));
  program.nodes[node].variable = {MC_SCOPE_COMMON, 0};
  EXPECT_EQ(RC_INVALID, McNodeRefer(node, &last, "X", 0));
  program.subs[0].locals.entries[3].storage = McStorage::DIM;
  EXPECT_EQ(RC_MEMBER_STORAGE, McNodeRefer(variable("p"), &last, "X", 0));
  program.subs[0].locals.entries[0].type = McValueType::VOID;
  EXPECT_EQ(RC_MEMBER_TYPE, McNodeRefer(variable("i"), &last, "X", 0));
}

TEST_F(NodeBuild, OtherRefusals) {
  EXPECT_EQ(RC_BAD_OPERAND, McNodeAssign(0, &out, integer(1), integer(2)));
  EXPECT_EQ(RC_NOT_FOUND, McNodeTrace(&out, 0, 7));
  EXPECT_EQ(RC_NO_VARIABLE, McNodeVar(name("none"), &out, integer(1)));
  EXPECT_EQ(0u, out);
  ASSERT_EQ(RC_OK, McCompileEnter(nullptr));
  EXPECT_EQ(RC_NO_NODE, McNodeInt(&out, 1));
  EXPECT_EQ(RC_NOT_FOUND, McNodeVar(name("i"), &out, 0));
  EXPECT_EQ(0u, McNodeNew());
}

// An operand that is none ends the child list.
TEST_F(NodeBuild, MissingOperands) {
  EXPECT_EQ(RC_OK, McNodeBinary(1, &out, 0, integer(2)));
  EXPECT_EQ("OPERA+", text(out));
  EXPECT_EQ(RC_OK, McNodeIf(&out, integer(1), 0, integer(3)));
  EXPECT_EQ("IF(INT 1)", text(out));
}

}  // namespace
