// The balanced tree over keys that only its callbacks know.
#include <cstdio>

#include "containers/tree_core.h"

using namespace kiv::containers;

namespace {

int pre_order(const TreeNode* node, zu_entry_fn visit, void* user) {
  int result = visit(node->key, node->value, user);
  if (result == 0 && node->left_child) result = pre_order(node->left, visit, user);
  if (result == 0 && node->right_child) result = pre_order(node->right, visit, user);
  return result;
}

// deliberate: a negative result stops nothing, unlike in the other orders, but is given when it is
// the root's; applications count on both.
int post_order(const TreeNode* node, zu_entry_fn visit, void* user) {
  if (node->left_child) {
    const int result = post_order(node->left, visit, user);
    if (result > 0) return result;
  }
  if (node->right_child) {
    const int result = post_order(node->right, visit, user);
    if (result > 0) return result;
  }
  return visit(node->key, node->value, user);
}

int in_order(const zu_xtree* tree, zu_entry_fn visit, void* user) {
  int result = 0;
  walk_until(tree, [&](const TreeNode* node) {
    result = visit(node->key, node->value, user);
    return result != 0;
  });
  return result;
}

}  // namespace

zu_xtree* KIV_CALL zu_xtree_new_full(void* pool, zu_key_compare_fn key_compare,
                                     void* key_compare_data, zu_release_fn key_destroy,
                                     void* key_destroy_data, zu_release_fn value_destroy,
                                     void* value_destroy_data) KIV_NOEXCEPT {
  zu_xtree* tree = key_compare ? take_record<zu_xtree>(pool) : nullptr;
  if (!tree) return nullptr;
  *tree = {pool,
           nullptr,
           0,
           key_compare,
           key_compare_data,
           key_destroy,
           key_destroy_data,
           value_destroy,
           value_destroy_data};
  return tree;
}

zu_xtree* KIV_CALL zu_xtree_new(zu_key_compare_fn key_compare) KIV_NOEXCEPT {
  return zu_xtree_new_with_data(key_compare, nullptr);
}

zu_xtree* KIV_CALL zu_xtree_new_with_data(zu_key_compare_fn key_compare,
                                          void* key_compare_data) KIV_NOEXCEPT {
  return zu_xtree_new_full(nullptr, key_compare, key_compare_data, nullptr, nullptr, nullptr,
                           nullptr);
}

void KIV_CALL zu_xtree_destroy(zu_xtree* tree) KIV_NOEXCEPT {
  if (!tree) return;
  void* pool = tree->pool;
  for (TreeNode* node = leftmost(tree->root); node;) {
    TreeNode* next = successor(node);
    destroy_key(tree, node->key);
    destroy_value(tree, node->value);
    give_back(pool, node);
    node = next;
  }
  give_back(pool, tree);
}

int KIV_CALL zu_xtree_insert(zu_xtree* tree, void* key, void* value) KIV_NOEXCEPT {
  return tree ? store(tree, CallbackProbe(tree, key), key, value, OnEqual::keep_key) : 0;
}

int KIV_CALL zu_xtree_replace(zu_xtree* tree, void* key, void* value) KIV_NOEXCEPT {
  return tree ? store(tree, CallbackProbe(tree, key), key, value, OnEqual::replace_key) : 0;
}

int KIV_CALL zu_xtree_delete(zu_xtree* tree, const void* key) KIV_NOEXCEPT {
  return tree ? remove(tree, CallbackProbe(tree, key), Destroy::yes) : 0;
}

int KIV_CALL zu_xtree_steal(zu_xtree* tree, const void* key) KIV_NOEXCEPT {
  return tree ? remove(tree, CallbackProbe(tree, key), Destroy::no) : 0;
}

void* KIV_CALL zu_xtree_find(zu_xtree* tree, const void* key) KIV_NOEXCEPT {
  const TreeNode* node = tree ? lookup(tree, CallbackProbe(tree, key)) : nullptr;
  return node ? node->value : nullptr;
}

int KIV_CALL zu_xtree_findx(zu_xtree* tree, const void* key, void** stored_key,
                            void** value) KIV_NOEXCEPT {
  const TreeNode* node = tree ? lookup(tree, CallbackProbe(tree, key)) : nullptr;
  if (node && stored_key) *stored_key = node->key;
  return found(node, value);
}

void* KIV_CALL zu_xtree_search(zu_xtree* tree, zu_key_compare_fn search, void* user) KIV_NOEXCEPT {
  if (!tree || !search) return nullptr;
  const TreeNode* node = lookup(tree, CallbackProbe(search, user));
  return node ? node->value : nullptr;
}

int KIV_CALL zu_xtree_foreach(zu_xtree* tree, zu_entry_fn visit, void* user) KIV_NOEXCEPT {
  int result = 0;
  walk_until(visit ? tree : nullptr, [&](const TreeNode* node) {
    result = visit(node->key, node->value, user);
    return result == 1;
  });
  return result;
}

int KIV_CALL zu_xtree_traverse(zu_xtree* tree, zu_entry_fn visit, int32_t order,
                               void* user) KIV_NOEXCEPT {
  if (!tree || !tree->root) return 0;
  if (order == ZU_TRAVERSE_LEVEL_ORDER) {
    // deliberate: no line end; the text is as applications know it.
    std::printf("zu_xtree_traverse(): traverse type ZU_TRAVERSE_LEVEL_ORDER isn't implemented.");
    return 0;
  }
  if (!visit) return 0;
  switch (order) {
    case ZU_TRAVERSE_IN_ORDER:
      return in_order(tree, visit, user);
    case ZU_TRAVERSE_PRE_ORDER:
      return pre_order(tree->root, visit, user);
    case ZU_TRAVERSE_POST_ORDER:
      return post_order(tree->root, visit, user);
    default:
      return 0;
  }
}

int32_t KIV_CALL zu_xtree_height(zu_xtree* tree) KIV_NOEXCEPT {
  int32_t height = 0;
  for (const TreeNode* node = tree ? tree->root : nullptr; node;
       node = node->left_child ? node->left : nullptr) {
    height += 1 + (node->balance > 0 ? node->balance : 0);
  }
  return height;
}

int32_t KIV_CALL zu_xtree_nnodes(zu_xtree* tree) KIV_NOEXCEPT {
  return tree ? tree->nnodes : 0;
}
