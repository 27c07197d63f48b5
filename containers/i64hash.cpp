// The hash table over 64-bit integer keys.
#include "base/layout.h"
#include "containers/hash_callbacks.h"
#include "containers/int_map.h"

using namespace kiv::containers;

namespace {

using Table = HashCore<Int64Keys>;

KIV_LAYOUT(zu_i64hash, 48, bucket_count, 8);
KIV_LAYOUT(zu_i64hash, 48, iter_bucket, 32);
KIV_LAYOUT(zu_i64hash_node, 24, value, 16);

int give(const zu_i64hash_node* node, std::int64_t* key, void** value) {
  if (node && key) *key = node->key;
  return found(node, value);
}

}  // namespace

zu_i64hash* KIV_CALL zu_i64hash_mallocx(void** buckets, int64_t count, void* pool) KIV_NOEXCEPT {
  return Table::create(buckets, count, pool);
}

zu_i64hash* KIV_CALL zu_i64hash_malloc(int64_t count) KIV_NOEXCEPT {
  return Table::create(count);
}

void KIV_CALL zu_i64hash_freex(zu_i64hash* table, zu_release_fn release, void* user) KIV_NOEXCEPT {
  free_table(Table::of(table), release, user);
}

void KIV_CALL zu_i64hash_free(zu_i64hash* table) KIV_NOEXCEPT {
  free_table(Table::of(table), nullptr, nullptr);
}

int KIV_CALL zu_i64hash_insert(zu_i64hash* table, int64_t key, void* value) KIV_NOEXCEPT {
  return table && Table::of(table)->insert(key, value);
}

void KIV_CALL zu_i64hash_update(zu_i64hash* table, int64_t key, void* value) KIV_NOEXCEPT {
  zu_i64hash_node* node = table ? Table::of(table)->find(key) : nullptr;
  if (node) node->value = value;
}

int KIV_CALL zu_i64hash_find(zu_i64hash* table, int64_t key, void** value) KIV_NOEXCEPT {
  return table ? found(Table::of(table)->find(key), value) : 0;
}

void KIV_CALL zu_i64hash_delete(zu_i64hash* table, int64_t key) KIV_NOEXCEPT {
  if (table) Table::of(table)->remove(key);
}

int KIV_CALL zu_i64hash_findx(zu_i64hash* table, int64_t key, zu_test_fn test, void* user,
                              void** value) KIV_NOEXCEPT {
  return table ? find_value(Table::of(table)->chain(key), test, user, value) : 0;
}

void KIV_CALL zu_i64hash_deletex(zu_i64hash* table, int64_t key, const void* value) KIV_NOEXCEPT {
  if (table) Table::of(table)->remove(key, value);
}

void KIV_CALL zu_i64hash_foreach(zu_i64hash* table, zu_visit_fn visit, void* user) KIV_NOEXCEPT {
  if (table && visit) visit_values(*Table::of(table), visit, user);
}

void KIV_CALL zu_i64hash_foreachx(zu_i64hash* table, int64_t key, zu_visit_fn visit,
                                  void* user) KIV_NOEXCEPT {
  if (table && visit) visit_values(Table::of(table)->chain(key), visit, user);
}

int KIV_CALL zu_i64hash_GetFirst(zu_i64hash* table, int64_t* key, void** value) KIV_NOEXCEPT {
  return table ? give(Table::of(table)->rewind()->next(), key, value) : 0;
}

int KIV_CALL zu_i64hash_GetNext(zu_i64hash* table, int64_t* key, void** value) KIV_NOEXCEPT {
  return table ? give(Table::of(table)->next(), key, value) : 0;
}

zu_i64hash* KIV_CALL zu_i64hash_rewind(zu_i64hash* table) KIV_NOEXCEPT {
  return table ? Table::of(table)->rewind() : nullptr;
}

int64_t KIV_CALL zu_i64hash_nnodes(zu_i64hash* table) KIV_NOEXCEPT {
  return table ? table->node_count : 0;
}
