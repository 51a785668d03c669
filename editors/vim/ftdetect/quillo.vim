" Programs and modules, what they include, and masks. Vim takes .mac for an
" assembler's, so the type is set over what is there, plugin included.
autocmd BufNewFile,BufRead *.mac,*.msk unlet! b:did_ftplugin | set filetype=quillo
