// Driver: one run of the compiler.
//
// A run starts the process-wide services, reads the command line and compiles
// the sources one after the other. What one file leaves behind is put back
// before the next, so a file compiles to the same bytes wherever it stands on
// the command line; only the attribute names of masks are the run's.
#pragma once

// Identity of the program. The defaults files are found under its version and
// belong to its resource class.
struct DriverIdentity {
  const char* program_name = "quillo";
  const char* application_kind = "Program";
  const char* version = "1700";
  const char* resource_class = "default";
};

// Returns the exit status: that of the command line (options.h), 1 when a
// source cannot be opened, which ends the run, else the code of the last file.
int RunDriver(int argc, char** argv);
