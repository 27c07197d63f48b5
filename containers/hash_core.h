// The chained hash table, written once for the three kinds of key.
//
// A table is the public record of its family, so the C functions reach it with a cast. A Keys type
// names the Record, Node, Count and Key types of a family and defines
//   bucket_index(key, count)   the chain of a key
//   matches(node, key)         whether a node holds this key
//   make_node(pool, key)       allocates a node that holds the key; NULL if out of memory
//   free_node(pool, node)      the opposite
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "containers/storage.h"
#include "kiv_base/containers.h"

namespace kiv::containers {

// A bucket of the array, which the caller may have taken from a pool, too.
struct [[gnu::packed, gnu::may_alias]] Bucket {
  void* head;
};

template <typename Keys>
class HashCore : public Keys::Record {
 public:
  using Record = typename Keys::Record;
  using Node = typename Keys::Node;
  using Count = typename Keys::Count;
  using Key = typename Keys::Key;

  static HashCore* of(Record* table) { return static_cast<HashCore*>(table); }

  // Allocates a table, from `pool` unless that is NULL, over `count` buckets of the caller.
  // Returns NULL for an invalid count or if out of memory.
  static HashCore* create(void** buckets, Count count, void* pool) {
    if (!buckets || !fits(count, PTRDIFF_MAX)) return nullptr;
    auto* table = take_record<HashCore>(pool);
    if (table) table->init(buckets, count, pool);
    return table;
  }

  // The same on the heap, with buckets of its own.
  static HashCore* create(Count count) {
    auto* table = take_record<HashCore>(nullptr);
    if (table && table->init(count)) return table;
    base::deallocate(table);
    return nullptr;
  }

  void init(void** array, Count count, void* from_pool) {
    *static_cast<Record*>(this) = Record{};
    this->buckets = array;
    this->bucket_count = count;
    this->pool = from_pool;
    std::memset(static_cast<void*>(array), 0, static_cast<std::size_t>(count) * sizeof(Bucket));
  }

  bool init(Count count) {
    if (!fits(count, INT32_MAX)) return false;
    void* own = base::allocate(static_cast<std::size_t>(count) * sizeof(Bucket));
    if (!own) return false;
    init(static_cast<void**>(own), count, nullptr);
    this->owns_buckets = 1;
    return true;
  }

  // Removes all entries after release(value), and frees the buckets if they are its own. The
  // record remains.
  template <typename Release>
  void dispose(Release release) {
    for (Count i = 0; i < this->bucket_count; ++i) {
      for (Node* node = first(bucket(i)); node;) {
        Node* next = node->next;
        release(node->value);
        Keys::free_node(this->pool, node);
        node = next;
      }
      bucket(i)->head = nullptr;
    }
    if (this->owns_buckets == 1) base::deallocate(this->buckets);
  }

  // deliberate: looks for no entry of the key; the newest one hides the older ones until it goes.
  bool insert(const Key& key, void* value) {
    Node* node = Keys::make_node(this->pool, key);
    if (!node) return false;
    Bucket* chain = chain_of(key);
    Node* head = first(chain);
    node->prev = nullptr;
    node->next = head;
    node->value = value;
    if (head) head->prev = node;
    chain->head = node;
    ++this->node_count;
    return true;
  }

  // The newest entry of the key; NULL if absent.
  Node* find(const Key& key) const { return lookup(chain_of(key), key); }

  void remove(const Key& key) {
    Bucket* chain = chain_of(key);
    unlink(chain, lookup(chain, key));
  }

  // Removes the first entry of the key's chain with this value; keys are not compared.
  void remove(const Key& key, const void* value) {
    Bucket* chain = chain_of(key);
    Node* node = first(chain);
    while (node && node->value != value) node = node->next;
    unlink(chain, node);
  }

  // Walks over nodes. The current one may be removed.
  class Iterator {
   public:
    Iterator(const HashCore& table, Node* first, Count next_bucket)
        : table_(table), next_(first), next_bucket_(next_bucket) {
      ++*this;
    }
    Node& operator*() const { return *node_; }
    bool operator==(std::default_sentinel_t) const { return !node_; }
    Iterator& operator++() {
      node_ = next_;
      while (!node_ && next_bucket_ < table_.bucket_count) {
        node_ = first(table_.bucket(next_bucket_++));
      }
      next_ = node_ ? node_->next : nullptr;
      return *this;
    }

   private:
    const HashCore& table_;
    Node* node_;
    Node* next_;
    Count next_bucket_;
  };

  // Bucket by bucket, each chain from its newest entry.
  Iterator begin() const { return Iterator(*this, nullptr, 0); }
  std::default_sentinel_t end() const { return {}; }

