// The hash table over 64-bit integer keys.
#include "containers/hash_core.h"

using namespace kiv::containers;

namespace {

using Core = HashCore<IntegerKeys<zu_i64hash, zu_i64hash_node, std::int64_t, std::uint64_t>>;

static_assert(sizeof(void*) != 4 ||
              (sizeof(zu_i64hash) == 48 && offsetof(zu_i64hash, bucket_count) == 8 &&
               offsetof(zu_i64hash, pool) == 24 && offsetof(zu_i64hash, iter_bucket) == 32));
static_assert(sizeof(void*) != 4 ||
              (sizeof(zu_i64hash_node) == 24 && offsetof(zu_i64hash_node, value) == 16));

int give(const zu_i64hash_node* node, std::int64_t* key, void** value) {
  if (!node) return 0;
  if (key) *key = node->key;
  if (value) *value = node->value;
  return 1;
}

}  // namespace

zu_i64hash* KIV_CALL zu_i64hash_mallocx(void** buckets, int64_t count, void* pool) KIV_NOEXCEPT {
  return Core::make(buckets, count, pool);
}

zu_i64hash* KIV_CALL zu_i64hash_malloc(int64_t count) KIV_NOEXCEPT {
  return Core::make_with_buckets(count);
}

void KIV_CALL zu_i64hash_freex(zu_i64hash* table, zu_release_fn release, void* user) KIV_NOEXCEPT {
  Core::free(table, release, user);
}

void KIV_CALL zu_i64hash_free(zu_i64hash* table) KIV_NOEXCEPT {
  Core::free(table, nullptr, nullptr);
}

int KIV_CALL zu_i64hash_insert(zu_i64hash* table, int64_t key, void* value) KIV_NOEXCEPT {
  return Core::insert(table, key, value);
}

void KIV_CALL zu_i64hash_update(zu_i64hash* table, int64_t key, void* value) KIV_NOEXCEPT {
  Core::update(table, key, value);
}

int KIV_CALL zu_i64hash_find(zu_i64hash* table, int64_t key, void** value) KIV_NOEXCEPT {
  return Core::find(table, key, value);
}

void KIV_CALL zu_i64hash_delete(zu_i64hash* table, int64_t key) KIV_NOEXCEPT {
  Core::remove(table, key);
}

int KIV_CALL zu_i64hash_findx(zu_i64hash* table, int64_t key, zu_test_fn test, void* user,
                              void** value) KIV_NOEXCEPT {
  return Core::find_by(table, key, test, user, value);
}

void KIV_CALL zu_i64hash_deletex(zu_i64hash* table, int64_t key, const void* value) KIV_NOEXCEPT {
  Core::remove_value(table, key, value);
}

void KIV_CALL zu_i64hash_foreach(zu_i64hash* table, zu_visit_fn visit, void* user) KIV_NOEXCEPT {
  Core::visit_all(table, visit, user);
}

void KIV_CALL zu_i64hash_foreachx(zu_i64hash* table, int64_t key, zu_visit_fn visit,
                                  void* user) KIV_NOEXCEPT {
  Core::visit_chain(table, key, visit, user);
}

int KIV_CALL zu_i64hash_GetFirst(zu_i64hash* table, int64_t* key, void** value) KIV_NOEXCEPT {
  return give(Core::next(Core::rewind(table)), key, value);
}

int KIV_CALL zu_i64hash_GetNext(zu_i64hash* table, int64_t* key, void** value) KIV_NOEXCEPT {
  return give(Core::next(table), key, value);
}

zu_i64hash* KIV_CALL zu_i64hash_rewind(zu_i64hash* table) KIV_NOEXCEPT {
  return Core::rewind(table);
}

int64_t KIV_CALL zu_i64hash_nnodes(zu_i64hash* table) KIV_NOEXCEPT {
  return table ? table->node_count : 0;
}
