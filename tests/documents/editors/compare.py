#!/usr/bin/env python3
"""Compares what an editor makes of sources with what the scanner makes of them.

    compare.py EDITOR SMITH TOKENS COUNT [ARGUMENT...]

EDITOR is pygments, textmate, vim or emacs. SMITH and TOKENS are the programs
quillo_smith and quillo_tokens. COUNT random sources with what they include and
the examples are looked at, each as bytes. For every byte that the scanner reads,
a token, a comment or a stray character, the editor must have the same class.
"""
import glob
import os
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(HERE)))
EDITORS = os.path.join(ROOT, "editors")

CLASSES = {
    "textmate": {
        "keyword.control.quillo": "keyword",
        "storage.type.quillo": "keyword",
        "storage.modifier.quillo": "keyword",
        "keyword.operator.word.quillo": "keyword",
        "entity.name.tag.quillo": "keyword",
        "support.constant.event.quillo": "keyword",
        "support.function.message.quillo": "keyword",
        "support.function.builtin.quillo": "builtin",
        "constant.language.quillo": "real",
        "entity.name.function.quillo": "function",
        "variable.other.quillo": "name",
        "variable.language.external.quillo": "external",
        "keyword.operator.quillo": "operator",
        "punctuation.quillo": "sign",
        "constant.character.quillo": "integer",
        "constant.numeric.integer.quillo": "integer",
        "constant.numeric.real.quillo": "real",
        "string.quoted.double.quillo": "text",
        "comment.line.quillo": "comment",
        "invalid.illegal.stray.quillo": "stray",
    },
    "pygments": {
        "Keyword": "keyword", "Keyword.Type": "keyword",
        "Keyword.Declaration": "keyword", "Operator.Word": "keyword",
        "Name.Tag": "keyword", "Name.Decorator": "keyword",
        "Keyword.Pseudo": "keyword", "Name.Builtin": "builtin",
        "Keyword.Constant": "real", "Name.Function": "function",
        "Name": "name", "Name.Variable.Global": "external",
        "Operator": "operator", "Punctuation": "sign",
        "Literal.String.Char": "integer", "Literal.Number.Integer": "integer",
        "Literal.Number.Oct": "integer", "Literal.Number.Hex": "integer",
        "Literal.Number.Float": "real", "Literal.String.Double": "text",
        "Comment.Single": "comment", "Error": "stray",
    },
    "vim": {
        "quilloStatement": "keyword", "quilloType": "keyword",
        "quilloDeclaration": "keyword", "quilloOperator": "keyword",
        "quilloObject": "keyword", "quilloEvent": "keyword",
        "quilloMessage": "keyword", "quilloBuiltin": "builtin",
        "quilloConstant": "real", "quilloFunction": "function",
        "quilloName": "name", "quilloExternal": "external",
        "quilloArithmetic": "operator", "quilloSign": "sign",
        "quilloCharacter": "integer", "quilloInteger": "integer",
        "quilloReal": "real", "quilloText": "text", "quilloEscape": "text",
        "quilloComment": "comment", "quilloTodo": "comment",
        "quilloStray": "stray",
    },
    # Faces are fewer than classes; names and signs have none.
    "emacs": {
        "keyword": "keyword", "type": "keyword", "constant": "constant",
        "preprocessor": "keyword", "builtin": "builtin",
        "function-name": "function", "variable-name": "external",
        "string": "text", "comment": "comment", "warning": "stray",
    },
}


def pygments(paths, texts):
    sys.path.insert(0, os.path.join(EDITORS, "pygments"))
    from quillo_lexer import QuilloLexer
    lexer = QuilloLexer()
    for path in paths:
        text = texts[path].decode("latin-1")
        yield path, [(at, at + len(value), str(kind)[len("Token."):])
                     for at, kind, value in lexer.get_tokens_unprocessed(text)
                     if str(kind) != "Token.Text.Whitespace"]


