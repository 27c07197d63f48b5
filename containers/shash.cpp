// The hash table over byte strings, of which it keeps copies.
#include "containers/hash_core.h"

using namespace kiv::containers;

namespace {

struct Text {
  const char* bytes;
  std::int32_t length;
};

constexpr std::uint32_t signed_byte(char byte) {
  return static_cast<std::uint32_t>(static_cast<signed char>(byte));
}

// h = h * 31 + byte for each byte, four bytes a step: the terms of one step do not wait for each
// other as the plain chain of multiplications would.
// deliberate: bytes above 0x7F count as negative; it decides which bucket such text lands in.
std::uint32_t text_hash(const Text& text) {
  constexpr std::uint32_t k1 = 31, k2 = k1 * 31, k3 = k2 * 31, k4 = k3 * 31;
  const char* at = text.bytes;
  std::int32_t left = text.length;
  std::uint32_t hash = 0;
  for (; left >= 4; left -= 4, at += 4) {
    hash = hash * k4 + signed_byte(at[0]) * k3 + signed_byte(at[1]) * k2 + signed_byte(at[2]) * k1 +
           signed_byte(at[3]);
  }
  for (; left > 0; --left) hash = hash * k1 + signed_byte(*at++);
  return hash;
}

std::uint64_t word_at(const char* bytes) {
  std::uint64_t word;
  std::memcpy(&word, bytes, sizeof(word));
  return word;
}

// Keys of common length compare as two words that may overlap, without a call.
bool same_bytes(const char* a, const char* b, std::size_t length) {
  if (length < 8 || length > 16) return std::memcmp(a, b, length) == 0;
  const std::size_t last = length - 8;
  return word_at(a) == word_at(b) && word_at(a + last) == word_at(b + last);
}

struct TextKeys {
  using Table = zu_shash;
  using Node = zu_shash_node;
  using Count = std::int32_t;
  using Key = Text;

  static Count bucket_index(const Text& key, Count count) {
    const std::uint32_t index = magnitude_of(text_hash(key)) % static_cast<std::uint32_t>(count);
    return static_cast<Count>(index);
  }

  static bool matches(const Node* node, const Text& key) {
    return node->key_length == key.length &&
           same_bytes(node->key, key.bytes, static_cast<std::size_t>(key.length));
  }

  // On the heap node and copy are one block: half the allocations, and a look-up that finds the
  // text beside its node. In a pool they are two, as small as its blocks are meant to be.
  static Node* make_node(void* pool, const Text& key) {
    const auto length = static_cast<std::uint32_t>(key.length);  // huge when negative
    if (length > INT32_MAX - sizeof(Node) - 1) return nullptr;
    const auto copy_size = length + 1;
    auto* node = static_cast<Node*>(take(pool, sizeof(Node) + (pool ? 0 : copy_size)));
    if (!node) return nullptr;
    char* copy =
        pool ? static_cast<char*>(take(pool, copy_size)) : reinterpret_cast<char*>(node + 1);
    if (!copy) {
      give_back(pool, node);
      return nullptr;
    }
    std::memcpy(copy, key.bytes, length);
    copy[length] = '\0';
    node->key = copy;
    node->key_length = key.length;
    return node;
  }

  static void free_node(void* pool, Node* node) {
    if (pool) give_back(pool, node->key);
    give_back(pool, node);
  }
};

using Core = HashCore<TextKeys>;

static_assert(sizeof(void*) != 4 ||
              (sizeof(zu_shash_node) == 20 && offsetof(zu_shash_node, value) == 16));

// The key as the core takes it; a negative length hashes as an empty text and matches nothing.
Text text(const void* key, std::int32_t length) {
  return {static_cast<const char*>(key), length};
}

// Without a key there is no table to work on.
zu_shash* with(zu_shash* table, const void* key) {
  return key ? table : nullptr;
}

// The length of a terminated key; -1 for none and for one longer than a table can hold.
std::int32_t length_of(const char* key) {
  const std::size_t length = key ? std::strlen(key) : SIZE_MAX;
  return length <= INT32_MAX ? static_cast<std::int32_t>(length) : -1;
}

int give(const zu_shash_node* node, const char** key, std::int32_t* length, void** value) {
  if (!node) return 0;
  if (key) *key = node->key;
  if (length) *length = node->key_length;
  if (value) *value = node->value;
  return 1;
}

}  // namespace

