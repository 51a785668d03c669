#include "elut/files/listing.h"

#include "Cutil/codes.h"
#include "elut/model/tree_walk.h"
#include "services/channels.h"

namespace {

const char* OrEmpty(const char* text) {
  return text == nullptr ? "" : text;
}

void McDumpImports(const UtVector<McImport>& imports) {
  for (const McImport& import : imports) {
    const int kind = import.kind & ~MC_IMPORT_FILE;
    if (kind == MC_IMPORT_MACRO) PrintOut("MACRO");
    if (kind == MC_IMPORT_CSUB) PrintOut("CSUB ");
    PrintOut(" %-24s FROM", OrEmpty(import.name));
    if ((import.kind & MC_IMPORT_FILE) != 0) {
      PrintOut(" FILE %s\n", OrEmpty(import.source));
      continue;
    }
    PrintOut(" %s", import.source == nullptr ? "glob" : import.source);
    if (import.module != nullptr) PrintOut(" MODULE %s", import.module);
    PrintOut("\n");
  }
}

void DumpRange(const McVar& variable) {
  if (variable.range == nullptr) return;
  if (variable.type == McValueType::INTEGER)
    PrintOut(" [%d:%d]", variable.range->integer.low,
             variable.range->integer.high);
  else if (variable.type == McValueType::REAL)
    PrintOut(" [%g:%g]", variable.range->real.low, variable.range->real.high);
  else
    PrintOut(" [RANGE]");
}

void DumpDims(const McVar& variable) {
  if (variable.dims == nullptr) return;
  for (unsigned i = 0; i < variable.dim_count; i++) {
    const McDim& dim = variable.dims[i];
    PrintOut(i == 0 ? " (" : ",");
    PrintOut("%d/%d:%d/%d", dim.current_low, dim.declared_low, dim.current_high,
             dim.declared_high);
  }
  if (variable.dim_count > 0) PrintOut(")");
}

void McDumpVarTable(const McVarTable& table) {
  int index = 0;
  for (const McVar& variable : table.entries) {
    PrintOut("%2d %-16s %-7s %-5s %2d", index++, OrEmpty(variable.name),
             MC_TYPE_NAMES[static_cast<int>(variable.type)],
             MC_STORAGE_NAMES[static_cast<int>(variable.storage)],
             variable.dim_count);
    DumpRange(variable);
    DumpDims(variable);
    PrintOut("\n");
  }
}

void McDumpCommons(const UtVector<McCommon>& commons) {
  for (const McCommon& common : commons) {
    PrintOut("----------------- COMMON %16s ----------------\n",
             OrEmpty(common.name));
    McDumpVarTable(common.variables);
  }
}

// The first child of a node stands on the line of its parent; each further
// sibling begins a line, indented to the depth of its list.
void McDumpTree(const McNodePool& nodes, McNodeRef root) {
  int depth = 0;
  bool first = true;
  McTreeWalker walker;
  walker.walk(
      nodes, root,
      [&](const McNode& node) {
        if (!first) PrintOut("\n%*s", 7 * depth, "");
        PrintOut(" %-6s", MC_KIND_NAMES[static_cast<int>(node.kind)]);
        first = true;
        depth++;
        return true;
      },
      [&](const McNode&) {
        first = false;
        depth--;
        return true;
      });
}

// Printing expressions ------------------------------------------------------

constexpr const char* OPERATOR_TEXTS[] = {
    nullptr, "+",     "-",     "/",     "*",     "**",    "MOD",   "DIV",
    nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    "==",    "<>",    ">",     ">=",    "<",     "<=",    "AND",   "OR",
};

const char* OperatorText(uint8_t op) {
  return op < sizeof OPERATOR_TEXTS / sizeof *OPERATOR_TEXTS
             ? OPERATOR_TEXTS[op]
             : nullptr;
}

class ExpressionPrinter {
 public:
  ExpressionPrinter(unsigned channel, const McProgram* program)
      : channel_(channel), program_(program) {}

  // Prints one expression; what its operands come to does not matter.
  int print(McNodeRef root) {
    path_.clear();
    const int code = begin(node(root));
    // Walks the operands of OPERA nodes: `path_` leads to the operand that is
    // printed, each entry an OPERA with its operands still to come.
    while (!path_.empty()) {
      Open* open = &path_.back();
      const McNodeRef operand = open->next;
      if (operand == 0 || open->printed == 2) {
        ChannelPrint(channel_, ")");
        path_.pop_back();
        continue;
      }
      if (open->printed == 1 && open->text != nullptr)
        ChannelPrint(channel_, " %s ", open->text);
      open->printed++;
      open->next = node(operand).sibling;
      (void)begin(node(operand));
    }
    return code;
  }

