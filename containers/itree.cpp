// The balanced tree over 32-bit integers.
#include "containers/int_tree.h"
#include "containers/tree_callbacks.h"

using namespace kiv::containers;

namespace {

using Keys = IntTreeKeys;

// Hands `op` the comparison for this key: inlined, or the callback of a tree that has its own.
template <typename Op>
auto on_key(const zu_itree* tree, std::int32_t key, Op op) {
  if (tree->key_compare == Keys::compare) return op(Keys::Probe(key));
  return op(CallbackProbe(tree, Keys::stored(key)));
}

TreeNode* node_of(zu_itree* tree, std::int32_t key) {
  if (!tree) return nullptr;
  if (tree->key_compare == Keys::compare) return Keys::find(*TreeCore::of(tree), key);
  return find_by_callback(tree, Keys::stored(key));
}

}  // namespace

zu_itree* KIV_CALL zu_itree_mallocx(void* pool) KIV_NOEXCEPT {
  auto* tree = take_record<TreeCore>(pool);
  if (tree) Keys::init(*tree, pool);
  return tree;
}

zu_itree* KIV_CALL zu_itree_malloc(void) KIV_NOEXCEPT {
  return zu_itree_mallocx(nullptr);
}

int KIV_CALL zu_itree_insert(zu_itree* tree, int32_t key, void* value) KIV_NOEXCEPT {
  if (!tree) return 0;
  return on_key(tree, key, [&](auto probe) {
    return TreeCore::of(tree)->store(probe, Keys::stored(key), value, OnEqual::keep_key);
  });
}

int KIV_CALL zu_itree_update(zu_itree* tree, int32_t key, void* value) KIV_NOEXCEPT {
  TreeNode* node = node_of(tree, key);
  if (!node) return 0;
  TreeCore::of(tree)->overwrite(node, Keys::stored(key), value, OnEqual::replace_key);
  return 1;
}

int KIV_CALL zu_itree_find(zu_itree* tree, int32_t key, void** value) KIV_NOEXCEPT {
  return found(node_of(tree, key), value);
}

int KIV_CALL zu_itree_deletex(zu_itree* tree, int32_t key, zu_release_fn release,
                              void* user) KIV_NOEXCEPT {
  if (!tree) return 0;
  return on_key(tree, key, [&](auto probe) { return remove_released(tree, probe, release, user); });
}

int KIV_CALL zu_itree_delete(zu_itree* tree, int32_t key) KIV_NOEXCEPT {
  return zu_itree_deletex(tree, key, nullptr, nullptr);
}

int KIV_CALL zu_itree_foreach(zu_itree* tree, zu_visit_fn visit, void* user) KIV_NOEXCEPT {
  return visit_values(tree, visit, user);
}

int KIV_CALL zu_itree_foreach_if(zu_itree* tree, zu_test_fn test, void* user) KIV_NOEXCEPT {
  return test_values(tree, test, user);
}

int KIV_CALL zu_itree_traverse(zu_itree* tree, zu_entry_fn visit, void* user) KIV_NOEXCEPT {
  return visit_entries(tree, visit, user);
}

void KIV_CALL zu_itree_freex(zu_itree* tree, zu_release_fn release, void* user) KIV_NOEXCEPT {
  visit_values(tree, release, user);
  free_tree(tree);
}

void KIV_CALL zu_itree_free(zu_itree* tree) KIV_NOEXCEPT {
  free_tree(tree);
}

int32_t KIV_CALL zu_itree_height(zu_itree* tree) KIV_NOEXCEPT {
  return height_of(tree);
}

int32_t KIV_CALL zu_itree_nnodes(zu_itree* tree) KIV_NOEXCEPT {
  return tree ? tree->nnodes : 0;
}
