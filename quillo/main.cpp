#include "quillo/driver.h"

int main(int argc, char** argv) {
  return RunDriver(argc, argv);
}
