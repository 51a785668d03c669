" Compiling with :make; masks are told by their extension.
"
" A report is "LEVEL:FILE Line:NUMBER Code:CODE ! TEXT"; a second line tells where
" the statement in error begins, a third one shows it. Level -1 says that the file
" had ended.
if exists("current_compiler")
  finish
endif
let current_compiler = "quillo"

if expand("%:e") ==# "msk"
  CompilerSet makeprg=quillo\ -w\ %:S
else
  CompilerSet makeprg=quillo\ %:S
endif
CompilerSet errorformat=
      \%*[-0-9]:%f\ Line:%l\ Code:%n\ !\ %m,
      \file\ '%f'\ not\ found
