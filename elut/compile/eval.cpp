// An expression is evaluated with two stacks: one of steps still to be done,
// and one of values. A node with operands leaves a step that combines them,
// below the steps that evaluate them, so that the depth of an expression costs
// memory and no native stack.
#include "elut/compile/eval.h"

#include "Cutil/codes.h"
#include "elut/compile/builtins.h"

namespace {

class Evaluation {
 public:
  explicit Evaluation(McFront* front)
      : front_(front), program_(*front->compile.program) {}

  int run(McNodeRef expression, McValue* result) {
    plan(Action::EVALUATE, expression);
    while (!steps_.empty()) {
      const Step step = steps_.back();
      steps_.pop_back();
      const int code = perform(step);
      if (code != RC_OK) return code;
    }
    *result = std::move(values_.back());
    return RC_OK;
  }

 private:
  enum class Action : uint8_t {
    EVALUATE,    // the node
    COMBINE,     // the two values of an OPERA
    DECIDE,      // whether AND or OR needs its right operand
    TAKE_TRUTH,  // of that operand
    APPLY,       // a UNARY to its value
    ARGUMENTS,   // evaluate the node and its siblings
    CALL,        // the function of a FUNC
    SUBSCRIPTS,  // evaluate the node and its siblings, up to a REFER
  };
  struct Step {
    Action action;
    McNodeRef node;
    uint32_t first_value;  // CALL: where its arguments begin
  };

  void plan(Action action, McNodeRef node) {
    steps_.push_back({action, node, static_cast<uint32_t>(values_.size())});
  }

  int perform(const Step& step) {
    switch (step.action) {
      case Action::EVALUATE: return evaluate(step.node);
      case Action::COMBINE: return combine(step.node);
      case Action::DECIDE: return decide(step.node);
      case Action::TAKE_TRUTH: return take_truth();
      case Action::APPLY:
        return McValueUnary(program_.nodes[step.node].op, &values_.back());
      case Action::ARGUMENTS: return arguments(step.node);
      case Action::CALL: return call(step.node, step.first_value);
      case Action::SUBSCRIPTS: return subscripts(step.node);
    }
    return RC_NOT_EVALUABLE;
  }

  // Leaves the value of the node on the stack, or plans the steps that will.
  int evaluate(McNodeRef ref) {
    if (ref == 0) return RC_NO_EXPRESSION;
    const McNode& node = program_.nodes[ref];
    switch (node.kind) {
      case McNodeKind::INT:
        values_.push_back(McValueInteger(node.integer));
        return RC_OK;
      case McNodeKind::REAL:
      case McNodeKind::STRING: return constant(node.number);
      case McNodeKind::OPERA: return operation(ref);
      case McNodeKind::UNARY:
        plan(Action::APPLY, ref);
        plan(Action::EVALUATE, node.child);
        return RC_OK;
      case McNodeKind::FUNC:
        plan(Action::CALL, ref);
        plan(Action::ARGUMENTS, node.child);
        return RC_OK;
      case McNodeKind::VAR: plan(Action::SUBSCRIPTS, node.child); return RC_OK;
      // What only the run time has, and statements.
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
    return RC_NOT_EVALUABLE;
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

  McNodeRef right_of(McNodeRef operation) const {
    const McNodeRef left = program_.nodes[operation].child;
    return left == 0 ? 0 : program_.nodes[left].sibling;
  }

  int operation(McNodeRef ref) {
    const McNode& node = program_.nodes[ref];
    if (node.op == MC_AND || node.op == MC_OR) {
      plan(Action::DECIDE, ref);
    } else {
      plan(Action::COMBINE, ref);
      plan(Action::EVALUATE, right_of(ref));
    }
    plan(Action::EVALUATE, node.child);
    return RC_OK;
  }

  int combine(McNodeRef ref) {
    McValue right = std::move(values_.back());
    values_.pop_back();
    McValue left = std::move(values_.back());
    return McValueBinary(&front_->math, program_.nodes[ref].op, &left, &right,
                         &values_.back());
  }

  int decide(McNodeRef ref) {
    const int code = take_truth();
    if (code != RC_OK) return code;
    const bool truth = values_.back().integer != 0;
    if (truth == (program_.nodes[ref].op == MC_OR)) return RC_OK;
    values_.pop_back();
    plan(Action::TAKE_TRUTH, 0);
    plan(Action::EVALUATE, right_of(ref));
    return RC_OK;
  }

  // Replaces the value on top by its truth value.
  int take_truth() {
    int32_t truth;
    if (McValueTruth(values_.back(), &truth) != RC_OK) return RC_NO_TRUTH;
    values_.back() = McValueInteger(truth);
    return RC_OK;
  }

  int arguments(McNodeRef ref) {
    if (ref == 0) return RC_OK;
    plan(Action::ARGUMENTS, program_.nodes[ref].sibling);
    plan(Action::EVALUATE, ref);
    return RC_OK;
  }

  int call(McNodeRef ref, uint32_t first) {
    const uint32_t count = static_cast<uint32_t>(values_.size()) - first;
    McValue result;
    const int code = McFuncCall(&front_->math, program_.nodes[ref].index, count,
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

  // There is no table in which the variable behind the subscripts could be
  // found, but a failure of one of them comes first.
  int subscripts(McNodeRef ref) {
    if (ref == 0) return RC_NOT_EVALUABLE;
    const McNode& node = program_.nodes[ref];
    if (node.kind == McNodeKind::REFER) return RC_NOT_EVALUABLE;
    plan(Action::SUBSCRIPTS, node.sibling);
    plan(Action::EVALUATE, ref);
    return RC_OK;
  }

  McFront* front_;
  const McProgram& program_;
  UtVector<Step> steps_;
  UtVector<McValue> values_;
};

}  // namespace

int McEvalConst(McFront* front, McNodeRef expression, McValue* result) {
  *result = McValue();
  return Evaluation(front).run(expression, result);
}
