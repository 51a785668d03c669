// Every code that an operation of the compiler returns, in one place.
//
// Operations return one of these as an int, 0 for success. The numbers are
// what users read in reports and exit statuses and what build scripts compare,
// so they never change. Record routines and stream primitives do not use
// them: they return a bool, true for success.
#pragma once

enum ReturnCode : int {
  RC_OK = 0,

  // Outcome of a parse; the parse itself may have gone on to the end.
  RC_SYNTAX = 1,           // statement in error, or undefined variable
  RC_NO_EXPRESSIONS = 2,   // an expression list, where none is accepted
  RC_NO_PROGRAM = 3,       // a program, where none is accepted
  RC_NO_MODULE = 4,        // a module, where none is accepted
  RC_NO_MASK = 5,          // a mask definition, where none is accepted
  RC_DECLARATION = 6,      // declaration in error
  RC_NO_HANDLER = 7,       // an event handler, where none is accepted
  RC_PARSE_FAILED = 5281,  // the parse failed and no rule set a code

  // General.
  RC_NO_MEMORY = 1001,
  RC_NOT_FOUND = 1005,
  RC_CANNOT_OPEN = 1006,      // source file cannot be opened or pushed
  RC_CANNOT_WRITE = 1007,     // write of a plain stream failed
  RC_CANNOT_CREATE = 1008,    // output or compiled file cannot be opened
  RC_BAD_REDIRECTION = 1015,  // channel redirection leaves the table or loops
  RC_FIXED_TEXT_FULL = 1017,  // a fixed text buffer would have to grow
  RC_BAD_CLASS = 3005,        // defaults class name empty or too long
  RC_CHANNEL_BOUND = 3009,
  RC_INVALID = 3011,      // invalid argument, missing table, type clash
  RC_BODY_FAILED = 3016,  // writing or reading a compiled body failed
  RC_NO_DEFAULTS_FILE = 3071,

  // Program model.
  RC_BAD_STORAGE = 5100,     // dimensions for a variable that is not VALUE;
                             // unknown character in a built-in's signature
  RC_NO_REFERENCE = 5103,    // REF variable that refers to nothing
  RC_NO_VARIABLE = 5104,     // name not in the variable table(s)
  RC_NO_MEMBER = 5187,       // POINT members are X, Y and Z
  RC_SCALAR_MEMBER = 5188,   // INTEGER, REAL and STRING have no members
  RC_MEMBER_STORAGE = 5190,  // member of a variable that is not VALUE or ALLOC
  RC_MEMBER_TYPE = 5193,     // member of a variable of no known type
  RC_BAD_OPERAND = 5195,     // not assignable; range or constant type mismatch
  RC_OPERAND_LINKED = 5200,  // operand already has a sibling, or is missing
  RC_NO_NODE = 5202,         // no node pool, or it has no record to give

  // Evaluation of constant bounds.
  RC_BAD_FUNCTION = 5277,   // no such built-in function
  RC_NO_TRUTH = 5285,       // operand of AND or OR without truth value
  RC_NO_EXPRESSION = 5292,  // no node to evaluate or print
  RC_BAD_ARGUMENT = 5294,   // argument of a built-in does not fit
  RC_MATH_LIBRARY = 5295,   // the mathematical library reported an error
  RC_BAD_UNARY = 5603,      // unary operator other than 0, 1 and 2
  RC_DOMAIN = 5670,
  RC_SINGULARITY = 5671,
  RC_OVERFLOW = 5672,
  RC_UNDERFLOW = 5673,
  RC_TLOSS = 5674,
  RC_PLOSS = 5675,
  RC_BAD_OPERATOR = 5684,  // operator not defined for the operand types
  RC_TYPE_CAST = 5685,
  RC_BAD_CONVERSION = 5698,
  RC_NOT_EVALUABLE = 9000,  // node that cannot be evaluated or printed; a
                            // range bound missing or not allowed

  // Header of a compiled file.
  RC_HEADER_VERSION = 6194,
  RC_HEADER_MAGIC = 6197,  // wrong magic or kind
  RC_HEADER_WRITE = 6198,
  RC_HEADER_READ = 6199,

  // Reasons that the language tells apart inside; users see the code that
  // RcSeen gives for them.
  RC_TABLE_FULL = -1,  // a table of the file has no room for one more entry
  RC_NAMES_FULL = -2,  // the run has no room for one more attribute name
  RC_TYPE_CLASH = -3,  // the name of an attribute has values of another type
  RC_TOO_DEEP = -4,    // too many files inside each other, or in one source
};

// The code of an operation as users see it.
constexpr int RcSeen(int code) {
  switch (code) {
    case RC_TABLE_FULL:
    case RC_NAMES_FULL:
    case RC_TYPE_CLASH: return RC_INVALID;
    case RC_TOO_DEEP: return RC_CANNOT_OPEN;
    default: return code;
  }
}
