" Programs and modules, what they include, and masks.
autocmd BufNewFile,BufRead *.mac,*.msk setfiletype quillo
