// An expression lies in the array in the order in which a stack machine wants
// it, operands first. But what has no value must be found before its operands
// are evaluated, and AND and OR skip their right one; so parents are entered in
// the order of a file, as in McWalkTrees, and remembered until they are
// complete. The depth of an expression costs memory and no native stack.
#include "elut/compile/eval.h"

#include "Cutil/codes.h"
#include "elut/compile/builtins.h"
#include "elut/compile/node_build.h"

namespace {

// False for what only the run time has, and for statements.
bool HasValue(McNodeKind kind) {
  switch (kind) {
    case McNodeKind::INT:
    case McNodeKind::REAL:
    case McNodeKind::STRING:
    case McNodeKind::OPERA:
    case McNodeKind::UNARY:
    case McNodeKind::FUNC:
    case McNodeKind::VAR:  // refused after its subscripts
      return true;
    case McNodeKind::ASSIGN:
    case McNodeKind::CALL:
    case McNodeKind::EXTERN:
    case McNodeKind::EXTIND:
    case McNodeKind::REFVAR:
    case McNodeKind::REFER:
    case McNodeKind::EMPTY:
    case McNodeKind::BLOCK:
    case McNodeKind::IF:
    case McNodeKind::WHILE:
    case McNodeKind::DIM:
    case McNodeKind::PRINT:
    case McNodeKind::TRACE:
    case McNodeKind::RETURN:
    case McNodeKind::SELECT:
    case McNodeKind::CASE:
    case McNodeKind::ALLOC:
    case McNodeKind::FREE:
    case McNodeKind::SUBEX:
    case McNodeKind::EXIT:
    case McNodeKind::BREAK:
    case McNodeKind::CONT: break;
  }
  return false;
}

bool IsLogical(const McNode& node) {
  return node.kind() == McNodeKind::OPERA &&
         (node.op() == MC_AND || node.op() == MC_OR);
}

class Evaluation {
 public:
  explicit Evaluation(McFront* front)
      : front_(front),
        program_(*front->compile.program),
        nodes_(McNodesOf(front)) {}

  int run(const McTree& expression, McValue* result) {
    McNodeRef at = expression.first;
    while (at != expression.end()) {
      if (const int code = enter_parents(at, expression.end())) return code;
      if (const int code = complete(at)) return code;
      if (const int code = leave(&at)) return code;
    }
    *result = std::move(values_.back());
    return RC_OK;
  }

 private:
  // A node whose operands are being evaluated.
  struct Open {
    McNodeRef node;
    uint32_t first_value;  // of its operands
  };

  // Enters the nodes that begin at `at`, from the root down.
  int enter_parents(McNodeRef at, McNodeRef end) {
    if (!nodes_[at].is_leaf()) return RC_OK;
    McNodeRef node = at + nodes_[at].distance();
    while (node >= end) node = nodes_.first_child(node);
    for (;; node = nodes_.first_child(node)) {
      if (!HasValue(nodes_[node].kind())) return RC_NOT_EVALUABLE;
      open_.push_back({node, static_cast<uint32_t>(values_.size())});
      if (node == at) return RC_OK;
    }
  }

  // Replaces the values of the operands of the innermost open node, which is
  // `at`, by its own.
  int complete(McNodeRef at) {
    const McNode& node = nodes_[at];
    const uint32_t first = open_.back().first_value;
    const auto operands = static_cast<uint32_t>(values_.size()) - first;
    switch (node.kind()) {
      case McNodeKind::INT:
        values_.push_back(McValueInteger(node.integer()));
        return RC_OK;
      case McNodeKind::REAL:
      case McNodeKind::STRING: return constant(node.number());
      case McNodeKind::UNARY:
        if (operands == 0) return RC_NO_EXPRESSION;
        return McValueUnary(node.op(), &values_.back());
      case McNodeKind::OPERA:
        if (IsLogical(node))
          return operands == 0 ? int{RC_NO_EXPRESSION} : take_truth();
        if (operands < 2) return RC_NO_EXPRESSION;
        return combine(node.op());
      case McNodeKind::FUNC: return call(node.index(), first);
      default: return RC_NOT_EVALUABLE;
    }
  }

  // Goes on after node `*at`, whose value is the last one. The left operand of
  // AND and OR may be all that these need.
  int leave(McNodeRef* at) {
    for (;;) {
      open_.pop_back();
      if (open_.empty()) break;
      const McNodeRef parent = open_.back().node;
      if (!IsLogical(nodes_[parent]) || nodes_.first_child(parent) != *at)
        break;
      if (const int code = take_truth()) return code;
      const bool truth = values_.back().integer != 0;
      if (truth != (nodes_[parent].op() == MC_OR)) {
        values_.pop_back();
        break;
      }
      *at = parent;
    }
    ++*at;
    return RC_OK;
  }

  int constant(uint32_t index) {
    const McConstant& constant = program_.constants[index];
    if (constant.type == McValueType::REAL) {
      values_.push_back(McValueReal(constant.real));
      return RC_OK;
    }
    values_.emplace_back();
    return McValueString(&values_.back(),
                         front_->run->catalogs.expand_reference(constant.text));
  }

  int combine(uint8_t op) {
    McValue right = std::move(values_.back());
    values_.pop_back();
    McValue left = std::move(values_.back());
    return McValueBinary(&front_->math, op, &left, &right, &values_.back());
  }

  // Replaces the value on top by its truth value.
  int take_truth() {
    int32_t truth;
    if (McValueTruth(values_.back(), &truth) != RC_OK) return RC_NO_TRUTH;
    values_.back() = McValueInteger(truth);
    return RC_OK;
  }

  int call(uint16_t function, uint32_t first) {
    const auto count = static_cast<uint32_t>(values_.size()) - first;
    McValue result;
    const int code = McFuncCall(&front_->math, function, count,
                                values_.data() + first, &result);
    if (code != RC_OK) {
      report_failed_call(code);
      return code;
    }
    while (values_.size() > first) values_.pop_back();
    values_.push_back(std::move(result));
    return RC_OK;
  }

  void report_failed_call(int code) {
    if (front_->run->call_failure_reported) return;
    front_->run->call_failure_reported = true;
    const char* name = program_.name;
    McReportText(front_->scanner.sink, McReportKind::FAILED_CALL,
                 "%s%sFehler bei Funktionsaufruf: %d\n",
                 name == nullptr ? "" : name, name == nullptr ? "" : ": ",
                 code);
  }

  McFront* front_;
  const McProgram& program_;
  const McNodes& nodes_;
  UtVector<Open> open_;
  UtVector<McValue> values_;
};

}  // namespace

int McEvalConst(McFront* front, const McTree& expression, McValue* result) {
  *result = McValue();
  if (expression.is_none()) return RC_NO_EXPRESSION;
  // Most bounds are a number and nothing else.
  const McNode& node = McNodesOf(front)[expression.first];
  if (expression.count == 1 && node.kind() == McNodeKind::INT) {
    result->type = McValueType::INTEGER;
    result->integer = node.integer();
    return RC_OK;
  }
  if (expression.count == 1 && node.kind() == McNodeKind::REAL) {
    result->type = McValueType::REAL;
    result->real = front->compile.program->constants[node.number()].real;
    return RC_OK;
  }
  return Evaluation(front).run(expression, result);
}
