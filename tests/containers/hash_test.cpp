#include <limits>

#include "tests/containers/support.h"

using namespace kiv::test;

namespace {

// The three tables under one set of names; text keys are numbers written out.
#define KIV_HASH_ADAPTER(name, family, key_type, count_type, to_key)                              \
  struct name {                                                                                   \
    using Table = family;                                                                         \
    using Key = key_type;                                                                         \
    using Count = count_type;                                                                     \
    static constexpr auto make = family##_malloc;                                                 \
    static constexpr auto make_over = family##_mallocx;                                           \
    static constexpr auto freex = family##_freex;                                                 \
    static constexpr auto visit = family##_foreach;                                               \
    static constexpr auto rewind = family##_rewind;                                               \
    static constexpr auto size = family##_nnodes;                                                 \
    static constexpr auto first = family##_GetFirst;                                              \
    static constexpr auto next = family##_GetNext;                                                \
    static int insert(Table* t, int k, int v) { return family##_insert(t, to_key, value_of(v)); } \
    static void update(Table* t, int k, int v) { family##_update(t, to_key, value_of(v)); }       \
    static int find(Table* t, int k, void** v) { return family##_find(t, to_key, v); }            \
    static void remove(Table* t, int k) { family##_delete(t, to_key); }                           \
  }
KIV_HASH_ADAPTER(IHash, zu_ihash, int32_t, int32_t, k);
KIV_HASH_ADAPTER(I64Hash, zu_i64hash, int64_t, int64_t, (int64_t{k} << 31) + k);
KIV_HASH_ADAPTER(SHash, zu_shash, const char*, int32_t, std::to_string(k).c_str());

// The number found, or -1.
int found(int result, void* const& value) {
  return result ? number_of(value) : -1;
}

template <typename T>
class Hash : public testing::Test {
 protected:
  using Table = typename T::Table;

  static int find(Table* table, int key) {
    void* value = nullptr;
    return found(T::find(table, key, &value), value);
  }

  static Numbers iterated(Table* table) {
    Numbers values;
    typename T::Key key;
    void* value;
    for (int more = T::first(table, &key, &value); more; more = T::next(table, &key, &value)) {
      values.push_back(number_of(value));
    }
    return values;
  }

  // Random changes to a table and to a twin with the values of each key, the newest last.
  static void change_at_random(Table* table, int steps) {
    Dice dice;
    std::map<int, Numbers> twin;
    for (int step = 1; step <= steps; ++step) {
      const int key = dice.below(60) - 30, change = dice.below(4);
      Numbers& values = twin[key];
      if (change < 2) {
        ASSERT_EQ(T::insert(table, key, step), 1);
        values.push_back(step);
      } else if (change == 2) {
        T::remove(table, key);
        if (!values.empty()) values.pop_back();
      } else {
        T::update(table, key, step);
        if (!values.empty()) values.back() = step;
      }
      ASSERT_EQ(find(table, key), values.empty() ? -1 : values.back());
      if (step % 100 == 0) expect_entries(table, twin);
    }
  }

  static void expect_entries(Table* table, const std::map<int, Numbers>& twin) {
    Numbers expected, visited, in_cursor_order = iterated(table);
    for (const auto& [key, all] : twin) expected.insert(expected.end(), all.begin(), all.end());
    T::visit(table, collect, &visited);
    EXPECT_EQ(visited, in_cursor_order);
    EXPECT_EQ(T::size(table), static_cast<int>(expected.size()));
    EXPECT_TRUE(std::is_permutation(visited.begin(), visited.end(), expected.begin()));
  }
};

using Tables = testing::Types<IHash, I64Hash, SHash>;
TYPED_TEST_SUITE(Hash, Tables);

TYPED_TEST(Hash, RandomChangesMatchAMapWithAndWithoutAPool) {
  void* buckets[7];
  for (int count : {1, 7, 64, -7}) {  // -7: seven buckets and a pool
    OddPool pool(200000);
    std::fill_n(buckets, 7, value_of(1));
    auto* table =
        count > 0 ? TypeParam::make(count) : TypeParam::make_over(buckets, 7, pool.handle);
    EXPECT_EQ(zu_mem_is_valid(pool.handle, table), count < 0);
    this->change_at_random(table, 2000);
    const auto size = static_cast<size_t>(TypeParam::size(table));
    Numbers released;
    TypeParam::freex(table, collect, &released);
    EXPECT_EQ(released.size(), size);
    EXPECT_EQ(pool.used_blocks(), 0u);
    EXPECT_EQ(std::count(buckets, buckets + 7, nullptr), count < 0 ? 7 : 0);
  }
}

TYPED_TEST(Hash, AFullPoolRefusesAnEntryAndKeepsNoPartOfIt) {
  void* bucket;
  OddPool pool(250);
  auto* table = TypeParam::make_over(&bucket, 1, pool.handle);
  const auto before = pool.used_blocks();
  int stored = 0;
  while (TypeParam::insert(table, stored, stored)) ++stored;
  for (int key = 0; key < stored; ++key) TypeParam::remove(table, key);
  EXPECT_TRUE(stored > 0 && TypeParam::size(table) == 0 && pool.used_blocks() == before);
}

TYPED_TEST(Hash, TheNewestEntryShadowsOlderOnes) {
  auto* table = TypeParam::make(16);
  TypeParam::update(table, 7, 1);
  EXPECT_EQ(TypeParam::first(table, nullptr, nullptr), 0);
  for (int value : {10, 20}) TypeParam::insert(table, 7, value);
  EXPECT_EQ(this->iterated(table), (Numbers{20, 10}));
  void* value = nullptr;
  EXPECT_EQ(TypeParam::next(table, nullptr, &value), 0);
  EXPECT_EQ(found(TypeParam::next(TypeParam::rewind(table), nullptr, &value), value), 20);
  for (int expected : {20, 10, -1}) {
    EXPECT_EQ(this->find(table, 7), expected);
    EXPECT_EQ(TypeParam::find(table, 7, nullptr), expected > 0);
    TypeParam::remove(table, 7);
  }
  TypeParam::freex(table, nullptr, nullptr);
}

TYPED_TEST(Hash, RefusesCountsAndNull) {
  void* bucket;
  using Limits = std::numeric_limits<typename TypeParam::Count>;
  for (auto count : {Limits::min(), Limits::min() + Limits::max()}) {
    EXPECT_FALSE(TypeParam::make(count) || TypeParam::make_over(&bucket, count, nullptr));
  }
  EXPECT_FALSE(TypeParam::make(0) || TypeParam::make(Limits::max()));
  EXPECT_FALSE(TypeParam::insert(nullptr, 1, 1) || TypeParam::find(nullptr, 1, nullptr));
  EXPECT_FALSE(TypeParam::first(nullptr, nullptr, nullptr) || TypeParam::size(nullptr));
  TypeParam::freex(nullptr, collect, nullptr);
}

int KIV_CALL same_value(void* value, void* wanted) {
  return value == wanted ? 1 : 2;
}

TEST(IHash, ChainFunctionsDoNotCompareKeys) {
  zu_ihash* table = zu_ihash_malloc(10);
  for (int key : {5, -5, 15, 6}) zu_ihash_insert(table, key, value_of(key + 100));
  void* value = nullptr;
  EXPECT_EQ(found(zu_ihash_findx(table, 5, nullptr, nullptr, &value), value), 115);
  EXPECT_EQ(found(zu_ihash_findx(table, 25, same_value, value_of(95), &value), value), 95);
  EXPECT_EQ(zu_ihash_findx(table, 5, same_value, value_of(106), &value), 0);
  EXPECT_EQ(zu_ihash_findx(table, 7, nullptr, nullptr, &value), 0);
  Numbers seen;
  zu_ihash_foreachx(table, -15, collect, &seen);
  EXPECT_EQ(seen, (Numbers{115, 95, 105}));
  zu_ihash_deletex(table, 5, value_of(106));
  zu_ihash_deletex(table, 5, value_of(95));
  EXPECT_TRUE(zu_ihash_nnodes(table) == 3 && !zu_ihash_find(table, -5, nullptr));
  const auto delete_me = [](void* v, void* t) {  // a visitor may delete its own entry
    zu_ihash_delete(static_cast<zu_ihash*>(t), number_of(v) - 100);
  };
  zu_ihash_foreach(table, delete_me, table);
  EXPECT_EQ(zu_ihash_nnodes(table), 0);
  zu_ihash_free(table);

  zu_i64hash* wide = zu_i64hash_malloc(1);
  for (int key : {1, 2}) zu_i64hash_insert(wide, key, value_of(key));
  EXPECT_EQ(found(zu_i64hash_findx(wide, 9, same_value, value_of(1), &value), value), 1);
  zu_i64hash_deletex(wide, 9, value_of(2));
  zu_i64hash_foreachx(wide, 9, collect, &seen);
  EXPECT_EQ(seen, (Numbers{115, 95, 105, 1}));
  zu_i64hash_free(wide);
}

TEST(IHash, TheSmallestKeyHasABucket) {
  for (uint32_t buckets : {1u, 3u, 7u, 1024u}) {
    zu_ihash* table = zu_ihash_malloc(static_cast<int>(buckets));
    zu_i64hash* wide = zu_i64hash_malloc(buckets);
    zu_ihash_insert(table, INT32_MIN, nullptr);
    zu_i64hash_insert(wide, INT64_MIN, nullptr);
    EXPECT_TRUE(table->buckets[(1u << 31) % buckets] && wide->buckets[(1ull << 63) % buckets]);
    zu_ihash_free(table);
    zu_i64hash_free(wide);
  }
}

TEST(SHash, SignedBytesDecideTheBucket) {
  std::string wraps;  // the digits of 2^31 to base 31: its hash has no positive counterpart
  for (int64_t rest = int64_t{1} << 31; rest > 0; rest /= 31) {
    wraps.insert(wraps.begin(), static_cast<char>(rest % 31));
  }
  const std::pair<std::string, uint32_t> cases[] = {
      {"ab", 97 * 31 + 98},        {"\xC4", 60},
      {"\xC4\xE3", 60 * 31 + 29},  {"abcdefgh", 1259673732},
      {"\xFFz\x80q\xC0", 2591412}, {wraps, 1u << 31}};
  for (const auto& [key, magnitude] : cases) {
    zu_shash* table = zu_shash_malloc(1021);
    ASSERT_EQ(zu_shash_insertx(table, key.data(), static_cast<int>(key.size()), nullptr), 1);
    EXPECT_NE(table->buckets[magnitude % 1021], nullptr) << key;
    zu_shash_free(table);
  }
}

TEST(SHash, KeysAreBytesWithALength) {
  zu_shash* table = zu_shash_malloc(1);
  void* value = nullptr;
  zu_shash_insert(table, "abc", value_of(1));
  EXPECT_EQ(zu_shash_find(table, "Abc", &value), 0);
  EXPECT_EQ(found(zu_shash_findx(table, "abcd", 3, &value), value), 1);
  zu_shash_insertx(table, "a\0b", 3, value_of(2));
  EXPECT_EQ(zu_shash_find(table, "a", &value), 0);
  zu_shash_updatex(table, "a\0b", 3, value_of(3));
  const char* key = nullptr;
  int32_t length = 0;
  EXPECT_EQ(found(zu_shash_GetFirstx(table, &key, &length, &value), value), 3);
  EXPECT_EQ(std::string(key, 4), std::string("a\0b", 4));
  EXPECT_EQ(length, 3);
  EXPECT_TRUE(zu_shash_GetNextx(table, &key, nullptr, nullptr) && key == std::string("abc"));
  EXPECT_EQ(zu_shash_insertx(table, "", 0, value_of(4)), 1);
  EXPECT_EQ(found(zu_shash_find(table, "", &value), value), 4);

  EXPECT_EQ(found(zu_shash_findxx(table, "z", 1, same_value, value_of(1), &value), value), 1);
  zu_shash_deletexx(table, "z", 1, value_of(1));
  Numbers seen;
  zu_shash_foreach_line(table, "?", 1, collect, &seen);
  EXPECT_EQ(seen, (Numbers{4, 3}));

  EXPECT_FALSE(zu_shash_insertx(table, "a", -1, nullptr) || zu_shash_findx(table, "", -1, nullptr));
  EXPECT_FALSE(zu_shash_insert(table, nullptr, nullptr) || zu_shash_find(table, nullptr, nullptr));
  EXPECT_EQ(zu_shash_nnodes(table), 2);
  zu_shash_free(table);
}

}  // namespace
