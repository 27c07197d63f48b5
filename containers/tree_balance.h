// The shape of the threaded AVL tree: links, steps between neighbours, and the two changes that
// keep it balanced. Nothing here compares keys.
#pragma once

#include <cstdint>

#include "kiv_base/containers.h"

namespace kiv::containers {

using TreeNode = zu_xtree_node;

enum Side : bool { kLeft, kRight };

// The way from the root to a place in the tree: each node passed, and the side taken there.
struct Path {
  // A tree of 2^31 nodes, the most that the count can tell, has at most 44 levels.
  static constexpr int kMaxHeight = 44;

  void push(TreeNode* node, Side side) {
    nodes[depth] = node;
    sides[depth++] = side;
  }

  TreeNode* nodes[kMaxHeight];
  Side sides[kMaxHeight];
  int depth = 0;
};

// Hangs a new leaf at the free place that the path leads to.
void attach(zu_xtree* tree, const Path& path, TreeNode* leaf);

// Takes the entry of `node`, to which the path leads, out of the tree. Returns the node that left
// the tree and holds the entry now, which is another one when `node` had two children.
TreeNode* detach(zu_xtree* tree, Path& path, TreeNode* node);

inline TreeNode* leftmost(TreeNode* node) {
  while (node && node->left_child) node = node->left;
  return node;
}

inline TreeNode* successor(const TreeNode* node) {
  return node->right_child ? leftmost(node->right) : node->right;
}

}  // namespace kiv::containers
