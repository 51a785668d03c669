quillo-assembly 1
file program plain
pool {
  slot 2 "$u"
}
name "p"
imports {
  macro "a" from "l" module "m"
  macro "b" from "l" module "m"
  macro "c"
  csub "d" file "d.so"
}
constants {
  string "t"
  real 2.5
  string "a"
  string "b"
  real 0.5
}
body {
  BLOCK {
    ASSIGN + {
      VAR local "i"
      INT 2
    }
    ASSIGN {
      VAR local "list" {
        INT 1
      }
      UNARY minus {
        VAR local "i"
      }
    }
    ASSIGN {
      VAR local "q" {
        REFER X
      }
      VAR local "path" {
        INT 2
        REFER Y
      }
    }
    CALL sub "s" {
      VAR local "i"
      VAR local "r"
    }
    CALL sub "far" {
      REFVAR local "list"
    }
    PRINT {
      REAL 2.5
      EXTERN "$u"
      EXTERN "$u"
      EXTIND "@" {
        OPERA + {
          STRING "a"
          STRING "b"
        }
      }
      CALL fn "x"
      CALL cfn "y" {
        INT 1
      }
    }
    CALL cfn "y"
    IF {
      OPERA AND {
        OPERA == {
          VAR local "i"
          INT 1
        }
        OPERA > {
          VAR local "r"
          REAL 0.5
        }
      }
      PRINT
      BLOCK {
        BREAK
        CONT
      }
    }
    WHILE {
      UNARY value {
        VAR local "i"
      }
      RETURN {
        INT 1
      }
    }
    SELECT {
      VAR local "i"
      CASE {
        ASSIGN {
          VAR local "i"
          FUNC ABS {
            VAR local "i"
          }
        }
        OPERA == {
          INT 1
        }
        OPERA TO {
          INT 3
          INT 5
        }
        OPERA > {
          INT 9
        }
      }
      EXIT {
        INT 1
      }
    }
    ALLOC {
      VAR local "free" {
        DIM {
          INT 3
          INT 2
        }
      }
      VAR local "free" {
        DIM {
          INT 4
        }
      }
    }
    FREE {
      VAR local "free"
    }
  }
}
variables {
  INTEGER "i" range 1 10
  INTEGER "list" bounds 0 4
  INTEGER "free" ALLOC dims 1
  REAL "r" range 0 2.5
  POINT "q"
  POINT "path" bounds 1 2
}
common "k" {
  STRING "t"
}
common "empty" {
  INTEGER "none"
}
sub "s" {
  locals {
    INTEGER "local"
  }
  parameters {
    INTEGER "n"
    REAL "v" REF dims 1
  }
  common "k" {
    STRING "t"
  }
  body {
    BLOCK {
      ASSIGN {
        VAR common "k" "t"
        OPERA + {
          STRING "t"
          FUNC STR {
            VAR local "local"
          }
        }
      }
      SUBEX
    }
  }
}
calls {
  sub "s"
  external sub "far"
  external fn "x"
  cfn "y"
}
