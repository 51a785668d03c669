;;; quillo-mode.el --- Programs, modules and masks of quillo -*- lexical-binding: t -*-

;;; Commentary:

;; (load "quillo-mode.el") in the init file is all that is needed: files whose
;; names end with .mac or .msk are shown in this mode, and M-x compile finds the
;; places of quillo's reports.
;;
;; Words and literals are matched in the order of the font-lock keywords, each of
;; which starts where the one before has ended, so that a text can hold an
;; exclamation mark and a comment a quote.  The lists of words are kept by
;; scripts/editor-words.

;;; Code:

(require 'compile)

(defconst quillo-statement-words
  '("ALLOCATE" "BREAK" "CALL" "CASE" "CONTINUE" "DO" "ELSE" "END"
    "EXECUTE" "EXIT" "FREE" "IF" "LET" "ON" "PRINT" "RETURN" "SELECT"
    "SUBEXIT" "THEN" "TO" "WHILE" "WITH"))
(defconst quillo-type-words
  '("INTEGER" "POINT" "REAL" "STRING"))
(defconst quillo-declaration-words
  '("COMMON" "CSUB" "FILE" "FROM" "IMPORT" "INCLUDE" "MODULE" "OPTIONAL"
    "PROGRAM" "SUB" "SUBEND"))
(defconst quillo-operator-words
  '("AND" "DIV" "MOD" "OR"))
(defconst quillo-object-words
  '("APPLICATION" "BUTTON" "DIALOG" "GRAPHIC" "GROUP" "HELP" "ITEM"
    "LABEL" "MENU" "MENUBAR" "RECORD" "SCROLLBAR" "TABLE" "TEXT" "WINDOW"))
(defconst quillo-event-words
  '("ABORT" "ACTIVATE" "COMPUTE" "CONFIRM" "CONTROL" "CREATE" "DESTROY"
    "ENTER" "HIDE" "KEY" "MODIFY" "MOTION" "PRESS" "RELEASE" "SHOW"))
(defconst quillo-message-words
  '("MSG" "MSGFILE" "MSGGET" "MSGGLOB"))
(defconst quillo-builtin-words
  '("ABS" "INT" "COS" "SIN" "TAN" "VAL" "STR" "SYSTEM" "PIPE" "CHR" "NUM"
    "SPRINT" "MID" "LEN" "SPLIT" "POS" "UPC" "LWC" "FOPEN" "FCLOSE"
    "FREMOVE" "FGETS" "FPUTS" "FEOF" "FERRNO" "FACCESS" "CONNECT"
    "CONNECTED" "TRIM" "GETENV" "PUTENV" "GETFILE" "USERNAME" "DATE"
    "TIME" "IMPORTFN" "ROUND" "DOPEN" "DGETS" "DCLOSE" "VSYSTEM"
    "SUBSTSTR" "SUBSVAR"))

(defvar quillo-word-faces
  (let ((faces (make-hash-table :test 'equal)))
    (dolist (group `((,quillo-statement-words . font-lock-keyword-face)
                     (,quillo-type-words . font-lock-type-face)
                     (,quillo-declaration-words . font-lock-keyword-face)
                     (,quillo-operator-words . font-lock-keyword-face)
                     (,quillo-object-words . font-lock-type-face)
                     (,quillo-event-words . font-lock-keyword-face)
                     (,quillo-message-words . font-lock-preprocessor-face)
                     (,quillo-builtin-words . font-lock-builtin-face)))
      (dolist (word (car group))
        (puthash word (cdr group) faces)))
    (puthash "PI" 'font-lock-constant-face faces)
    faces)
  "The face of each reserved word.")

(defun quillo-word-face (word)
  "The face of WORD, or nil for a name."
  (or (gethash word quillo-word-faces)
      (let ((case-fold-search nil))
        (and (string-match-p "\\`C?FN[A-Za-z]" word)
             'font-lock-function-name-face))))

;; One expression for every token: where the next one begins depends on where
;; this one ends.
(defconst quillo-token
  (concat
   "\\([!#].*\\)"                                                     ; 1 comment
   "\\|\\(\"\\(?:[^\"\\\n]\\|\\\\+[^\\\n]\\)*\\(?:\"\"?\\|\n\"\\)\\)" ; 2 text
   "\\|\\('[^\n]'\\|[0-9]*\\.[0-9]+\\(?:[Ee][-+]?[0-9]+\\)?[DGRdgr]?" ; 3 number
   "\\|[0-9]+[Ee][-+]?[0-9]+[DGRdgr]?\\|[0-9]+[DGRdgr]"
   "\\|0x[0-9A-Fa-f]+\\|0[0-7]*\\|[1-9][0-9]*\\)"
   "\\|\\([A-Za-z][A-Za-z0-9_]*\\)"                                   ; 4 word
   "\\|\\([%&$][A-Za-z][A-Za-z0-9_]*\\|@:?[*.0-9A-Za-z_]+\\|[%&$@]\\)" ; 5
   "\\|[-+*/<>=:;,.(){}]\\|\\[\\|\\]"
   "\\|\\([^ \t\n\f]\\)")                                             ; 6 stray
  "A token of the language, a comment, or a stray character.")

(defun quillo-next-token (limit)
  "Find the next token that has a face, before LIMIT."
  (let ((case-fold-search nil) found)
    (while (and (not found) (re-search-forward quillo-token limit t))
      (setq found (or (match-beginning 1) (match-beginning 2)
                      (match-beginning 3) (match-beginning 5)
                      (match-beginning 6)
                      (and (match-beginning 4)
                           (quillo-word-face (match-string 4))))))
    found))

(defvar quillo-font-lock-keywords
  '((quillo-next-token
     (1 font-lock-comment-face nil t)
     (2 font-lock-string-face nil t)
     (3 font-lock-constant-face nil t)
     (4 (quillo-word-face (match-string 4)) nil t)
     (5 font-lock-variable-name-face nil t)
     (6 font-lock-warning-face nil t))))

(defvar quillo-mode-syntax-table
  (let ((table (make-syntax-table)))
    ;; Texts and comments are the affair of the font-lock keywords.
    (dolist (sign '(?\" ?' ?! ?# ?% ?& ?$ ?@ ?+ ?- ?* ?/ ?< ?> ?= ?\\))
      (modify-syntax-entry sign "." table))
    (modify-syntax-entry ?_ "w" table)
    table))

;;;###autoload
(define-derived-mode quillo-mode prog-mode "Quillo"
  "Programs, modules and masks of quillo."
  (setq-local comment-start "! "
              comment-start-skip "[!#]+ *"
              comment-end ""
              font-lock-multiline t
              font-lock-defaults '(quillo-font-lock-keywords t))
  (when (and buffer-file-name (not (file-exists-p "Makefile")))
    (setq-local compile-command
                (concat (if (string-suffix-p ".msk" buffer-file-name)
                            "quillo -w " "quillo ")
                        (shell-quote-argument
                         (file-name-nondirectory buffer-file-name))))))

;;;###autoload
(add-to-list 'auto-mode-alist '("\\.\\(mac\\|msk\\)\\'" . quillo-mode))

;; "0:plate.mac Line:12 Code:0 ! syntax error"
(add-to-list 'compilation-error-regexp-alist-alist
             '(quillo "^-?[0-9]+:\\(.+\\) Line:\\([0-9]+\\) Code:[0-9]+ ! " 1 2))
(add-to-list 'compilation-error-regexp-alist 'quillo)

(provide 'quillo-mode)
;;; quillo-mode.el ends here
