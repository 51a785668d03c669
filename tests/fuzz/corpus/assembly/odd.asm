quillo-assembly 1
file module plain
minor_version 3
sub_version 9
reserved 1
pool {
  flags 6
  slot 2 "$u"
  free
  reuse_start 0
}
constants {
  real 0x7ff8000000000001
  string "x"
  string "x"
}
nodes 7
variables {
  required 2
  VOID DIM dims 3
}
sub {
  body {
    PRINT {
      STRING #1
      FUNC #43 #7
      OPERA #99
    }
  }
}
