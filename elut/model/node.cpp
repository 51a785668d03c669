// Distances are relative, so trees may move as long as each stays whole. Only
// the leaf at which a list begins may know of a tree around it, and lists are
// moved before anything is built over them.
#include "elut/model/node.h"

#include <algorithm>

void McNodes::rotate(McNodeRef first, McNodeRef middle) {
  if (first == middle || middle == count()) return;
  std::rotate(&nodes_[first], &nodes_[middle], &nodes_[0] + count());
}
