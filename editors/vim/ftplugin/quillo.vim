" Comments and the compiler for quillo's sources.
if exists("b:did_ftplugin")
  finish
endif
let b:did_ftplugin = 1
setlocal comments=:!,:# commentstring=!\ %s
compiler quillo
let b:undo_ftplugin = "setlocal comments< commentstring< makeprg< errorformat<"
