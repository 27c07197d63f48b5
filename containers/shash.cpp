// The hash table over byte strings, of which it keeps copies.
#include "base/layout.h"
#include "containers/hash_callbacks.h"
#include "containers/text_map.h"

using namespace kiv::containers;

namespace {

using Table = HashCore<TextKeys>;

KIV_LAYOUT(zu_shash_node, 20, value, 16);

TextKeys::Key text(const void* key, std::int32_t length) {
  return {static_cast<const char*>(key), length};
}

// The length of a terminated key; -1 for none and for one longer than a table can hold.
std::int32_t length_of(const char* key) {
  const std::size_t length = key ? std::strlen(key) : SIZE_MAX;
  return length <= INT32_MAX ? static_cast<std::int32_t>(length) : -1;
}

int give(const zu_shash_node* node, const char** key, std::int32_t* length, void** value) {
  if (node && key) *key = node->key;
  if (node && length) *length = node->key_length;
  return found(node, value);
}

}  // namespace

zu_shash* KIV_CALL zu_shash_mallocx(void** buckets, int32_t count, void* pool) KIV_NOEXCEPT {
  return Table::create(buckets, count, pool);
}

zu_shash* KIV_CALL zu_shash_malloc(int32_t count) KIV_NOEXCEPT {
  return Table::create(count);
}

void KIV_CALL zu_shash_freex(zu_shash* table, zu_release_fn release, void* user) KIV_NOEXCEPT {
  free_table(Table::of(table), release, user);
}

void KIV_CALL zu_shash_free(zu_shash* table) KIV_NOEXCEPT {
  free_table(Table::of(table), nullptr, nullptr);
}

int KIV_CALL zu_shash_insertx(zu_shash* table, const void* key, int32_t length,
                              void* value) KIV_NOEXCEPT {
  return table && key && Table::of(table)->insert(text(key, length), value);
}

int KIV_CALL zu_shash_insert(zu_shash* table, const char* key, void* value) KIV_NOEXCEPT {
  return zu_shash_insertx(table, key, length_of(key), value);
}

void KIV_CALL zu_shash_updatex(zu_shash* table, const void* key, int32_t length,
                               void* value) KIV_NOEXCEPT {
  zu_shash_node* node = table && key ? Table::of(table)->find(text(key, length)) : nullptr;
  if (node) node->value = value;
}

void KIV_CALL zu_shash_update(zu_shash* table, const char* key, void* value) KIV_NOEXCEPT {
  zu_shash_updatex(table, key, length_of(key), value);
}

int KIV_CALL zu_shash_findx(zu_shash* table, const void* key, int32_t length,
                            void** value) KIV_NOEXCEPT {
  return table && key ? found(Table::of(table)->find(text(key, length)), value) : 0;
}

int KIV_CALL zu_shash_find(zu_shash* table, const char* key, void** value) KIV_NOEXCEPT {
  return zu_shash_findx(table, key, length_of(key), value);
}

void KIV_CALL zu_shash_deletex(zu_shash* table, const void* key, int32_t length) KIV_NOEXCEPT {
  if (table && key) Table::of(table)->remove(text(key, length));
}

void KIV_CALL zu_shash_delete(zu_shash* table, const char* key) KIV_NOEXCEPT {
  zu_shash_deletex(table, key, length_of(key));
}

int KIV_CALL zu_shash_findxx(zu_shash* table, const void* key, int32_t length, zu_test_fn test,
                             void* user, void** value) KIV_NOEXCEPT {
  if (!table || !key) return 0;
  return find_value(Table::of(table)->chain(text(key, length)), test, user, value);
}

void KIV_CALL zu_shash_deletexx(zu_shash* table, const void* key, int32_t length,
                                const void* value) KIV_NOEXCEPT {
  if (table && key) Table::of(table)->remove(text(key, length), value);
}

void KIV_CALL zu_shash_foreach(zu_shash* table, zu_visit_fn visit, void* user) KIV_NOEXCEPT {
  if (table && visit) visit_values(*Table::of(table), visit, user);
}

void KIV_CALL zu_shash_foreach_line(zu_shash* table, const void* key, int32_t length,
                                    zu_visit_fn visit, void* user) KIV_NOEXCEPT {
  if (!table || !key || !visit) return;
  visit_values(Table::of(table)->chain(text(key, length)), visit, user);
}

int KIV_CALL zu_shash_GetFirstx(zu_shash* table, const char** key, int32_t* length,
                                void** value) KIV_NOEXCEPT {
  return table ? give(Table::of(table)->rewind()->next(), key, length, value) : 0;
}

int KIV_CALL zu_shash_GetNextx(zu_shash* table, const char** key, int32_t* length,
                               void** value) KIV_NOEXCEPT {
  return table ? give(Table::of(table)->next(), key, length, value) : 0;
}

int KIV_CALL zu_shash_GetFirst(zu_shash* table, const char** key, void** value) KIV_NOEXCEPT {
  return zu_shash_GetFirstx(table, key, nullptr, value);
}

int KIV_CALL zu_shash_GetNext(zu_shash* table, const char** key, void** value) KIV_NOEXCEPT {
  return zu_shash_GetNextx(table, key, nullptr, value);
}

zu_shash* KIV_CALL zu_shash_rewind(zu_shash* table) KIV_NOEXCEPT {
  return table ? Table::of(table)->rewind() : nullptr;
}

int32_t KIV_CALL zu_shash_nnodes(zu_shash* table) KIV_NOEXCEPT {
  return table ? table->node_count : 0;
}
