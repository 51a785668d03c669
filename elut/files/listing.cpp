// A listing shows a tree in columns: a child stands to the right of its parent,
// the first one in the same line, each further one in a line of its own. The
// depth is all that the walk has to count, so a deep tree costs no native
// stack. Listings are printed piece by piece; the standard output collects the
// pieces.
#include "elut/files/listing.h"

#include "Cutil/codes.h"

namespace {

const char* OrEmpty(const char* text) {
  return text == nullptr ? "" : text;
}

void McDumpImports(Channels* out, const UtVector<McImport>& imports) {
  for (const McImport& import : imports) {
    const int kind = import.kind & ~MC_IMPORT_FILE;
    if (kind == MC_IMPORT_MACRO) out->out("MACRO");
    if (kind == MC_IMPORT_CSUB) out->out("CSUB ");
    out->out(" %-24s FROM", OrEmpty(import.name));
    if ((import.kind & MC_IMPORT_FILE) != 0) {
      out->out(" FILE %s\n", OrEmpty(import.source));
      continue;
    }
    out->out(" %s", import.source == nullptr ? "glob" : import.source);
    if (import.module != nullptr) out->out(" MODULE %s", import.module);
    out->out("\n");
  }
}

void DumpRange(Channels* out, const McVar& variable) {
  if (variable.range == nullptr) return;
  if (variable.type == McValueType::INTEGER)
    out->out(" [%d:%d]", variable.range->integer.low,
             variable.range->integer.high);
  else if (variable.type == McValueType::REAL)
    out->out(" [%g:%g]", variable.range->real.low, variable.range->real.high);
  else
    out->out(" [RANGE]");
}

void DumpDims(Channels* out, const McVar& variable) {
  if (variable.dims == nullptr) return;
  for (unsigned i = 0; i < variable.dim_count; i++) {
    const McDim& dim = variable.dims[i];
    out->out(i == 0 ? " (" : ",");
    out->out("%d/%d:%d/%d", dim.current_low, dim.declared_low, dim.current_high,
             dim.declared_high);
  }
  if (variable.dim_count > 0) out->out(")");
}

void McDumpVarTable(Channels* out, const McVarTable& table) {
  int index = 0;
  for (const McVar& variable : table.entries) {
    out->out("%2d %-16s %-7s %-5s %2d", index++, OrEmpty(variable.name),
             MC_TYPE_NAMES[static_cast<int>(variable.type)],
             MC_STORAGE_NAMES[static_cast<int>(variable.storage)],
             variable.dim_count);
    DumpRange(out, variable);
    DumpDims(out, variable);
    out->out("\n");
  }
}

void McDumpCommons(Channels* out, const UtVector<McCommon>& commons) {
  for (const McCommon& common : commons) {
    out->out("----------------- COMMON %16s ----------------\n",
             OrEmpty(common.name));
    McDumpVarTable(out, common.variables);
  }
}

// The first child of a node stands on the line of its parent; each further
// sibling begins a line, indented to the depth of its list.
void McDumpTree(Channels* out, const McNodes& nodes, const McTree& tree) {
  int depth = 0;
  bool first = true;
  McWalkTrees(
      nodes, tree,
      [&](McNodeRef node) {
        if (!first) out->out("\n%*s", 7 * depth, "");
        out->out(" %-6s",
                 MC_KIND_NAMES[static_cast<unsigned>(nodes[node].kind())]);
        first = true;
        depth++;
        return true;
      },
      [&](McNodeRef) {
        first = false;
        depth--;
        return true;
      });
}

// Printing expressions ------------------------------------------------------

// The text of an operator that an OPERA can have; nullptr for others.
const char* OperatorText(uint8_t op) {
  switch (op) {
#define MC_OPERATOR(number, name, token, text) \
  case number:                                 \
    return (number) == MC_RANGE ? nullptr : (text);
#include "elut/syntax/operators.def"
#undef MC_OPERATOR
  }
  return nullptr;
}

class ExpressionPrinter {
 public:
  ExpressionPrinter(Channels* channels, unsigned channel,
                    const McProgram* program)
      : channels_(channels),
        channel_(channel),
        program_(program),
        nodes_(program->store->nodes) {}

  // Prints one expression; what its operands come to does not matter.
  int print(McNodeRef root) {
    path_.clear();
    const int code = begin(root);
    // Walks the operands of OPERA nodes: `path_` leads to the operand that is
    // printed, each entry an OPERA with its operands still to come.
    while (!path_.empty()) {
      Open* open = &path_.back();
      const McNodeRef operand = open->next;
      if (operand == open->node || open->printed == 2) {
        channels_->print(channel_, ")");
        path_.pop_back();
        continue;
      }
      if (open->printed == 1 && open->text != nullptr)
        channels_->print(channel_, " %s ", open->text);
      open->printed++;
      open->next = nodes_.next_child(operand);
      (void)begin(operand);
    }
    return code;
  }