def outside(command, folder, paths, texts):
    """Runs a program that prints lines like those of quillo_tokens."""
    copies = []
    for number, path in enumerate(paths):
        copies.append(os.path.join(folder, "%d.mac" % number))
        with open(copies[-1], "wb") as file:
            file.write(texts[path])
    output = os.path.join(folder, "pieces")
    with open(os.path.join(folder, "list"), "w") as file:
        file.write("".join(copy + "\n" for copy in copies))
    done = subprocess.run(
        command + [os.path.join(folder, "list"), output],
        stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT, timeout=300)
    if done.returncode != 0 or not os.path.exists(output):
        sys.exit("%s failed:\n%s" % (command[0], done.stdout.decode()[-2000:]))
    original = dict(zip(copies, paths))
    for copy, pieces in lists(open(output).read()):
        yield original[copy], pieces


def lists(text):
    """The lines of quillo_tokens as (path, [(begin, end, class)])."""
    path = pieces = None
    for line in text.splitlines():
        if line.startswith("= "):
            if path is not None:
                yield path, pieces
            path, pieces = line[2:], []
        else:
            begin, end, kind = line.split(" ", 2)
            pieces.append((int(begin), int(end), kind))
    if path is not None:
        yield path, pieces


def main():
    editor, smith, tokens, count = sys.argv[1:5]
    arguments = sys.argv[5:]
    classes = CLASSES[editor]
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run([smith, "--count", count, "-o", folder], check=True)
        paths = sorted(glob.glob(os.path.join(folder, "*")) +
                       glob.glob(os.path.join(ROOT, "examples", "*")))
        printed = subprocess.run([tokens] + paths, check=True,
                                 stdout=subprocess.PIPE).stdout.decode()
        expected = dict(lists(printed))
        texts = {path: open(path, "rb").read().replace(b"\r\n", b"\n")
                 for path in paths}
        if editor == "pygments":
            answers = pygments(paths, texts)
        else:
            command = {
                "textmate": ["node", os.path.join(HERE, "textmate.js"),
                             EDITORS] + arguments,
                "vim": ["vim", "-e", "-s", "-u", "NONE", "-i", "NONE",
                        "-S", os.path.join(HERE, "vim.vim"), "--"],
                "emacs": ["emacs", "--batch", "-Q", "-l",
                          os.path.join(EDITORS, "emacs/quillo-mode.el"), "-l",
                          os.path.join(HERE, "emacs.el")],
            }[editor]
            if editor == "vim":
                os.environ["QUILLO_EDITORS"] = EDITORS
                os.environ["QUILLO_LIST"] = os.path.join(folder, "list")
                os.environ["QUILLO_PIECES"] = os.path.join(folder, "pieces")
            answers = outside(command, folder, paths, texts)
        seen = differences = compared = 0
        for path, pieces in answers:
            seen += 1
            text = texts[path]
            end = expected[path][-1][1]
            wanted, found = [None] * len(text), [None] * len(text)
            for begin, stop, kind in expected[path][:-1]:
                if editor == "emacs":
                    kind = {"name": None, "sign": None, "operator": None,
                            "integer": "constant",
                            "real": "constant"}.get(kind, kind)
                wanted[begin:stop] = [kind] * (stop - begin)
            for begin, stop, kind in pieces:
                found[begin:stop] = [classes[kind]] * (stop - begin)
            for at in range(end):
                compared += 1
                if wanted[at] == found[at]:
                    continue
                if found[at] is None and text[at:at + 1].isspace():
                    continue  # a line feed in a text has no class
                differences += 1
                if differences <= 20:
                    print("%s:%d: %s for the scanner, %s for %s: %r" % (
                        os.path.basename(path), at, wanted[at], found[at],
                        editor, text[max(0, at - 30):at + 30]))
                break
        print("%s: %d sources, %d bytes, %d sources differ" %
              (editor, seen, compared, differences))
        if differences > 0 or seen != len(paths):
            sys.exit(1)


if __name__ == "__main__":
    main()
