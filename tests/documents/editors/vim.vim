" What the syntax file makes of the files of $QUILLO_LIST, as lines like those of
" quillo_tokens in $QUILLO_PIECES, with the names of the syntax groups.
set nocompatible encoding=latin1 fileencodings=latin1 fileformats=unix
set nofixendofline synmaxcol=0 redrawtime=60000
execute "set runtimepath^=" . fnameescape($QUILLO_EDITORS . "/vim")
filetype plugin on
syntax on
let s:lines = []
for s:file in readfile($QUILLO_LIST)
  execute "edit!" fnameescape(s:file)
  syntax sync fromstart
  call add(s:lines, "= " . s:file)
  let s:at = 0
  for s:number in range(1, line("$"))
    let s:length = col([s:number, "$"]) - 1
    let s:begin = 0
    let s:name = ""
    for s:column in range(1, s:length + 1)
      let s:next = s:column > s:length ? "" :
            \ synIDattr(synID(s:number, s:column, 1), "name")
      if s:next !=# s:name
        if s:name !=# ""
          call add(s:lines, (s:at + s:begin) . " " .
                \ (s:at + s:column - 1) . " " . s:name)
        endif
        let s:begin = s:column - 1
        let s:name = s:next
      endif
    endfor
    let s:at += s:length + 1
  endfor
endfor
call writefile(s:lines, $QUILLO_PIECES)
qall!