 private:
  struct Open {
    McNodeRef node;    // the OPERA
    McNodeRef next;    // operand to print next; `node` itself after the last
    int printed;       // operands printed so far
    const char* text;  // of the operator; nullptr: none
  };

  // Prints a leaf, or opens an OPERA.
  int begin(McNodeRef ref) {
    const McNode& node = nodes_[ref];
    switch (node.kind()) {
      case McNodeKind::INT:
        channels_->print(channel_, "%d", node.integer());
        return RC_OK;
      case McNodeKind::REAL:
        channels_->print(channel_, "%lg",
                         program_->constants[node.number()].real);
        return RC_OK;
      case McNodeKind::STRING:
        channels_->print(channel_, "\"%s\"",
                         program_->constants[node.number()].text);
        return RC_OK;
      case McNodeKind::OPERA:
        channels_->print(channel_, "(");
        path_.push_back({ref, node.is_leaf() ? ref : nodes_.first_child(ref), 0,
                         OperatorText(node.op())});
        return RC_OK;
      case McNodeKind::EMPTY:
      case McNodeKind::DIM:
      case McNodeKind::REFVAR:
      case McNodeKind::CASE:
      case McNodeKind::REFER: return RC_NOT_EVALUABLE;
      default: return RC_OK;
    }
  }

  Channels* channels_;
  unsigned channel_;
  const McProgram* program_;
  const McNodes& nodes_;
  UtVector<Open> path_;
};

// Prints a PRINT statement; it stops at an item that has no text.
int PrintStatement(Channels* channels, unsigned channel, const char* prefix,
                   const McProgram* program, McNodeRef print) {
  const McNodes& nodes = program->store->nodes;
  ExpressionPrinter printer(channels, channel, program);
  channels->print(channel, "%sPRINT", prefix);
  int code = RC_OK;
  if (!nodes[print].is_leaf()) {
    const McNodeRef first = nodes.first_child(print);
    for (McNodeRef item = first; item != print && code == RC_OK;
         item = nodes.next_child(item)) {
      if (item != first) channels->print(channel, ",");
      channels->print(channel, " ");
      code = printer.print(item);
    }
  }
  channels->print(channel, ";\n");
  return code;
}

int PrintNode(Channels* channels, unsigned channel, const char* prefix,
              const McProgram* program, McNodeRef ref) {
  if (program->store->nodes[ref].kind() == McNodeKind::PRINT)
    return PrintStatement(channels, channel, prefix, program, ref);
  return ExpressionPrinter(channels, channel, program).print(ref);
}

void Dump(Channels* out, const McProgram* program) {
  out->out("\n------------------------------- PROGRAM: %-32s ------\n",
           OrEmpty(program->name));
  out->out(
      "\n-------------------------------  IMPORTS  "
      "-------------------------------------\n");
  McDumpImports(out, program->imports);
  for (const McSub& sub : program->subs) {
    out->out("\n----------------------------------- SUB: %-32s ------\n",
             OrEmpty(sub.name));
    out->out("Parameter:\n");
    McDumpVarTable(out, sub.parameters);
    McDumpCommons(out, sub.commons);
    out->out("--------------------- Variablen: ---------------------\n");
    McDumpVarTable(out, sub.locals);
    if (sub.body.is_none()) continue;
    out->out("Program:\n");
    McDumpTree(out, program->store->nodes, sub.body);
  }
  if (program->body.is_none()) return;
  out->out(
      "\n----------------------------------- MAIN "
      "--------------------------------------\n");
  McDumpCommons(out, program->commons);
  out->out("--------------------- Variablen: ---------------------\n");
  McDumpVarTable(out, program->variables);
  out->out("Program:\n");
  McDumpTree(out, program->store->nodes, program->body);
  out->out(
      "\n--------------------------------------------------------------------"
      "-----------\n");
}

}  // namespace

int McDumpProgram(Channels* out, const McProgram* program) {
  return UtGuarded([&] {
    Dump(out, program);
    return RC_OK;
  });
}

int McPrintExpr(Channels* channels, unsigned channel, const char* prefix,
                const McProgram* program) {
  if (program->body.is_none()) return RC_NO_EXPRESSION;
  return UtGuarded([&] {
    const McNodes& nodes = program->store->nodes;
    const McNodeRef root = program->body.root();
    if (nodes[root].kind() != McNodeKind::BLOCK)
      return PrintNode(channels, channel, prefix, program, root);
    int code = RC_OK;
    if (nodes[root].is_leaf()) return code;
    for (McNodeRef item = nodes.first_child(root);
         item != root && code == RC_OK; item = nodes.next_child(item))
      code = PrintNode(channels, channel, prefix, program, item);
    return code;
  });
}
