// The balanced tree over keys that only its callbacks know.
#include <cstdio>

#include "containers/tree_callbacks.h"

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
  for (TreeNode& node : *static_cast<const TreeCore*>(tree)) {
    result = visit(node.key, node.value, user);
    if (result != 0) break;
  }
  return result;
}

// The node of a key, NULL if absent.
TreeNode* node_of(const zu_xtree* tree, const void* key) {
  return tree ? static_cast<const TreeCore*>(tree)->find(CallbackProbe(tree, key)) : nullptr;
}

int store(zu_xtree* tree, void* key, void* value, OnEqual on_equal) {
  return tree && TreeCore::of(tree)->store(CallbackProbe(tree, key), key, value, on_equal);
}

int remove(zu_xtree* tree, const void* key, Destroy destroy) {
  return tree && TreeCore::of(tree)->remove(CallbackProbe(tree, key), destroy);
}

}  // namespace

zu_xtree* KIV_CALL zu_xtree_new_full(void* pool, zu_key_compare_fn key_compare,
                                     void* key_compare_data, zu_release_fn key_destroy,
                                     void* key_destroy_data, zu_release_fn value_destroy,
                                     void* value_destroy_data) KIV_NOEXCEPT {
  auto* tree = key_compare ? take_record<TreeCore>(pool) : nullptr;
  if (!tree) return nullptr;
  tree->init(pool, key_compare);
  tree->key_compare_data = key_compare_data;
  tree->key_destroy = key_destroy;
  tree->key_destroy_data = key_destroy_data;
  tree->value_destroy = value_destroy;
  tree->value_destroy_data = value_destroy_data;
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
  free_tree(tree);
}

int KIV_CALL zu_xtree_insert(zu_xtree* tree, void* key, void* value) KIV_NOEXCEPT {
  return store(tree, key, value, OnEqual::keep_key);
}

int KIV_CALL zu_xtree_replace(zu_xtree* tree, void* key, void* value) KIV_NOEXCEPT {
  return store(tree, key, value, OnEqual::replace_key);
}

int KIV_CALL zu_xtree_delete(zu_xtree* tree, const void* key) KIV_NOEXCEPT {
  return remove(tree, key, Destroy::yes);
}

int KIV_CALL zu_xtree_steal(zu_xtree* tree, const void* key) KIV_NOEXCEPT {
  return remove(tree, key, Destroy::no);
}

void* KIV_CALL zu_xtree_find(zu_xtree* tree, const void* key) KIV_NOEXCEPT {
  const TreeNode* node = node_of(tree, key);
  return node ? node->value : nullptr;
}

int KIV_CALL zu_xtree_findx(zu_xtree* tree, const void* key, void** stored_key,
                            void** value) KIV_NOEXCEPT {
  const TreeNode* node = node_of(tree, key);
  if (node && stored_key) *stored_key = node->key;
  return found(node, value);
}

void* KIV_CALL zu_xtree_search(zu_xtree* tree, zu_key_compare_fn search, void* user) KIV_NOEXCEPT {
  if (!tree || !search) return nullptr;
  const TreeNode* node = TreeCore::of(tree)->find(CallbackProbe(search, user));
  return node ? node->value : nullptr;
}

int KIV_CALL zu_xtree_foreach(zu_xtree* tree, zu_entry_fn visit, void* user) KIV_NOEXCEPT {
  return visit_entries(tree, visit, user);
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
  return height_of(tree);
}

int32_t KIV_CALL zu_xtree_nnodes(zu_xtree* tree) KIV_NOEXCEPT {
  return tree ? tree->nnodes : 0;
}