  struct Chain {
    Iterator begin() const { return first; }
    std::default_sentinel_t end() const { return {}; }
    Iterator first;
  };

  // deliberate: the whole chain of the key, other keys included; applications tell their entries
  // apart by the value.
  Chain chain(const Key& key) const {
    return {Iterator(*this, first(chain_of(key)), this->bucket_count)};
  }

  HashCore* rewind() {
    this->iter_bucket = this->iter_pos = 0;
    return this;
  }

  // The entry after the cursor, which moves on; NULL at the end. The cursor counts the nodes of a
  // chain rather than pointing at one, so it survives the deletion of any entry.
  Node* next() {
    for (; this->iter_bucket < this->bucket_count; ++this->iter_bucket, this->iter_pos = 0) {
      Node* node = first(bucket(this->iter_bucket));
      for (Count i = 0; node && i < this->iter_pos; ++i) node = node->next;
      if (!node) continue;
      ++this->iter_pos;
      return node;
    }
    return nullptr;
  }

 private:
  static bool fits(Count count, std::ptrdiff_t limit) {
    return count > 0 &&
           static_cast<std::uint64_t>(count) <= static_cast<std::uint64_t>(limit) / sizeof(Bucket);
  }

  Bucket* bucket(Count index) const {
    return reinterpret_cast<Bucket*>(this->buckets) + static_cast<std::size_t>(index);
  }

  Bucket* chain_of(const Key& key) const {
    return bucket(Keys::bucket_index(key, this->bucket_count));
  }

  static Node* first(const Bucket* chain) { return static_cast<Node*>(chain->head); }

  static Node* lookup(const Bucket* chain, const Key& key) {
    Node* node = first(chain);
    while (node && !Keys::matches(node, key)) node = node->next;
    return node;
  }

  void unlink(Bucket* chain, Node* node) {
    if (!node) return;
    if (node->prev) {
      node->prev->next = node->next;
    } else {
      chain->head = node->next;
    }
    if (node->next) node->next->prev = node->prev;
    --this->node_count;
    Keys::free_node(this->pool, node);
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

// A map of its own storage from keys to objects of one type, which it does not own. It is empty
// and takes nothing until it is created.
template <typename Keys, typename Value>
class HashMap {
 public:
  using Core = HashCore<Keys>;
  using Key = typename Core::Key;
  using Count = typename Core::Count;

  HashMap() : core_{} {}
  ~HashMap() {
    clear([](Value&) {});
  }
  HashMap(const HashMap&) = delete;
  HashMap& operator=(const HashMap&) = delete;

  // Allocates the buckets, whose number stays. Returns false if out of memory.
  [[nodiscard]] bool create(Count buckets) { return core_.init(buckets); }

  // Uses the caller's buckets, and takes its nodes from a pool.
  void create(void** buckets, Count count, void* pool) { core_.init(buckets, count, pool); }

  // Back to the state before create(), after release(value) for each entry.
  template <typename Release>
  void clear(Release release) {
    core_.dispose([&](void* value) { release(*static_cast<Value*>(value)); });
    core_ = Core{};
  }

  explicit operator bool() const { return core_.buckets != nullptr; }
  Count size() const { return core_.node_count; }

  // An entry hides older ones of its key until it is removed.
  bool insert(const Key& key, Value* value) { return *this && core_.insert(key, value); }

  Value* find(const Key& key) const {
    const auto* node = *this ? core_.find(key) : nullptr;
    return node ? static_cast<Value*>(node->value) : nullptr;
  }

  void remove(const Key& key) {
    if (*this) core_.remove(key);
  }

  void remove(const Key& key, const Value* value) {
    if (*this) core_.remove(key, value);
  }

  // The newest value in the key's chain, where others keys may be, that passes the test.
  template <typename Test>
  Value* find_if(const Key& key, Test test) const {
    if (!*this) return nullptr;
    for (auto& node : core_.chain(key)) {
      if (test(*static_cast<Value*>(node.value))) return static_cast<Value*>(node.value);
    }
    return nullptr;
  }

  // Walks over the values. The current one may be removed.
  class Iterator {
   public:
    explicit Iterator(typename Core::Iterator at) : at_(at) {}
    Value& operator*() const { return *static_cast<Value*>((*at_).value); }
    Iterator& operator++() {
      ++at_;
      return *this;
    }
    bool operator==(std::default_sentinel_t end) const { return at_ == end; }

   private:
    typename Core::Iterator at_;
  };
  Iterator begin() const { return Iterator(core_.begin()); }
  std::default_sentinel_t end() const { return {}; }

 private:
  Core core_;
};

}  // namespace kiv::containers
