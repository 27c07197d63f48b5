// The hash table over 32-bit integer keys.
#include "base/layout.h"
#include "containers/hash_callbacks.h"
#include "containers/int_map.h"

using namespace kiv::containers;

namespace {

using Table = HashCore<Int32Keys>;

KIV_LAYOUT(zu_ihash, 28, iter_pos, 24);
KIV_LAYOUT(zu_ihash_node, 16, value, 12);

int give(const zu_ihash_node* node, std::int32_t* key, void** value) {
  if (node && key) *key = node->key;
  return found(node, value);
}

}  // namespace

zu_ihash* KIV_CALL zu_ihash_mallocx(void** buckets, int32_t count, void* pool) KIV_NOEXCEPT {
  return Table::create(buckets, count, pool);
}

zu_ihash* KIV_CALL zu_ihash_malloc(int32_t count) KIV_NOEXCEPT {
  return Table::create(count);
}

void KIV_CALL zu_ihash_freex(zu_ihash* table, zu_release_fn release, void* user) KIV_NOEXCEPT {
  free_table(Table::of(table), release, user);
}

void KIV_CALL zu_ihash_free(zu_ihash* table) KIV_NOEXCEPT {
  free_table(Table::of(table), nullptr, nullptr);
}

int KIV_CALL zu_ihash_insert(zu_ihash* table, int32_t key, void* value) KIV_NOEXCEPT {
  return table && Table::of(table)->insert(key, value);
}

void KIV_CALL zu_ihash_update(zu_ihash* table, int32_t key, void* value) KIV_NOEXCEPT {
  zu_ihash_node* node = table ? Table::of(table)->find(key) : nullptr;
  if (node) node->value = value;
}

int KIV_CALL zu_ihash_find(zu_ihash* table, int32_t key, void** value) KIV_NOEXCEPT {
  return table ? found(Table::of(table)->find(key), value) : 0;
}

void KIV_CALL zu_ihash_delete(zu_ihash* table, int32_t key) KIV_NOEXCEPT {
  if (table) Table::of(table)->remove(key);
}

int KIV_CALL zu_ihash_findx(zu_ihash* table, int32_t key, zu_test_fn test, void* user,
                            void** value) KIV_NOEXCEPT {
  return table ? find_value(Table::of(table)->chain(key), test, user, value) : 0;
}

void KIV_CALL zu_ihash_deletex(zu_ihash* table, int32_t key, const void* value) KIV_NOEXCEPT {
  if (table) Table::of(table)->remove(key, value);
}

void KIV_CALL zu_ihash_foreach(zu_ihash* table, zu_visit_fn visit, void* user) KIV_NOEXCEPT {
  if (table && visit) visit_values(*Table::of(table), visit, user);
}

void KIV_CALL zu_ihash_foreachx(zu_ihash* table, int32_t key, zu_visit_fn visit,
                                void* user) KIV_NOEXCEPT {
  if (table && visit) visit_values(Table::of(table)->chain(key), visit, user);
}

int KIV_CALL zu_ihash_GetFirst(zu_ihash* table, int32_t* key, void** value) KIV_NOEXCEPT {
  return table ? give(Table::of(table)->rewind()->next(), key, value) : 0;
}

int KIV_CALL zu_ihash_GetNext(zu_ihash* table, int32_t* key, void** value) KIV_NOEXCEPT {
  return table ? give(Table::of(table)->next(), key, value) : 0;
}

zu_ihash* KIV_CALL zu_ihash_rewind(zu_ihash* table) KIV_NOEXCEPT {
  return table ? Table::of(table)->rewind() : nullptr;
}

int32_t KIV_CALL zu_ihash_nnodes(zu_ihash* table) KIV_NOEXCEPT {
  return table ? table->node_count : 0;
}
