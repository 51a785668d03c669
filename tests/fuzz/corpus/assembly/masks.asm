quillo-assembly 1
file masks xdr
APPLICATION "a" {
  integer "x" 10
  text "t" "a"
  text "e"
  on 0x9 289 attributes {
    text "action" "go"
    text "argument" "b"
  }
  module {
    variables {
      INTEGER "n"
    }
    sub "s" {
      body {
        PRINT
      }
    }
  }
  WINDOW "w" {
    on 0x8080 1 program {
      pool {
        slot 1 "%u"
      }
      constants {
        real 1.5
      }
      body {
        PRINT {
          VAR local "s"
          REAL 1.5
          EXTERN "%u"
        }
      }
      variables {
        STRING "s"
      }
    }
    TABLE "" {
      MENU "m" {
        ITEM "i" {
          integer "z" 1
        }
      }
    }
    BUTTON "" {
    }
  }
}
APPLICATION "b" {
}
