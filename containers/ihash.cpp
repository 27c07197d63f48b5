// The hash table over 32-bit integer keys.
#include "containers/hash_core.h"

using namespace kiv::containers;

namespace {

using Core = HashCore<IntegerKeys<zu_ihash, zu_ihash_node, std::int32_t, std::uint32_t>>;

static_assert(sizeof(void*) != 4 || (sizeof(zu_ihash) == 28 && offsetof(zu_ihash, pool) == 16 &&
                                     offsetof(zu_ihash, iter_pos) == 24));
static_assert(sizeof(void*) != 4 ||
              (sizeof(zu_ihash_node) == 16 && offsetof(zu_ihash_node, value) == 12));

int give(const zu_ihash_node* node, std::int32_t* key, void** value) {
  if (!node) return 0;
  if (key) *key = node->key;
  if (value) *value = node->value;
  return 1;
}

}  // namespace

zu_ihash* KIV_CALL zu_ihash_mallocx(void** buckets, int32_t count, void* pool) KIV_NOEXCEPT {
  return Core::make(buckets, count, pool);
}

zu_ihash* KIV_CALL zu_ihash_malloc(int32_t count) KIV_NOEXCEPT {
  return Core::make_with_buckets(count);
}

void KIV_CALL zu_ihash_freex(zu_ihash* table, zu_release_fn release, void* user) KIV_NOEXCEPT {
  Core::free(table, release, user);
}

void KIV_CALL zu_ihash_free(zu_ihash* table) KIV_NOEXCEPT {
  Core::free(table, nullptr, nullptr);
}

int KIV_CALL zu_ihash_insert(zu_ihash* table, int32_t key, void* value) KIV_NOEXCEPT {
  return Core::insert(table, key, value);
}

void KIV_CALL zu_ihash_update(zu_ihash* table, int32_t key, void* value) KIV_NOEXCEPT {
  Core::update(table, key, value);
}

int KIV_CALL zu_ihash_find(zu_ihash* table, int32_t key, void** value) KIV_NOEXCEPT {
  return Core::find(table, key, value);
}

void KIV_CALL zu_ihash_delete(zu_ihash* table, int32_t key) KIV_NOEXCEPT {
  Core::remove(table, key);
}

int KIV_CALL zu_ihash_findx(zu_ihash* table, int32_t key, zu_test_fn test, void* user,
                            void** value) KIV_NOEXCEPT {
  return Core::find_by(table, key, test, user, value);
}

void KIV_CALL zu_ihash_deletex(zu_ihash* table, int32_t key, const void* value) KIV_NOEXCEPT {
  Core::remove_value(table, key, value);
}

void KIV_CALL zu_ihash_foreach(zu_ihash* table, zu_visit_fn visit, void* user) KIV_NOEXCEPT {
  Core::visit_all(table, visit, user);
}

void KIV_CALL zu_ihash_foreachx(zu_ihash* table, int32_t key, zu_visit_fn visit,
                                void* user) KIV_NOEXCEPT {
  Core::visit_chain(table, key, visit, user);
}

int KIV_CALL zu_ihash_GetFirst(zu_ihash* table, int32_t* key, void** value) KIV_NOEXCEPT {
  return give(Core::next(Core::rewind(table)), key, value);
}

int KIV_CALL zu_ihash_GetNext(zu_ihash* table, int32_t* key, void** value) KIV_NOEXCEPT {
  return give(Core::next(table), key, value);
}

zu_ihash* KIV_CALL zu_ihash_rewind(zu_ihash* table) KIV_NOEXCEPT {
  return Core::rewind(table);
}

int32_t KIV_CALL zu_ihash_nnodes(zu_ihash* table) KIV_NOEXCEPT {
  return table ? table->node_count : 0;
}