 private:
  struct Open {
    McNodeRef next;    // operand to print next
    int printed;       // operands printed so far
    const char* text;  // of the operator; nullptr: none
  };

  const McNode& node(McNodeRef ref) const { return program_->nodes[ref]; }

  // Prints a leaf, or opens an OPERA.
  int begin(const McNode& node) {
    switch (node.kind) {
      case McNodeKind::INT:
        ChannelPrint(channel_, "%d", node.integer);
        return RC_OK;
      case McNodeKind::REAL:
        ChannelPrint(channel_, "%lg", program_->constants[node.number].real);
        return RC_OK;
      case McNodeKind::STRING:
        ChannelPrint(channel_, "\"%s\"", program_->constants[node.number].text);
        return RC_OK;
      case McNodeKind::OPERA:
        ChannelPrint(channel_, "(");
        path_.push_back({node.child, 0, OperatorText(node.op)});
        return RC_OK;
      case McNodeKind::EMPTY:
      case McNodeKind::DIM:
      case McNodeKind::REFVAR:
      case McNodeKind::CASE:
      case McNodeKind::REFER: return RC_NOT_EVALUABLE;
      default: return RC_OK;
    }
  }

  unsigned channel_;
  const McProgram* program_;
  UtVector<Open> path_;
};

// Prints a PRINT statement; it stops at an item that has no text.
int PrintStatement(unsigned channel, const char* prefix,
                   const McProgram* program, const McNode& print) {
  ExpressionPrinter printer(channel, program);
  ChannelPrint(channel, "%sPRINT", prefix);
  int code = RC_OK;
  for (McNodeRef item = print.child; item != 0 && code == RC_OK;
       item = program->nodes[item].sibling) {
    if (item != print.child) ChannelPrint(channel, ",");
    ChannelPrint(channel, " ");
    code = printer.print(item);
  }
  ChannelPrint(channel, ";\n");
  return code;
}

int PrintNode(unsigned channel, const char* prefix, const McProgram* program,
              McNodeRef ref) {
  const McNode& node = program->nodes[ref];
  if (node.kind == McNodeKind::PRINT)
    return PrintStatement(channel, prefix, program, node);
  return ExpressionPrinter(channel, program).print(ref);
}

void Dump(const McProgram* program) {
  PrintOut("\n------------------------------- PROGRAM: %-32s ------\n",
           OrEmpty(program->name));
  PrintOut(
      "\n-------------------------------  IMPORTS  "
      "-------------------------------------\n");
  McDumpImports(program->imports);
  for (const McSub& sub : program->subs) {
    PrintOut("\n----------------------------------- SUB: %-32s ------\n",
             OrEmpty(sub.name));
    PrintOut("Parameter:\n");
    McDumpVarTable(sub.parameters);
    McDumpCommons(sub.commons);
    PrintOut("--------------------- Variablen: ---------------------\n");
    McDumpVarTable(sub.locals);
    if (sub.body == 0) continue;
    PrintOut("Program:\n");
    McDumpTree(program->nodes, sub.body);
  }
  if (program->body == 0) return;
  PrintOut(
      "\n----------------------------------- MAIN "
      "--------------------------------------\n");
  McDumpCommons(program->commons);
  PrintOut("--------------------- Variablen: ---------------------\n");
  McDumpVarTable(program->variables);
  PrintOut("Program:\n");
  McDumpTree(program->nodes, program->body);
  PrintOut(
      "\n--------------------------------------------------------------------"
      "-----------\n");
}

}  // namespace

int McDumpProgram(const McProgram* program) {
  return UtGuarded([&] {
    Dump(program);
    return RC_OK;
  });
}

int McPrintExpr(unsigned channel, const char* prefix,
                const McProgram* program) {
  if (program->body == 0) return RC_NO_EXPRESSION;
  return UtGuarded([&] {
    const McNode& body = program->nodes[program->body];
    if (body.kind != McNodeKind::BLOCK)
      return PrintNode(channel, prefix, program, program->body);
    int code = RC_OK;
    for (McNodeRef item = body.child; item != 0 && code == RC_OK;
         item = program->nodes[item].sibling)
      code = PrintNode(channel, prefix, program, item);
    return code;
  });
}
