// Hash tables and trees beside std::unordered_map, std::map and uthash: every key inserted, found
// and deleted once, in random order. Tables have as many buckets as keys; the peers reserve.
// What the integer rows of 100000 keys show is memory: on 64-bit builds a node with its link back
// takes 48 bytes of heap, the peer's 32; with a value that evens it out the peer is behind.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "kiv_base/containers.h"

#ifdef KIV_HAVE_UTHASH
#include <uthash.h>
#endif

namespace {

template <typename Key>
Key key_of(int number) {
  if constexpr (std::is_same_v<Key, std::string>) {
    return "element-" + std::to_string(number);
  } else if constexpr (sizeof(Key) == 8) {
    return Key{number} * 0x10001;  // beyond 32 bits
  } else {
    return Key{number};
  }
}

struct IHash {
  using Key = std::int32_t;
  explicit IHash(int count) : table(zu_ihash_malloc(count)) {}
  ~IHash() { zu_ihash_free(table); }
  void insert(Key key, void* value) { zu_ihash_insert(table, key, value); }
  void* find(Key key) {
    void* value = nullptr;
    zu_ihash_find(table, key, &value);
    return value;
  }
  void erase(Key key) { zu_ihash_delete(table, key); }
  zu_ihash* table;
};

struct I64Hash {
  using Key = std::int64_t;
  explicit I64Hash(int count) : table(zu_i64hash_malloc(count)) {}
  ~I64Hash() { zu_i64hash_free(table); }
  void insert(Key key, void* value) { zu_i64hash_insert(table, key, value); }
  void* find(Key key) {
    void* value = nullptr;
    zu_i64hash_find(table, key, &value);
    return value;
  }
  void erase(Key key) { zu_i64hash_delete(table, key); }
  zu_i64hash* table;
};

struct SHash {
  using Key = std::string;
  explicit SHash(int count) : table(zu_shash_malloc(count)) {}
  ~SHash() { zu_shash_free(table); }
  void insert(const Key& key, void* value) { zu_shash_insert(table, key.c_str(), value); }
  void* find(const Key& key) {
    void* value = nullptr;
    zu_shash_find(table, key.c_str(), &value);
    return value;
  }
  void erase(const Key& key) { zu_shash_delete(table, key.c_str()); }
  zu_shash* table;
};

struct ITree {
  using Key = std::int32_t;
  explicit ITree(int) : tree(zu_itree_malloc()) {}
  ~ITree() { zu_itree_free(tree); }
  void insert(Key key, void* value) { zu_itree_insert(tree, key, value); }
  void* find(Key key) {
    void* value = nullptr;
    zu_itree_find(tree, key, &value);
    return value;
  }
  void erase(Key key) { zu_itree_delete(tree, key); }
  zu_itree* tree;
};

struct STree {
  using Key = std::string;
  explicit STree(int) : tree(zu_stree_malloc()) {}
  ~STree() { zu_stree_free(tree); }
  void insert(const Key& key, void* value) { zu_stree_insert(tree, key.c_str(), value); }
  void* find(const Key& key) {
    void* value = nullptr;
    zu_stree_find(tree, key.c_str(), &value);
    return value;
  }
  void erase(const Key& key) { zu_stree_delete(tree, key.c_str()); }
  zu_stree* tree;
};

template <typename Map>
struct Std {
  using Key = typename Map::key_type;
  explicit Std(int count) {
    if constexpr (requires { map.reserve(1); }) map.reserve(static_cast<std::size_t>(count));
  }
  void insert(const Key& key, void* value) { map.emplace(key, value); }
  void* find(const Key& key) {
    const auto at = map.find(key);
    return at == map.end() ? nullptr : at->second;
  }
  void erase(const Key& key) { map.erase(key); }
  Map map;
};

#ifdef KIV_HAVE_UTHASH
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#pragma GCC diagnostic ignored "-Wpedantic"
template <typename KeyType>
struct UtHash {
  using Key = KeyType;
  struct Entry {
    Key key;
    void* value;
    UT_hash_handle hh;
  };
  explicit UtHash(int) {}
  ~UtHash() {
    Entry *entry, *next;
    HASH_ITER(hh, head, entry, next) {
      HASH_DEL(head, entry);
      std::free(entry);
    }
  }
  void insert(Key key, void* value) {
    auto* entry = static_cast<Entry*>(std::malloc(sizeof(Entry)));
    entry->key = key;
    entry->value = value;
    HASH_ADD(hh, head, key, sizeof(Key), entry);
  }
  Entry* lookup(Key key) {
    Entry* entry;
    HASH_FIND(hh, head, &key, sizeof(Key), entry);
    return entry;
  }
  void* find(Key key) {
    Entry* entry = lookup(key);
    return entry ? entry->value : nullptr;
  }
  void erase(Key key) {
    if (Entry* entry = lookup(key)) {
      HASH_DEL(head, entry);
      std::free(entry);
    }
  }
  Entry* head = nullptr;
};
#pragma GCC diagnostic pop
#endif

enum class Phase { insert, find, erase };

template <typename Map>
void run(benchmark::State& state, Phase timed) {
  const int count = static_cast<int>(state.range(0));
  std::vector<typename Map::Key> keys;
  for (int i = 0; i < count; ++i) keys.push_back(key_of<typename Map::Key>(i));
  std::mt19937 dice(1);
  const auto each_key = [&](Phase phase, auto step) {
    std::shuffle(keys.begin(), keys.end(), dice);
    if (phase == timed) state.ResumeTiming();
    for (const auto& key : keys) step(key);
    if (phase == timed) state.PauseTiming();
  };
  for (auto _ : state) {
    state.PauseTiming();
    {
      Map map(count);
      each_key(Phase::insert, [&](const auto& key) { map.insert(key, &state); });
      each_key(Phase::find, [&](const auto& key) { benchmark::DoNotOptimize(map.find(key)); });
      each_key(Phase::erase, [&](const auto& key) { map.erase(key); });
    }
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * count);
}

template <typename Map>
void add(const std::string& name) {
  const std::pair<const char*, Phase> phases[] = {
      {"insert", Phase::insert}, {"find", Phase::find}, {"delete", Phase::erase}};
  for (const auto& [verb, phase] : phases) {
    benchmark::RegisterBenchmark((name + "/" + verb).c_str(), run<Map>, phase)
        ->Arg(1000)
        ->Arg(100000);
  }
}

const bool added = [] {
  add<IHash>("zu_ihash");
  add<Std<std::unordered_map<std::int32_t, void*>>>("unordered_map<int32>");
  add<I64Hash>("zu_i64hash");
  add<Std<std::unordered_map<std::int64_t, void*>>>("unordered_map<int64>");
#ifdef KIV_HAVE_UTHASH
  add<UtHash<std::int32_t>>("uthash<int32>");
  add<UtHash<std::int64_t>>("uthash<int64>");
#endif
  add<SHash>("zu_shash");
  add<Std<std::unordered_map<std::string, void*>>>("unordered_map<string>");
  add<ITree>("zu_itree");
  add<Std<std::map<std::int32_t, void*>>>("map<int32>");
  add<STree>("zu_stree");
  add<Std<std::map<std::string, void*>>>("map<string>");
  return true;
}();

}  // namespace
