// The balanced tree over strings, of which it keeps copies.
#include "containers/text_tree.h"
#include "containers/tree_callbacks.h"

using namespace kiv::containers;

namespace {

using Keys = TextTreeKeys;

// Hands `op` the comparison for this key: inlined, or the callback of a tree that has its own.
template <typename Op>
auto on_key(const zu_stree* tree, const char* key, Op op) {
  if (tree->key_compare == Keys::compare) return op(Keys::Probe(key));
  return op(CallbackProbe(tree, key));
}

TreeNode* node_of(zu_stree* tree, const char* key) {
  if (!tree || !key) return nullptr;
  if (tree->key_compare == Keys::compare) return Keys::find(*TreeCore::of(tree), key);
  return find_by_callback(tree, key);
}

int insert_copy(zu_stree* tree, const void* key, std::size_t length, void* value) {
  char* copy = Keys::copy_of(tree->pool, key, length);
  if (!copy) return 0;
  return on_key(tree, copy, [&](auto probe) {
    return Keys::insert_copy(*TreeCore::of(tree), probe, copy, value);
  });
}

}  // namespace

zu_stree* KIV_CALL zu_stree_mallocx(void* pool) KIV_NOEXCEPT {
  auto* tree = take_record<TreeCore>(pool);
  if (tree) Keys::init(*tree, pool);
  return tree;
}

zu_stree* KIV_CALL zu_stree_malloc(void) KIV_NOEXCEPT {
  return zu_stree_mallocx(nullptr);
}

int KIV_CALL zu_stree_insertx(zu_stree* tree, const void* key, int32_t length,
                              void* value) KIV_NOEXCEPT {
  if (!tree || !key || length < 1) return 0;
  return insert_copy(tree, key, static_cast<std::size_t>(length), value);
}

int KIV_CALL zu_stree_insert(zu_stree* tree, const char* key, void* value) KIV_NOEXCEPT {
  if (!tree || !key) return 0;
  return insert_copy(tree, key, std::strlen(key), value);
}

int KIV_CALL zu_stree_update(zu_stree* tree, const char* key, void* value) KIV_NOEXCEPT {
  TreeNode* node = node_of(tree, key);
  char* copy = node ? Keys::copy_of(tree->pool, key, std::strlen(key)) : nullptr;
  if (!copy) return 0;
  TreeCore::of(tree)->overwrite(node, copy, value, OnEqual::replace_key);
  return 1;
}

int KIV_CALL zu_stree_find(zu_stree* tree, const char* key, void** value) KIV_NOEXCEPT {
  return found(node_of(tree, key), value);
}

int KIV_CALL zu_stree_deletex(zu_stree* tree, const char* key, zu_release_fn release,
                              void* user) KIV_NOEXCEPT {
  if (!tree || !key) return 0;
  return on_key(tree, key, [&](auto probe) { return remove_released(tree, probe, release, user); });
}

int KIV_CALL zu_stree_delete(zu_stree* tree, const char* key) KIV_NOEXCEPT {
  return zu_stree_deletex(tree, key, nullptr, nullptr);
}

int KIV_CALL zu_stree_foreach(zu_stree* tree, zu_visit_fn visit, void* user) KIV_NOEXCEPT {
  return visit_values(tree, visit, user);
}

int KIV_CALL zu_stree_foreach_if(zu_stree* tree, zu_test_fn test, void* user) KIV_NOEXCEPT {
  return test_values(tree, test, user);
}

int KIV_CALL zu_stree_traverse(zu_stree* tree, zu_entry_fn visit, void* user) KIV_NOEXCEPT {
  return visit_entries(tree, visit, user);
}

void KIV_CALL zu_stree_freex(zu_stree* tree, zu_release_fn release, void* user) KIV_NOEXCEPT {
  visit_values(tree, release, user);
  free_tree(tree);
}

void KIV_CALL zu_stree_free(zu_stree* tree) KIV_NOEXCEPT {
  free_tree(tree);
}

int32_t KIV_CALL zu_stree_height(zu_stree* tree) KIV_NOEXCEPT {
  return height_of(tree);
}

int32_t KIV_CALL zu_stree_nnodes(zu_stree* tree) KIV_NOEXCEPT {
  return tree ? tree->nnodes : 0;
}
