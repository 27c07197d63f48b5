// What the exported functions of the three tree families share: callbacks, and arguments and
// outputs that may be NULL.
#pragma once

#include "containers/tree_core.h"

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

// Not inlined, as it is there for trees of a family that were given a comparison of their own.
[[gnu::noinline, gnu::cold]] inline TreeNode* find_by_callback(const zu_xtree* tree,
                                                               const void* key) {
  return static_cast<const TreeCore*>(tree)->find(CallbackProbe(tree, key));
}

inline int found(const TreeNode* node, void** value) {
  if (!node) return 0;
  if (value) *value = node->value;
  return 1;
}

template <typename Probe>
int remove_released(zu_xtree* tree, Probe probe, zu_release_fn release, void* user) {
  TreeCore* core = TreeCore::of(tree);
  if (!release) return core->remove(probe, Destroy::yes);
  return core->release_and_remove(probe, [&](void* value) { release(value, user); });
}

inline int visit_values(zu_xtree* tree, zu_visit_fn visit, void* user) {
  if (!tree || !visit) return 0;
  for (TreeNode& node : *TreeCore::of(tree)) visit(node.value, user);
  return 0;
}

inline int test_values(zu_xtree* tree, zu_test_fn test, void* user) {
  int result = 0;
  if (!tree) return result;
  for (TreeNode& node : *TreeCore::of(tree)) {
    result = test ? test(node.value, user) : 1;
    if (result == 1) break;
  }
  return result;
}

inline int visit_entries(zu_xtree* tree, zu_entry_fn visit, void* user) {
  int result = 0;
  if (!tree || !visit) return result;
  for (TreeNode& node : *TreeCore::of(tree)) {
    result = visit(node.key, node.value, user);
    if (result == 1) break;
  }
  return result;
}

// Down the left side, with what the right sides have more.
inline std::int32_t height_of(const zu_xtree* tree) {
  std::int32_t height = 0;
  for (const TreeNode* node = tree ? tree->root : nullptr; node;
       node = node->left_child ? node->left : nullptr) {
    height += 1 + (node->balance > 0 ? node->balance : 0);
  }
  return height;
}

inline void free_tree(zu_xtree* tree) {
  if (!tree) return;
  TreeCore::of(tree)->dispose();
  give_back_storage(tree->pool, tree);
}

}  // namespace kiv::containers
