// The hash table over byte strings, of which it keeps copies: the core of zu_shash, and the map
// from strings to objects.
#pragma once

#include "containers/hash_core.h"

namespace kiv::containers {

struct TextKeys {
  using Record = zu_shash;
  using Node = zu_shash_node;
  using Count = std::int32_t;
  // A negative length hashes as an empty string and matches nothing.
  struct Key {
    const char* bytes;
    std::int32_t length;
  };

  static Count bucket_index(const Key& key, Count count) {
    return static_cast<Count>(magnitude_of(hash(key)) % static_cast<std::uint32_t>(count));
  }

  static bool matches(const Node* node, const Key& key) {
    return node->key_length == key.length &&
           same_bytes(node->key, key.bytes, static_cast<std::size_t>(key.length));
  }

  // On the heap, node and copy are one block: half the allocations, and a look-up that finds the
  // string beside its node. In a pool they are two, as small as its blocks are meant to be.
  static Node* make_node(void* pool, const Key& key) {
    const auto length = static_cast<std::uint32_t>(key.length);  // huge when negative
    if (length > INT32_MAX - sizeof(Node) - 1) return nullptr;
    const auto copy_size = length + 1;
    auto* node = static_cast<Node*>(take_storage(pool, sizeof(Node) + (pool ? 0 : copy_size)));
    if (!node) return nullptr;
    char* copy = pool ? static_cast<char*>(take_storage(pool, copy_size))
                      : reinterpret_cast<char*>(node + 1);
    if (!copy) {
      give_back_storage(pool, node);
      return nullptr;
    }
    std::memcpy(copy, key.bytes, length);
    copy[length] = '\0';
    node->key = copy;
    node->key_length = key.length;
    return node;
  }

  static void free_node(void* pool, Node* node) {
    if (pool) give_back_storage(pool, node->key);
    give_back_storage(pool, node);
  }

 private:
  static constexpr std::uint32_t signed_byte(char byte) {
    return static_cast<std::uint32_t>(static_cast<signed char>(byte));
  }

  // h = h * 31 + byte for each byte, four bytes a step: the terms of one step do not wait for each
  // other as the plain chain of multiplications would.
  // deliberate: bytes above 0x7F count as negative; it decides which bucket such text lands in.
  static std::uint32_t hash(const Key& key) {
    constexpr std::uint32_t k1 = 31, k2 = k1 * 31, k3 = k2 * 31, k4 = k3 * 31;
    const char* at = key.bytes;
    std::int32_t left = key.length;
    std::uint32_t hash = 0;
    for (; left >= 4; left -= 4, at += 4) {
      hash = hash * k4 + signed_byte(at[0]) * k3 + signed_byte(at[1]) * k2 +
             signed_byte(at[2]) * k1 + signed_byte(at[3]);
    }
    for (; left > 0; --left) hash = hash * k1 + signed_byte(*at++);
    return hash;
  }

  static std::uint64_t word_at(const char* bytes) {
    std::uint64_t word;
    std::memcpy(&word, bytes, sizeof(word));
    return word;
  }

  // Keys of common length compare as two words that may overlap, without a call.
  static bool same_bytes(const char* a, const char* b, std::size_t length) {
    if (length < 8 || length > 16) return std::memcmp(a, b, length) == 0;
    const std::size_t last = length - 8;
    return word_at(a) == word_at(b) && word_at(a + last) == word_at(b + last);
  }
};

template <typename Value>
using TextMap = HashMap<TextKeys, Value>;

}  // namespace kiv::containers
