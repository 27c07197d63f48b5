// The ordered map over a threaded AVL tree, for any kind of key.
//
// A Probe is the key looked for with the comparison that goes with it: probe(stored_key) is
// negative when the probe sorts before the stored key, 0 when equal, positive when after. Each
// descent from the root gets a probe of its own, which may remember what it has passed.
#pragma once

#include "containers/storage.h"
#include "containers/tree_balance.h"
#include "kiv_base/containers.h"

namespace kiv::containers {

// Compares through a callback, as any tree can.
struct CallbackProbe {
  zu_key_compare_fn compare;
  void* data;
  const void* key;

  CallbackProbe(const zu_xtree* tree, const void* probe)
      : compare(tree->key_compare), data(tree->key_compare_data), key(probe) {}
  CallbackProbe(zu_key_compare_fn search, void* user) : compare(search), data(user), key(nullptr) {}

  int operator()(const void* stored_key) const { return compare(stored_key, key, data); }
};

template <typename Probe>
TreeNode* lookup(const zu_xtree* tree, Probe probe) {
  TreeNode* node = tree->root;
  while (node) {
    const int order = probe(node->key);
    if (order == 0) return node;
    if (!(order < 0 ? node->left_child : node->right_child)) return nullptr;
    node = order < 0 ? node->left : node->right;
  }
  return nullptr;
}

// As lookup, and the path to the node or to the place where it belongs.
template <typename Probe>
TreeNode* descend(const zu_xtree* tree, Probe probe, Path& path) {
  TreeNode* node = tree->root;
  while (node) {
    const int order = probe(node->key);
    if (order == 0) return node;
    path.push(node, order < 0 ? kLeft : kRight);
    if (!(order < 0 ? node->left_child : node->right_child)) return nullptr;
    node = order < 0 ? node->left : node->right;
  }
  return nullptr;
}

enum class OnEqual { keep_key, replace_key };

inline void destroy_key(const zu_xtree* tree, void* key) {
  if (tree->key_destroy) tree->key_destroy(key, tree->key_destroy_data);
}

inline void destroy_value(const zu_xtree* tree, void* value) {
  if (tree->value_destroy) tree->value_destroy(value, tree->value_destroy_data);
}

// Stores over an existing entry.
// deliberate: keeping the stored key destroys the new one; insertion always takes the key over.
inline void overwrite(zu_xtree* tree, TreeNode* node, void* key, void* value, OnEqual on_equal) {
  void* old_value = node->value;
  void* unused_key = key;
  node->value = value;
  if (on_equal == OnEqual::replace_key) {
    unused_key = node->key;
    node->key = key;
  }
  destroy_value(tree, old_value);
  destroy_key(tree, unused_key);
}

template <typename Probe>
int store(zu_xtree* tree, Probe probe, void* key, void* value, OnEqual on_equal) {
  Path path;
  if (TreeNode* node = descend(tree, probe, path)) {
    overwrite(tree, node, key, value, on_equal);
    return 1;
  }
  TreeNode* leaf = tree->nnodes < INT32_MAX ? take_record<TreeNode>(tree->pool) : nullptr;
  if (!leaf) return 0;
  leaf->key = key;
  leaf->value = value;
  attach(tree, path, leaf);
  ++tree->nnodes;
  return 1;
}

enum class Destroy { no, yes };

template <typename Probe>
int remove(zu_xtree* tree, Probe probe, Destroy destroy) {
  Path path;
  TreeNode* node = descend(tree, probe, path);
  if (!node) return 0;
  node = detach(tree, path, node);
  if (destroy == Destroy::yes) {
    destroy_key(tree, node->key);
    destroy_value(tree, node->value);
  }
  give_back(tree->pool, node);
  --tree->nnodes;
  return 1;
}

// Finds the value, lets `release` see it and then removes the entry by a search of its own:
// `release` may have changed the tree.
template <typename Probe>
int release_and_remove(zu_xtree* tree, Probe probe, zu_release_fn release, void* user) {
  if (release) {
    const TreeNode* node = lookup(tree, probe);
    if (!node) return 0;
    release(node->value, user);
  }
  return remove(tree, probe, Destroy::yes);
}

inline int found(const TreeNode* node, void** value) {
  if (!node) return 0;
  if (value) *value = node->value;
  return 1;
}

// Calls visit(node) in key order until it is true; tells whether it was.
template <typename Visit>
bool walk_until(const zu_xtree* tree, Visit visit) {
  if (!tree) return false;
  for (TreeNode* node = leftmost(tree->root); node; node = successor(node)) {
    if (visit(node)) return true;
  }
  return false;
}

inline int visit_values(const zu_xtree* tree, zu_visit_fn visit, void* user) {
  walk_until(visit ? tree : nullptr, [&](const TreeNode* node) {
    visit(node->value, user);
    return false;
  });
  return 0;
}

inline int test_values(const zu_xtree* tree, zu_test_fn test, void* user) {
  int result = 0;
  walk_until(tree, [&](const TreeNode* node) {
    result = test ? test(node->value, user) : 1;
    return result == 1;
  });
  return result;
}

}  // namespace kiv::containers
