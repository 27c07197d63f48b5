// The chained hash table, written once for the three kinds of key.
//
// A Keys type names the Table, Node, Count and Key types of its family and gives
//   bucket_index(key, count)   the chain of a key
//   matches(node, key)         whether a node holds this very key
//   make_node(pool, key)       a node that holds the key, NULL without memory
//   free_node(pool, node)      the opposite
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "containers/storage.h"
#include "kiv_base/containers.h"

namespace kiv::containers {

// A bucket of the array that the caller may have taken from a pool, too.
struct [[gnu::packed, gnu::may_alias]] Bucket {
  void* head;
};

template <typename Keys>
struct HashCore {
  using Table = typename Keys::Table;
  using Node = typename Keys::Node;
  using Count = typename Keys::Count;
  using Key = typename Keys::Key;

  static Table* make(void** buckets, Count count, void* pool) {
    if (!buckets || count < 1 || !fits(count, PTRDIFF_MAX)) return nullptr;
    Table* table = take_record<Table>(pool);
    if (!table) return nullptr;
    std::memset(table, 0, sizeof(Table));
    table->buckets = buckets;
    table->bucket_count = count;
    table->pool = pool;
    std::memset(static_cast<void*>(buckets), 0, static_cast<std::size_t>(count) * sizeof(Bucket));
    return table;
  }

  static Table* make_with_buckets(Count count) {
    if (count < 1 || !fits(count, INT32_MAX)) return nullptr;
    void* buckets = _zu_malloc(static_cast<std::int32_t>(count) * int{sizeof(Bucket)});
    Table* table = make(static_cast<void**>(buckets), count, nullptr);
    if (table) {
      table->owns_buckets = 1;
    } else {
      _zu_free(buckets);
    }
    return table;
  }

  static void free(Table* table, zu_release_fn release, void* user) {
    if (!table) return;
    void* pool = table->pool;
    for (Count i = 0; i < table->bucket_count; ++i) {
      for (Node* node = first(bucket(table, i)); node;) {
        Node* next = node->next;
        if (release) release(node->value, user);
        Keys::free_node(pool, node);
        node = next;
      }
      bucket(table, i)->head = nullptr;
    }
    if (table->owns_buckets == 1) _zu_free(table->buckets);
    give_back(pool, table);
  }

  // deliberate: looks for no entry of the key; the newest one hides the older ones until it goes.
  static int insert(Table* table, const Key& key, void* value) {
    if (!table) return 0;
    Node* node = Keys::make_node(table->pool, key);
    if (!node) return 0;
    Bucket* chain = chain_of(table, key);
    Node* head = first(chain);
    node->prev = nullptr;
    node->next = head;
    node->value = value;
    if (head) head->prev = node;
    chain->head = node;
    ++table->node_count;
    return 1;
  }

  static void update(Table* table, const Key& key, void* value) {
    if (!table) return;
    if (Node* node = lookup(chain_of(table, key), key)) node->value = value;
  }

  static int find(const Table* table, const Key& key, void** value) {
    if (!table) return 0;
    return found(lookup(chain_of(table, key), key), value);
  }

  static void remove(Table* table, const Key& key) {
    if (!table) return;
    Bucket* chain = chain_of(table, key);
    unlink(table, chain, lookup(chain, key));
  }

  // deliberate: the three functions below look at the whole chain, other keys included;
  // applications tell their entries apart by the value.
  static int find_by(const Table* table, const Key& key, zu_test_fn test, void* user,
                     void** value) {
    if (!table) return 0;
    Node* node = first(chain_of(table, key));
    while (node && test && test(node->value, user) != 1) node = node->next;
    return found(node, value);
  }

  static void remove_value(Table* table, const Key& key, const void* value) {
    if (!table) return;
    Bucket* chain = chain_of(table, key);
    Node* node = first(chain);
    while (node && node->value != value) node = node->next;
    unlink(table, chain, node);
  }

  static void visit_chain(const Table* table, const Key& key, zu_visit_fn visit, void* user) {
    if (table && visit) visit_nodes(chain_of(table, key), visit, user);
  }

