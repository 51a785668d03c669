# What Bison makes of grammar.y: not a parser, but the tables of one, for all
# that read the language, and each action as an inline function.
#
# The header gets the numbers of tokens and symbols and the tables as constants
# (MC_GRAMMAR, see grammar_tables.h); the other file gets the actions. The
# compiler's parser is printed from the tables by make_parser.cpp.
m4_include(b4_skeletonsdir/[c.m4])

# Values: $1 is in the entry below the top of the stack that belongs to it, and
# $$ in that of the first symbol, where the next rule looks for it.
m4_define([b4_lhs_value], [b4_symbol_value(yyval, [$1], [$2])])
m4_define([b4_rhs_value],
[b4_symbol_value([yytop@{b4_subtract([$2], [$1])@}.value], [$3], [$4])])
m4_define([b4_null], [nullptr])
m4_define([b4_lhs_location], [m4_fatal([no locations])])
m4_define([b4_rhs_location], [m4_fatal([no locations])])

m4_define([mc_table],
[inline constexpr int16_t MC_[]m4_toupper([$1])[[]] = {
$2
};
])

# A symbol by its number, with the name that the grammar gives it.
m4_define([mc_symbol_enum],
[  b4_symbol([$1], [kind_base]) = $1,
])

# The first rule with this action, wherever that stands in its line.
m4_define([mc_first_action],
[m4_ifndef([mc_action: $2], [m4_define([mc_action: $2], [$1])])dnl
m4_indir([mc_action: $2])])

m4_define([mc_action_row], [$1, mc_first_action([$1], m4_normalize(m4_quote($2))),
])

m4_define([mc_has_value], [b4_symbol_if([$1], [has_type], [1], [0]), ])

b4_output_begin([b4_spec_header_file])[
// Made by the build from grammar.y.
#pragma once

#include "elut/syntax/grammar_tables.h"

enum McTokenNumber : int {
]m4_map([b4_token_enum], m4_defn([b4_symbol_numbers]))[
};

enum McSymbolNumber : int {
]b4_symbol_foreach([mc_symbol_enum])[};

]b4_integral_parser_tables_map([mc_table])[
inline constexpr int16_t MC_RLINE[] = {
]b4_rline[
};
inline constexpr const char* MC_SYMBOL_NAMES[] = {
]b4_tname[
};
// Whether the symbol comes with a value.
inline constexpr bool MC_HAS_VALUE[] = {
]b4_symbol_foreach([mc_has_value])[};
// Rules that have an action, each with the first one of the same text; 0 closes
// the list.
inline constexpr int16_t MC_ACTIONS[] = {
]m4_pushdef([b4_case], m4_defn([mc_action_row]))dnl
m4_pushdef([b4_syncline], [])dnl
b4_actions[]m4_popdef([b4_syncline])m4_popdef([b4_case])[ 0};

inline constexpr McGrammarTables MC_GRAMMAR = {
    .states = ]b4_states_number[,
    .rules = ]b4_rules_number[,
    .tokens = ]b4_tokens_number[,
    .symbols = ]b4_tokens_number + b4_nterms_number[,
    .final_state = ]b4_final_state_number[,
    .last = ]b4_last[,
    .no_lookahead = ]b4_pact_ninf[,
    .error_entry = ]b4_table_ninf[,
    .pact = MC_PACT,
    .defact = MC_DEFACT,
    .pgoto = MC_PGOTO,
    .defgoto = MC_DEFGOTO,
    .table = MC_TABLE,
    .check = MC_CHECK,
    .symbol = MC_STOS,
    .lhs = MC_R1,
    .length = MC_R2,
    .line = MC_RLINE,
    .names = MC_SYMBOL_NAMES,
    .has_value = MC_HAS_VALUE,
    .actions = MC_ACTIONS,
};
]b4_output_end

m4_define([b4_case],
[inline bool Action$1(McFront* front, McStackEntry* yytop, int yychar) {
  (void)front;
  (void)yychar;
  @{@{maybe_unused@}@} McSemantic& yyval =
      yytop@{1 - MC_GRAMMAR.length@{$1@}@}.value;
$2
b4_syncline([@oline@], [@ofile@])dnl
  return true;
}
])

b4_output_begin([b4_parser_file_name])[
// Made by the build from grammar.y.
]b4_user_actions[
]m4_pushdef([b4_syncline], [])m4_pushdef([b4_case],
[    case $][1: return Action$][1(front, yytop, yychar);
])[

// Runs the action of a rule, if it has one.
@{@{gnu::cold, gnu::noinline@}@} inline bool RunAction(
    McFront* front, McStackEntry* yytop, int yychar, int rule) {
  switch (rule) {
]b4_actions[]m4_popdef([b4_case])m4_popdef([b4_syncline])[
  }
  return true;
}

// Drops what was built for a symbol that an error discards.
@{@{gnu::cold@}@} inline void Discard(McFront* front, int yykind, McSemantic* yyvaluep) {
  ]b4_symbol_actions([destructor])[
}
]b4_output_end
