// The balanced tree over texts, of which it keeps copies.
#include <algorithm>
#include <cstring>

#include "containers/tree_core.h"

using namespace kiv::containers;

namespace {

int KIV_CALL compare(const void* stored_key, const void* probe, void*) {
  return zu_strcmp(static_cast<const char*>(probe), static_cast<const char*>(stored_key));
}

// Compares in a descent from the root. All keys between the nearest ones passed so far begin with
// the bytes that the probe shares with both, so those are not compared again. Zero bytes end a
// text, also one stored with its length.
struct TextProbe {
  explicit TextProbe(const char* text) : key(reinterpret_cast<const unsigned char*>(text)) {}

  int operator()(const void* stored_key) {
    const auto* stored = static_cast<const unsigned char*>(stored_key);
    std::size_t at = std::min(shared_below, shared_above);
    while (key[at] == stored[at] && key[at] != 0) ++at;
    const int order = key[at] - stored[at];
    (order < 0 ? shared_above : shared_below) = at;
    return order;
  }

  const unsigned char* key;
  std::size_t shared_below = 0;
  std::size_t shared_above = 0;
};

void KIV_CALL free_key(void* key, void* tree) {
  give_back(static_cast<zu_stree*>(tree)->pool, key);
}

// Hands `op` the comparison for this key: inlined, or the callback of a tree that has its own.
template <typename Op>
auto on_key(const zu_stree* tree, const char* key, Op op) {
  if (tree->key_compare == compare) return op(TextProbe{key});
  return op(CallbackProbe(tree, key));
}

TreeNode* node_of(const zu_stree* tree, const char* key) {
  if (!tree || !key) return nullptr;
  return on_key(tree, key, [&](auto probe) { return lookup(tree, probe); });
}

char* copy_of(void* pool, const void* key, std::size_t length) {
  if (length < 1 || length >= INT32_MAX) return nullptr;
  auto* copy = static_cast<char*>(take(pool, static_cast<std::uint32_t>(length) + 1));
  if (!copy) return nullptr;
  std::memcpy(copy, key, length);
  copy[length] = '\0';
  return copy;
}

int insert_copy(zu_stree* tree, const void* key, std::size_t length, void* value) {
  char* copy = copy_of(tree->pool, key, length);
  if (!copy) return 0;
  const int stored = on_key(
      tree, copy, [&](auto probe) { return store(tree, probe, copy, value, OnEqual::keep_key); });
  if (!stored) give_back(tree->pool, copy);
  return stored;
}

}  // namespace

zu_stree* KIV_CALL zu_stree_mallocx(void* pool) KIV_NOEXCEPT {
  zu_stree* tree = zu_xtree_new_full(pool, compare, nullptr, free_key, nullptr, nullptr, nullptr);
  if (tree) tree->key_destroy_data = tree;
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
  char* copy = node ? copy_of(tree->pool, key, std::strlen(key)) : nullptr;
  if (!copy) return 0;
  overwrite(tree, node, copy, value, OnEqual::replace_key);
  return 1;
}

int KIV_CALL zu_stree_find(zu_stree* tree, const char* key, void** value) KIV_NOEXCEPT {
  return found(node_of(tree, key), value);
}

int KIV_CALL zu_stree_deletex(zu_stree* tree, const char* key, zu_release_fn release,
                              void* user) KIV_NOEXCEPT {
  if (!tree || !key) return 0;
  return on_key(tree, key,
                [&](auto probe) { return release_and_remove(tree, probe, release, user); });
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
  return zu_xtree_foreach(tree, visit, user);
}

void KIV_CALL zu_stree_freex(zu_stree* tree, zu_release_fn release, void* user) KIV_NOEXCEPT {
  visit_values(tree, release, user);
  zu_xtree_destroy(tree);
}

void KIV_CALL zu_stree_free(zu_stree* tree) KIV_NOEXCEPT {
  zu_xtree_destroy(tree);
}

int32_t KIV_CALL zu_stree_height(zu_stree* tree) KIV_NOEXCEPT {
  return zu_xtree_height(tree);
}

int32_t KIV_CALL zu_stree_nnodes(zu_stree* tree) KIV_NOEXCEPT {
  return zu_xtree_nnodes(tree);
}
