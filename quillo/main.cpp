// The driver is a function of a library, so that tests can call it; this is the
// program round it.
#include "quillo/driver.h"

int main(int argc, char** argv) {
  return RunDriver(argc, argv);
}
