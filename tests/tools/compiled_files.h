// Compiled files for tests: three that have every field, and random ones.
#pragma once

#include <string>
#include <vector>

#include "tests/compile.h"
#include "tests/tools/smith_sources.h"
#include "tools/compiled/walk.h"

inline constexpr const char* FULL_SOURCES[][2] = {
    {"full.mac", R"(PROGRAM p;
IMPORT a, b FROM l MODULE m;
IMPORT c;
IMPORT CSUB d FROM FILE "d.so";
SUB s (INTEGER n; REAL v(*))
  COMMON k STRING t; END COMMON
  INTEGER local;
  t = "t" + STR(local);
  SUBEXIT;
SUBEND
INTEGER i[1:10], list(0:4), free(*);
REAL r[0:2.5];
POINT q, path(1:2);
COMMON k STRING t; END COMMON
COMMON empty INTEGER none; END COMMON
i += 2;
LET list(1) = -i;
q.X = path(2).Y;
CALL s(i, r);
CALL far(list(*));
PRINT 2.5, $u, $u, @("a" + "b"), FNx, CFNy(1);
CFNy;
IF i == 1 AND r > 0.5 THEN PRINT; ELSE BREAK; CONTINUE; END IF
WHILE (i) DO RETURN 1; END WHILE
SELECT i; CASE 1, 3 TO 5, > 9; i = ABS(i); CASE ELSE EXIT 1; END SELECT
ALLOCATE free(2:3), free(4);
FREE free;
)"},
    {"full.mod.mac",
     "MODULE m; SUB s REAL x; x = $u; SUBEND\n"
     "SUB s2 CALL s; SUBEND\n"},
    {"full.msk", R"(APPLICATION a {
  x = 10; t = "a"; e = "";
  ON KEY PF1 OR ENTER DO go WITH "b";
  MODULE { INTEGER n; SUB s PRINT 1; SUBEND }
  WINDOW w {
    ON BUTTON PRESS OR SHOW EXECUTE { STRING s; PRINT s, 1.5, %u; }
    TABLE { MENU "m" { ITEM i { z = 1; } } }
    BUTTON { ; }
  }
}
APPLICATION b { ; }
)"},
};

struct CompiledCase {
  std::string name;
  std::string bytes;
};

// What a source is compiled into, in both transports; nothing when it does not
// compile.
inline void AddCompiled(Compile* compile, const std::string& name,
                        std::vector<CompiledCase>* cases) {
  const bool masks = name.ends_with(".msk");
  if (compile->compile(name) != RC_OK) return;
  for (const int transport : {XD_TRANSPORT_XDR, XD_TRANSPORT_PLAIN})
    cases->push_back(
        {name + (transport == XD_TRANSPORT_XDR ? " xdr" : " plain"),
         masks ? Written(&compile->masks, transport)
               : Written(&compile->program, transport)});
}

inline std::vector<CompiledCase> FullCases() {
  std::vector<CompiledCase> cases;
  for (const auto& [name, text] : FULL_SOURCES) {
    for (const int16_t trace : {int16_t{0}, int16_t{1}}) {
      Compile compile;
      compile.files.texts[name] = text;
      compile.front.parse.trace_level = trace;
      AddCompiled(&compile, name, &cases);
    }
  }
  return cases;
}

// The files of that many random sources, `damaged` ones as far as they compile.
inline std::vector<CompiledCase> RandomCases(uint64_t count, bool damaged) {
  std::vector<CompiledCase> cases;
  for (uint64_t seed = 1; seed <= count; seed++) {
    RandomSource source(seed, damaged);
    Compile compile(nullptr, &source.files);
    compile.front.parse.trace_level = seed % 4 == 0 ? 1 : 0;
    AddCompiled(&compile, source.name, &cases);
  }
  return cases;
}

// Whether the compiler's own reader takes a file.
inline bool ReaderTakes(std::string_view bytes) {
  if (bytes.size() > 2 && bytes[2] == XD_KIND_MASK) {
    McRun run;
    EditorList list(&run.attribute_names);
    return MaskListReadFromBytes(bytes, &list) == RC_OK;
  }
  UtPtr<McProgram> program;
  return McXdrReadFromBytes(bytes, &program) == RC_OK;
}
