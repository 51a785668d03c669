#!/usr/bin/env python3
"""Compares the places that an editor finds in quillo's reports with the true ones.

    positions.py EDITOR QUILLO

EDITOR is textmate (the problem matcher of VS Code), vim or emacs.
"""
import json
import os
import re
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(HERE)))
EDITORS = os.path.join(ROOT, "editors")

SOURCES = {
    "a.mac": 'PROGRAM a;\nINCLUDE "in c.inc";\nINTEGER i j;\ni = 1 + ;\n'
             'PRINT k;\n',
    "in c.inc": "SUB s\n  x = 1;\nSUBEND\n",
    "b.mac": "PROGRAM b;\nWHILE 1 DO\n",
    "c.msk": "WINDOW w {\n  title = ;\n}\n",
}
PLACES = [("a.mac", 3), ("a.mac", 4), ("a.mac", 5), ("b.mac", 3), ("c.msk", 2),
          ("in c.inc", 2)]


def vscode(text):
    with open(os.path.join(EDITORS, "vscode/package.json")) as file:
        matcher = json.load(file)["contributes"]["problemMatchers"][0]
    pattern = matcher["pattern"]
    for line in text.splitlines():
        match = re.search(pattern["regexp"], line)
        if match:
            yield match[pattern["file"]], int(match[pattern["line"]])


def vim(text):
    with open("reports", "w") as file:
        file.write(text)
    with open("places.vim", "w") as file:
        file.write('''set nocompatible
set runtimepath^=%s/vim
filetype plugin on
edit c.msk
if &makeprg !=# "quillo -w %%:S" | cquit | endif
edit a.mac
if &makeprg !=# "quillo %%:S" | cquit | endif
cgetfile reports
let lines = []
for item in getqflist()
  if item.valid
    call add(lines, bufname(item.bufnr) . "\\t" . item.lnum)
  endif
endfor
call writefile(lines, "places")
qall!
''' % EDITORS)
    subprocess.run(["vim", "-e", "-s", "-u", "NONE", "-i", "NONE", "-S",
                    "places.vim"], stdin=subprocess.DEVNULL, check=True)
    return read_places()


def emacs(text):
    with open("reports", "w") as file:
        file.write("-*- mode: compilation -*-\n\n" + text)
    with open("places.el", "w") as file:
        file.write('''(find-file "reports")
(compilation-mode)
(font-lock-ensure)
(compilation--ensure-parse (point-max))
(goto-char (point-min))
(let (lines)
  (condition-case nil
      (while t
        (compilation-next-error 1)
        (let ((loc (compilation--message->loc
                    (get-text-property (point) 'compilation-message))))
          (push (format "%s\\t%d" (caar (compilation--loc->file-struct loc))
                        (compilation--loc->line loc)) lines)))
    (error nil))
  (write-region (mapconcat #'identity lines "\\n") nil "places"))
''')
    subprocess.run(["emacs", "--batch", "-Q", "-l",
                    os.path.join(EDITORS, "emacs/quillo-mode.el"), "-l",
                    "./places.el"], stdin=subprocess.DEVNULL, check=True,
                   stderr=subprocess.DEVNULL)
    return read_places()


def read_places():
    with open("places") as file:
        for line in file.read().splitlines():
            name, number = line.split("\t")
            yield name, int(number)


def main():
    editor, quillo = sys.argv[1:3]
    quillo = os.path.abspath(quillo)
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        for name, text in SOURCES.items():
            with open(name, "w") as file:
                file.write(text)
        text = "".join(
            subprocess.run([quillo] + arguments, text=True,
                           stderr=subprocess.PIPE).stderr
            for arguments in (["a.mac", "b.mac"], ["-w", "c.msk"]))
        find = {"textmate": vscode, "vim": vim, "emacs": emacs}[editor]
        places = sorted(set(find(text)))
        if places != PLACES:
            sys.exit("%s\n%s finds %s\ninstead of %s" %
                     (text, editor, places, PLACES))


if __name__ == "__main__":
    main()
