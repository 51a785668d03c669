"""Highlighting of quillo's sources with Pygments.

    pygmentize -x -l editors/pygments/quillo_lexer.py:QuilloLexer source.mac

The lists of words are kept by scripts/editor-words.
"""
from pygments.lexer import RegexLexer, words
from pygments.token import (Comment, Error, Keyword, Name, Number, Operator,
                            Punctuation, String, Whitespace)

__all__ = ["QuilloLexer"]

STATEMENT_WORDS = (
    "ALLOCATE", "BREAK", "CALL", "CASE", "CONTINUE", "DO", "ELSE", "END",
    "EXECUTE", "EXIT", "FREE", "IF", "LET", "ON", "PRINT", "RETURN",
    "SELECT", "SUBEXIT", "THEN", "TO", "WHILE", "WITH",
)
TYPE_WORDS = (
    "INTEGER", "POINT", "REAL", "STRING",
)
DECLARATION_WORDS = (
    "COMMON", "CSUB", "FILE", "FROM", "IMPORT", "INCLUDE", "MODULE",
    "OPTIONAL", "PROGRAM", "SUB", "SUBEND",
)
OPERATOR_WORDS = (
    "AND", "DIV", "MOD", "OR",
)
OBJECT_WORDS = (
    "APPLICATION", "BUTTON", "DIALOG", "GRAPHIC", "GROUP", "HELP", "ITEM",
    "LABEL", "MENU", "MENUBAR", "RECORD", "SCROLLBAR", "TABLE", "TEXT",
    "WINDOW",
)
EVENT_WORDS = (
    "ABORT", "ACTIVATE", "COMPUTE", "CONFIRM", "CONTROL", "CREATE",
    "DESTROY", "ENTER", "HIDE", "KEY", "MODIFY", "MOTION", "PRESS",
    "RELEASE", "SHOW",
)
MESSAGE_WORDS = (
    "MSG", "MSGFILE", "MSGGET", "MSGGLOB",
)
BUILTIN_WORDS = (
    "ABS", "INT", "COS", "SIN", "TAN", "VAL", "STR", "SYSTEM", "PIPE",
    "CHR", "NUM", "SPRINT", "MID", "LEN", "SPLIT", "POS", "UPC", "LWC",
    "FOPEN", "FCLOSE", "FREMOVE", "FGETS", "FPUTS", "FEOF", "FERRNO",
    "FACCESS", "CONNECT", "CONNECTED", "TRIM", "GETENV", "PUTENV",
    "GETFILE", "USERNAME", "DATE", "TIME", "IMPORTFN", "ROUND", "DOPEN",
    "DGETS", "DCLOSE", "VSYSTEM", "SUBSTSTR", "SUBSVAR",
)

END = r"(?![A-Za-z0-9_])"  # of a word


class QuilloLexer(RegexLexer):
    """Programs, modules and masks."""

    name = "quillo"
    aliases = ["quillo"]
    filenames = ["*.mac", "*.msk"]
    mimetypes = ["text/x-quillo"]

    tokens = {
        "root": [
            (r"[ \t\n\f]+", Whitespace),
            (r"[!#][^\n]*", Comment.Single),
            # Closed by one or two quotes, or by one at the start of a line.
            (r'"(?:[^"\\\n\0]|\\+[^\\\n\0])*(?:""?|\n")', String.Double),
            (r"'[^\n\0]'", String.Char),
            (r"(?:[0-9]*\.[0-9]+(?:[Ee][+-]?[0-9]+)?|[0-9]+[Ee][+-]?[0-9]+)"
             r"[DGRdgr]?|[0-9]+[DGRdgr]", Number.Float),
            (r"0x[0-9A-Fa-f]+", Number.Hex),
            (r"0[0-7]*", Number.Oct),
            (r"[1-9][0-9]*", Number.Integer),
            (words(STATEMENT_WORDS, suffix=END), Keyword),
            (words(TYPE_WORDS, suffix=END), Keyword.Type),
            (words(DECLARATION_WORDS, suffix=END), Keyword.Declaration),
            (words(OPERATOR_WORDS, suffix=END), Operator.Word),
            (words(OBJECT_WORDS, suffix=END), Name.Tag),
            (words(EVENT_WORDS, suffix=END), Name.Decorator),
            (words(MESSAGE_WORDS, suffix=END), Keyword.Pseudo),
            (words(BUILTIN_WORDS, suffix=END), Name.Builtin),
            (r"PI" + END, Keyword.Constant),
            (r"C?FN[A-Za-z][A-Za-z0-9_]*", Name.Function),
            (r"[A-Za-z][A-Za-z0-9_]*", Name),
            (r"[%&$][A-Za-z][A-Za-z0-9_]*|@:?[*.0-9A-Za-z_]+|[%&$@]",
             Name.Variable.Global),
            (r"\*\*|==|>=|<=|<>|[-+/*]?=|[-+*/<>]", Operator),
            (r"[:;,.()\[\]{}]", Punctuation),
            (r".", Error),
        ],
    }
