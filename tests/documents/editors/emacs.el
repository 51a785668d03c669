;; What quillo-mode makes of the files that a list names, as lines like those of
;; quillo_tokens, with the names of the faces.
;;
;;   emacs ... -l quillo-mode.el -l emacs.el LIST OUTPUT
(let ((list (pop command-line-args-left))
      (output (pop command-line-args-left))
      (coding-system-for-read 'binary)
      (coding-system-for-write 'binary)
      (out (generate-new-buffer "out"))
      files)
  (with-temp-buffer
    (insert-file-contents list)
    (setq files (split-string (buffer-string) "\n" t)))
  (dolist (file files)
    (with-current-buffer out (insert "= " file "\n"))
    (with-temp-buffer
      (insert-file-contents-literally file)
      (quillo-mode)
      (font-lock-ensure)
      (let ((at (point-min)))
        (while (< at (point-max))
          (let ((end (next-single-property-change at 'face nil (point-max)))
                (face (get-text-property at 'face)))
            (when face
              (let ((line (format "%d %d %s\n" (1- at) (1- end)
                                  (replace-regexp-in-string
                                   "\\`font-lock-\\|-face\\'" ""
                                   (format "%s" face)))))
                (with-current-buffer out (insert line))))
            (setq at end))))))
  (with-current-buffer out (write-region nil nil output nil 'silent)))