  static void visit_all(const Table* table, zu_visit_fn visit, void* user) {
    if (!table || !visit) return;
    for (Count i = 0; i < table->bucket_count; ++i) visit_nodes(bucket(table, i), visit, user);
  }

  static Table* rewind(Table* table) {
    if (table) table->iter_bucket = table->iter_pos = 0;
    return table;
  }

  // The entry after the cursor, which moves on; NULL at the end. The cursor counts the nodes of a
  // chain rather than pointing at one, so it survives the deletion of any entry.
  static Node* next(Table* table) {
    if (!table) return nullptr;
    for (; table->iter_bucket < table->bucket_count; ++table->iter_bucket, table->iter_pos = 0) {
      Node* node = first(bucket(table, table->iter_bucket));
      for (Count i = 0; node && i < table->iter_pos; ++i) node = node->next;
      if (!node) continue;
      ++table->iter_pos;
      return node;
    }
    return nullptr;
  }

 private:
  static bool fits(Count count, std::ptrdiff_t limit) {
    return static_cast<std::uint64_t>(count) <= static_cast<std::uint64_t>(limit) / sizeof(Bucket);
  }

  static Bucket* bucket(const Table* table, Count index) {
    return reinterpret_cast<Bucket*>(table->buckets) + static_cast<std::size_t>(index);
  }

  static Bucket* chain_of(const Table* table, const Key& key) {
    return bucket(table, Keys::bucket_index(key, table->bucket_count));
  }

  static Node* first(const Bucket* chain) { return static_cast<Node*>(chain->head); }

  static Node* lookup(const Bucket* chain, const Key& key) {
    Node* node = first(chain);
    while (node && !Keys::matches(node, key)) node = node->next;
    return node;
  }

  static int found(const Node* node, void** value) {
    if (!node) return 0;
    if (value) *value = node->value;
    return 1;
  }

  static void unlink(Table* table, Bucket* chain, Node* node) {
    if (!node) return;
    if (node->prev) {
      node->prev->next = node->next;
    } else {
      chain->head = node->next;
    }
    if (node->next) node->next->prev = node->prev;
    --table->node_count;
    Keys::free_node(table->pool, node);
  }

  static void visit_nodes(const Bucket* chain, zu_visit_fn visit, void* user) {
    for (Node* node = first(chain); node;) {
      Node* next = node->next;  // the callback may delete this entry
      visit(node->value, user);
      node = next;
    }
  }
};

// The absolute value of a key or hash, given as its unsigned bits, with no branch on its sign. The
// smallest one has no positive counterpart, but as the remainder is taken unsigned as well, it
// finds a bucket like any other.
template <typename Unsigned>
Unsigned magnitude_of(Unsigned bits) {
  const Unsigned sign = Unsigned{0} - (bits >> (sizeof(Unsigned) * 8 - 1));
  return (bits ^ sign) - sign;
}

// The keys of the two integer tables.
template <typename TableType, typename NodeType, typename KeyType, typename UnsignedKey>
struct IntegerKeys {
  using Table = TableType;
  using Node = NodeType;
  using Count = KeyType;
  using Key = KeyType;

  static Count bucket_index(Key key, Count count) {
    const UnsignedKey magnitude = magnitude_of(static_cast<UnsignedKey>(key));
    return static_cast<Count>(remainder(magnitude, static_cast<UnsignedKey>(count)));
  }

  static bool matches(const Node* node, Key key) { return node->key == key; }

  static Node* make_node(void* pool, Key key) {
    Node* node = take_record<Node>(pool);
    if (node) node->key = key;
    return node;
  }

  static void free_node(void* pool, Node* node) { give_back(pool, node); }

 private:
  // A 64-bit division costs several times a 32-bit one, and a call in 32-bit builds.
  static UnsignedKey remainder(UnsignedKey value, UnsignedKey count) {
    if (value <= UINT32_MAX && count <= UINT32_MAX) {
      return static_cast<std::uint32_t>(value) % static_cast<std::uint32_t>(count);
    }
    return value % count;
  }
};

}  // namespace kiv::containers