zu_shash* KIV_CALL zu_shash_mallocx(void** buckets, int32_t count, void* pool) KIV_NOEXCEPT {
  return Core::make(buckets, count, pool);
}

zu_shash* KIV_CALL zu_shash_malloc(int32_t count) KIV_NOEXCEPT {
  return Core::make_with_buckets(count);
}

void KIV_CALL zu_shash_freex(zu_shash* table, zu_release_fn release, void* user) KIV_NOEXCEPT {
  Core::free(table, release, user);
}

void KIV_CALL zu_shash_free(zu_shash* table) KIV_NOEXCEPT {
  Core::free(table, nullptr, nullptr);
}

int KIV_CALL zu_shash_insertx(zu_shash* table, const void* key, int32_t length,
                              void* value) KIV_NOEXCEPT {
  return Core::insert(with(table, key), text(key, length), value);
}

int KIV_CALL zu_shash_insert(zu_shash* table, const char* key, void* value) KIV_NOEXCEPT {
  return zu_shash_insertx(table, key, length_of(key), value);
}

void KIV_CALL zu_shash_updatex(zu_shash* table, const void* key, int32_t length,
                               void* value) KIV_NOEXCEPT {
  Core::update(with(table, key), text(key, length), value);
}

void KIV_CALL zu_shash_update(zu_shash* table, const char* key, void* value) KIV_NOEXCEPT {
  zu_shash_updatex(table, key, length_of(key), value);
}

int KIV_CALL zu_shash_findx(zu_shash* table, const void* key, int32_t length,
                            void** value) KIV_NOEXCEPT {
  return Core::find(with(table, key), text(key, length), value);
}

int KIV_CALL zu_shash_find(zu_shash* table, const char* key, void** value) KIV_NOEXCEPT {
  return zu_shash_findx(table, key, length_of(key), value);
}

void KIV_CALL zu_shash_deletex(zu_shash* table, const void* key, int32_t length) KIV_NOEXCEPT {
  Core::remove(with(table, key), text(key, length));
}

void KIV_CALL zu_shash_delete(zu_shash* table, const char* key) KIV_NOEXCEPT {
  zu_shash_deletex(table, key, length_of(key));
}

int KIV_CALL zu_shash_findxx(zu_shash* table, const void* key, int32_t length, zu_test_fn test,
                             void* user, void** value) KIV_NOEXCEPT {
  return Core::find_by(with(table, key), text(key, length), test, user, value);
}

void KIV_CALL zu_shash_deletexx(zu_shash* table, const void* key, int32_t length,
                                const void* value) KIV_NOEXCEPT {
  Core::remove_value(with(table, key), text(key, length), value);
}

void KIV_CALL zu_shash_foreach(zu_shash* table, zu_visit_fn visit, void* user) KIV_NOEXCEPT {
  Core::visit_all(table, visit, user);
}

void KIV_CALL zu_shash_foreach_line(zu_shash* table, const void* key, int32_t length,
                                    zu_visit_fn visit, void* user) KIV_NOEXCEPT {
  Core::visit_chain(with(table, key), text(key, length), visit, user);
}

int KIV_CALL zu_shash_GetFirstx(zu_shash* table, const char** key, int32_t* length,
                                void** value) KIV_NOEXCEPT {
  return give(Core::next(Core::rewind(table)), key, length, value);
}

int KIV_CALL zu_shash_GetNextx(zu_shash* table, const char** key, int32_t* length,
                               void** value) KIV_NOEXCEPT {
  return give(Core::next(table), key, length, value);
}

int KIV_CALL zu_shash_GetFirst(zu_shash* table, const char** key, void** value) KIV_NOEXCEPT {
  return zu_shash_GetFirstx(table, key, nullptr, value);
}

int KIV_CALL zu_shash_GetNext(zu_shash* table, const char** key, void** value) KIV_NOEXCEPT {
  return zu_shash_GetNextx(table, key, nullptr, value);
}

zu_shash* KIV_CALL zu_shash_rewind(zu_shash* table) KIV_NOEXCEPT {
  return Core::rewind(table);
}

int32_t KIV_CALL zu_shash_nnodes(zu_shash* table) KIV_NOEXCEPT {
  return table ? table->node_count : 0;
}
