#include "containers/tree_balance.h"

#include <algorithm>
#include <cstddef>

#include "base/layout.h"

namespace kiv::containers {

namespace {

KIV_LAYOUT(zu_xtree_node, 20, balance, 16);
KIV_LAYOUT(zu_xtree, 36, value_destroy_data, 32);

constexpr Side opposite(Side side) {
  return side == kLeft ? kRight : kLeft;
}

// What one more level on this side adds to the balance.
constexpr int weight(Side side) {
  return side == kLeft ? -1 : 1;
}

TreeNode* link(const TreeNode* node, Side side) {
  return side == kLeft ? node->left : node->right;
}

void set_link(TreeNode* node, Side side, TreeNode* target) {
  if (side == kLeft) {
    node->left = target;
  } else {
    node->right = target;
  }
}

bool has_child(const TreeNode* node, Side side) {
  return side == kLeft ? node->left_child : node->right_child;
}

void set_child_flag(TreeNode* node, Side side, bool is_child) {
  if (side == kLeft) {
    node->left_child = is_child;
  } else {
    node->right_child = is_child;
  }
}

void set_balance(TreeNode* node, int balance) {
  node->balance = static_cast<int8_t>(balance);
}

// Makes `top` the root of the subtree that the first `depth` steps of the path lead to.
void hang(zu_xtree* tree, const Path& path, int depth, TreeNode* top) {
  if (depth == 0) {
    tree->root = top;
  } else {
    set_link(path.nodes[depth - 1], path.sides[depth - 1], top);
  }
}

// Raises the child on side `up` above its parent and returns it. Its inner subtree changes over to
// the parent; where there is none, the parent's link to the child stays as its thread.
TreeNode* rotate(TreeNode* node, Side up) {
  const Side down = opposite(up);
  TreeNode* child = link(node, up);
  if (has_child(child, down)) {
    set_link(node, up, link(child, down));
  } else {
    set_child_flag(node, up, false);
    set_child_flag(child, down, true);
  }
  set_link(child, down, node);

  // Both balances as seen from side `up`; what holds there holds mirrored on the other side.
  const int sign = weight(up);
  const int above = sign * child->balance;
  const int lowered = sign * node->balance - 1 - std::max(above, 0);
  set_balance(node, sign * lowered);
  set_balance(child, sign * (above - 1 + std::min(lowered, 0)));
  return child;
}

// Repairs a balance of -2 or 2 and returns the new root of the subtree.
TreeNode* rebalance(TreeNode* node) {
  const Side heavy = node->balance < 0 ? kLeft : kRight;
  TreeNode* child = link(node, heavy);
  if (child->balance * weight(heavy) < 0) set_link(node, heavy, rotate(child, opposite(heavy)));
  return rotate(node, heavy);
}

bool is_lopsided(const TreeNode* node) {
  return node->balance < -1 || node->balance > 1;
}

// Unlinks a node with at most one child. That child is a leaf, so that the one thread which led
// to the node is the child's or, without a child, the link that the parent had to the node.
void unlink_twig(zu_xtree* tree, const Path& path, TreeNode* node) {
  if (node->left_child) {
    node->left->right = node->right;
    hang(tree, path, path.depth, node->left);
  } else if (node->right_child) {
    node->right->left = node->left;
    hang(tree, path, path.depth, node->right);
  } else if (path.depth == 0) {
    tree->root = nullptr;
  } else {
    const Side side = path.sides[path.depth - 1];
    TreeNode* parent = path.nodes[path.depth - 1];
    set_link(parent, side, link(node, side));
    set_child_flag(parent, side, false);
  }
}

void swap_entries(TreeNode* a, TreeNode* b) {
  void* key = a->key;
  void* value = a->value;
  a->key = b->key;
  a->value = b->value;
  b->key = key;
  b->value = value;
}

}  // namespace

void attach(zu_xtree* tree, const Path& path, TreeNode* leaf) {
  leaf->left = leaf->right = nullptr;
  leaf->balance = 0;
  leaf->left_child = leaf->right_child = leaf->padding = 0;
  if (path.depth > 0) {
    const Side side = path.sides[path.depth - 1];
    TreeNode* parent = path.nodes[path.depth - 1];
    set_link(leaf, side, link(parent, side));
    set_link(leaf, opposite(side), parent);
    set_child_flag(parent, side, true);
  }
  hang(tree, path, path.depth, leaf);

  for (int i = path.depth; i-- > 0;) {
    TreeNode* node = path.nodes[i];
    set_balance(node, node->balance + weight(path.sides[i]));
    if (node->balance == 0) return;
    if (is_lopsided(node)) {
      hang(tree, path, i, rebalance(node));
      return;
    }
  }
}

TreeNode* detach(zu_xtree* tree, Path& path, TreeNode* node) {
  if (node->left_child && node->right_child) {
    TreeNode* heir = node->right;
    path.push(node, kRight);
    for (; heir->left_child; heir = heir->left) path.push(heir, kLeft);
    swap_entries(node, heir);
    node = heir;
  }
  unlink_twig(tree, path, node);

  for (int i = path.depth; i-- > 0;) {
    TreeNode* above = path.nodes[i];
    set_balance(above, above->balance - weight(path.sides[i]));
    if (is_lopsided(above)) {
      above = rebalance(above);
      hang(tree, path, i, above);
    }
    if (above->balance != 0) break;  // as high as before
  }
  return node;
}

}  // namespace kiv::containers
