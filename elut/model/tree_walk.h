// Walking a tree without recursion: one walker for every pass.
//
// An expression of a million operators nests a million deep, so the walker
// keeps the nodes on the way down in a vector of its own. A walker can be used
// again, which saves the vector's growth.
#pragma once

#include "elut/model/node.h"

class McTreeWalker {
 public:
  // Calls enter(node) for the node `root` and everything below it, parents
  // first and lists in order, and leave(node) behind the children of each. The
  // calls return false to stop the walk, which then returns false. The siblings
  // of `root` are not visited. Throws bad_alloc.
  template <class Enter, class Leave>
  bool walk(const McNodePool& nodes, McNodeRef root, Enter enter, Leave leave) {
    path_.clear();
    for (McNodeRef node = root;;) {
      if (!enter(nodes[node])) return false;
      if (nodes[node].child != 0) {
        path_.push_back(node);
        node = nodes[node].child;
        continue;
      }
      for (;;) {
        if (!leave(nodes[node])) return false;
        if (path_.empty()) return true;
        if (nodes[node].sibling != 0) break;
        node = path_.back();
        path_.pop_back();
      }
      node = nodes[node].sibling;
    }
  }

 private:
  UtVector<McNodeRef> path_;  // from the root to the parent of the node
};
