// The balanced tree over 32-bit integers, which lie in the key pointers themselves.
#include "containers/tree_core.h"

using namespace kiv::containers;

namespace {

void* as_pointer(std::int32_t key) {
  return reinterpret_cast<void*>(static_cast<std::intptr_t>(key));
}

std::uint32_t low_word(const void* key) {
  return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(key));
}

// deliberate: the wrapped difference orders keys wrongly when they lie 2^31 or more apart;
// counters that wrap around stay in order through it.
int difference(const void* stored_key, std::uint32_t probe) {
  return static_cast<std::int32_t>(probe - low_word(stored_key));
}

int KIV_CALL compare(const void* stored_key, const void* probe, void*) {
  return difference(stored_key, low_word(probe));
}

struct IntegerProbe {
  std::uint32_t key;
  int operator()(const void* stored_key) const { return difference(stored_key, key); }
};

// Hands `op` the comparison for this key: inlined, or the callback of a tree that has its own.
template <typename Op>
auto on_key(const zu_itree* tree, std::int32_t key, Op op) {
  if (tree->key_compare == compare) return op(IntegerProbe{static_cast<std::uint32_t>(key)});
  return op(CallbackProbe(tree, as_pointer(key)));
}

TreeNode* node_of(const zu_itree* tree, std::int32_t key) {
  if (!tree) return nullptr;
  return on_key(tree, key, [&](auto probe) { return lookup(tree, probe); });
}

}  // namespace

zu_itree* KIV_CALL zu_itree_mallocx(void* pool) KIV_NOEXCEPT {
  return zu_xtree_new_full(pool, compare, nullptr, nullptr, nullptr, nullptr, nullptr);
}

zu_itree* KIV_CALL zu_itree_malloc(void) KIV_NOEXCEPT {
  return zu_itree_mallocx(nullptr);
}

int KIV_CALL zu_itree_insert(zu_itree* tree, int32_t key, void* value) KIV_NOEXCEPT {
  if (!tree) return 0;
  return on_key(tree, key, [&](auto probe) {
    return store(tree, probe, as_pointer(key), value, OnEqual::keep_key);
  });
}

int KIV_CALL zu_itree_update(zu_itree* tree, int32_t key, void* value) KIV_NOEXCEPT {
  TreeNode* node = node_of(tree, key);
  if (!node) return 0;
  overwrite(tree, node, as_pointer(key), value, OnEqual::replace_key);
  return 1;
}

int KIV_CALL zu_itree_find(zu_itree* tree, int32_t key, void** value) KIV_NOEXCEPT {
  return found(node_of(tree, key), value);
}

int KIV_CALL zu_itree_deletex(zu_itree* tree, int32_t key, zu_release_fn release,
                              void* user) KIV_NOEXCEPT {
  if (!tree) return 0;
  return on_key(tree, key,
                [&](auto probe) { return release_and_remove(tree, probe, release, user); });
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
  return zu_xtree_foreach(tree, visit, user);
}

void KIV_CALL zu_itree_freex(zu_itree* tree, zu_release_fn release, void* user) KIV_NOEXCEPT {
  visit_values(tree, release, user);
  zu_xtree_destroy(tree);
}

void KIV_CALL zu_itree_free(zu_itree* tree) KIV_NOEXCEPT {
  zu_xtree_destroy(tree);
}

int32_t KIV_CALL zu_itree_height(zu_itree* tree) KIV_NOEXCEPT {
  return zu_xtree_height(tree);
}

int32_t KIV_CALL zu_itree_nnodes(zu_itree* tree) KIV_NOEXCEPT {
  return zu_xtree_nnodes(tree);
}
