#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <string>

#include "tests/containers/support.h"

using namespace kiv::test;

namespace {

using Numbers = std::vector<int>;

// The three tables under one set of names; text keys are numbers written out.
#define KIV_HASH_ADAPTER(name, family, key_type, count_type, to_key)                          \
  struct name {                                                                               \
    using Table = family;                                                                     \
    static constexpr auto make = family##_malloc;                                             \
    static constexpr auto make_over = family##_mallocx;                                       \
    static constexpr auto free = family##_free;                                               \
    static constexpr auto freex = family##_freex;                                             \
    static constexpr auto visit = family##_foreach;                                           \
    static constexpr auto rewind = family##_rewind;                                           \
    static constexpr auto size = family##_nnodes;                                             \
    using Key = key_type;                                                                     \
    using Count = count_type;                                                                 \
    static int insert(Table* t, int key, int v) {                                             \
      return family##_insert(t, to_key, value_of(v));                                         \
    }                                                                                         \
    static void update(Table* t, int key, int v) { family##_update(t, to_key, value_of(v)); } \
    static int find(Table* t, int key, void** v) { return family##_find(t, to_key, v); }      \
    static void remove(Table* t, int key) { family##_delete(t, to_key); }                     \
    static int first(Table* t, Key* k, void** v) { return family##_GetFirst(t, k, v); }       \
    static int next(Table* t, Key* k, void** v) { return family##_GetNext(t, k, v); }         \
  }
KIV_HASH_ADAPTER(IHash, zu_ihash, int32_t, int32_t, key);
KIV_HASH_ADAPTER(I64Hash, zu_i64hash, int64_t, int64_t, (int64_t{key} << 31) + key);
KIV_HASH_ADAPTER(SHash, zu_shash, const char*, int32_t, std::to_string(key).c_str());

int found(int result, const void* value) {
  return result ? number_of(value) : -1;
}

template <typename T>
int find(typename T::Table* table, int key) {
  void* value = nullptr;
  return found(T::find(table, key, &value), value);
}

// The values as the cursor gives them.
template <typename T>
Numbers iterated(typename T::Table* table) {
  Numbers values;
  typename T::Key key;
  void* value;
  for (int more = T::first(table, &key, &value); more; more = T::next(table, &key, &value)) {
    values.push_back(number_of(value));
  }
  return values;
}

}  // namespace

template <typename T>
class Hash : public testing::Test {
 protected:
  using Table = typename T::Table;
  using Twin = std::map<int, Numbers>;  // the values of each key, the newest last

  // Random changes to a table and to its twin, compared after each.
  static void change_at_random(Table* table, int steps) {
    Dice dice(3);
    Twin twin;
    int size = 0;
    for (int step = 1; step <= steps; ++step) {
      const int key = dice.below(60) - 30;
      Numbers& values = twin[key];
      switch (dice.below(4)) {
        case 0:
        case 1:
          ASSERT_EQ(T::insert(table, key, step), 1);
          values.push_back(step);
          ++size;
          break;
        case 2:
          T::remove(table, key);
          if (values.empty()) break;
          values.pop_back();
          --size;
          break;
        default:
          T::update(table, key, step);
          if (!values.empty()) values.back() = step;
      }
      ASSERT_EQ(find<T>(table, key), values.empty() ? -1 : values.back());
      ASSERT_EQ(T::size(table), size);
      if (step % 100 == 0) expect_same_entries(table, twin);
    }
    while (size > 300)
      T::remove(table, dice.below(60) - 30), size = static_cast<int>(T::size(table));
  }

  static void expect_same_entries(Table* table, const Twin& twin) {
    Numbers expected, visited, in_cursor_order = iterated<T>(table);
    for (const auto& [key, values] : twin) {
      expected.insert(expected.end(), values.begin(), values.end());
    }
    T::visit(table, collect, &visited);
    ASSERT_EQ(visited, in_cursor_order);
    std::sort(expected.begin(), expected.end());
    std::sort(visited.begin(), visited.end());
    ASSERT_EQ(visited, expected);
  }
};

using Tables = testing::Types<IHash, I64Hash, SHash>;
TYPED_TEST_SUITE(Hash, Tables);

TYPED_TEST(Hash, RandomChangesMatchAMap) {
  for (int buckets : {1, 7, 64}) {
    auto* table = TypeParam::make(buckets);
    this->change_at_random(table, 3000);
    const auto size = static_cast<std::size_t>(TypeParam::size(table));
    Numbers released;
    TypeParam::freex(table, collect, &released);
    EXPECT_EQ(released.size(), size);
  }
}

TYPED_TEST(Hash, APoolHoldsHeaderAndEntries) {
  OddPool pool(200000);
  void* buckets[5];
  std::fill(std::begin(buckets), std::end(buckets), &pool);
  auto* table = TypeParam::make_over(buckets, 5, pool.handle);
  ASSERT_EQ(zu_mem_is_valid(pool.handle, table), 1);
  this->change_at_random(table, 1500);
  TypeParam::free(table);
  EXPECT_EQ(pool.used_blocks(), 0u);
  EXPECT_EQ(std::count(std::begin(buckets), std::end(buckets), nullptr), 5);

  // A pool that is full refuses the entry and keeps no part of it.
  OddPool small(200);
  table = TypeParam::make_over(buckets, 5, small.handle);
  int stored = 0;
  while (TypeParam::insert(table, stored, stored)) ++stored;
  EXPECT_TRUE(stored > 0 && TypeParam::size(table) == stored && find<TypeParam>(table, stored) < 0);
  TypeParam::free(table);
  EXPECT_EQ(small.used_blocks(), 0u);
}

TYPED_TEST(Hash, TheNewestEntryShadowsOlderOnes) {
  auto* table = TypeParam::make(16);
  TypeParam::update(table, 7, 1);
  EXPECT_EQ(TypeParam::size(table), 0);
  for (int value : {10, 20}) TypeParam::insert(table, 7, value);
  EXPECT_EQ(iterated<TypeParam>(table), (Numbers{20, 10}));
  for (int expected : {20, 10, -1}) {
    EXPECT_EQ(find<TypeParam>(table, 7), expected);
    EXPECT_EQ(TypeParam::find(table, 7, nullptr), expected > 0);
    TypeParam::remove(table, 7);
  }
  TypeParam::free(table);
}

TYPED_TEST(Hash, TheCursorRewindsAndStopsAtTheEnd) {
  auto* table = TypeParam::make(3);
  EXPECT_EQ(TypeParam::first(table, nullptr, nullptr), 0);
  for (int i = 0; i < 5; ++i) TypeParam::insert(table, i, i);
  const Numbers all = iterated<TypeParam>(table);
  EXPECT_EQ(all.size(), 5u);
  void* value = nullptr;
  EXPECT_EQ(TypeParam::next(table, nullptr, &value), 0);
  EXPECT_EQ(TypeParam::rewind(table), table);
  EXPECT_EQ(TypeParam::next(table, nullptr, &value), 1);
  EXPECT_EQ(number_of(value), all[0]);
  TypeParam::free(table);
}

TYPED_TEST(Hash, RefusesWhatIsNoTable) {
  void* bucket;
  using Count = typename TypeParam::Count;
  for (Count count : {Count{0}, Count{-1}, std::numeric_limits<Count>::min()}) {
    EXPECT_EQ(TypeParam::make(count), nullptr);
    EXPECT_EQ(TypeParam::make_over(&bucket, count, nullptr), nullptr);
  }
  EXPECT_EQ(TypeParam::make(std::numeric_limits<Count>::max()), nullptr);
  EXPECT_EQ(TypeParam::make_over(nullptr, 1, nullptr), nullptr);
  EXPECT_EQ(TypeParam::insert(nullptr, 1, 1), 0);
  TypeParam::update(nullptr, 1, 1);
  TypeParam::remove(nullptr, 1);
  EXPECT_EQ(TypeParam::find(nullptr, 1, nullptr), 0);
  EXPECT_EQ(TypeParam::first(nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(TypeParam::next(nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(TypeParam::rewind(nullptr), nullptr);
  EXPECT_EQ(TypeParam::size(nullptr), 0);
  TypeParam::visit(nullptr, collect, nullptr);
  TypeParam::free(nullptr);
}

TEST(IHash, ChainFunctionsDoNotCompareKeys) {
  zu_ihash* table = zu_ihash_malloc(10);
  for (int key : {5, -5, 15, 6}) zu_ihash_insert(table, key, value_of(key + 100));
  void* value = nullptr;
  EXPECT_EQ(found(zu_ihash_findx(table, 5, nullptr, nullptr, &value), value), 115);
  const auto test = [](void* v, void* wanted) { return v == wanted ? 1 : 2; };
  EXPECT_EQ(found(zu_ihash_findx(table, 25, test, value_of(95), &value), value), 95);
  EXPECT_EQ(zu_ihash_findx(table, 5, test, value_of(106), &value), 0);
  EXPECT_EQ(zu_ihash_findx(table, 7, nullptr, nullptr, &value), 0);
  Numbers seen;
  zu_ihash_foreachx(table, -15, collect, &seen);
  EXPECT_EQ(seen, (Numbers{115, 95, 105}));
  zu_ihash_deletex(table, 5, value_of(106));
  zu_ihash_deletex(table, 5, value_of(95));
  EXPECT_EQ(zu_ihash_nnodes(table), 3);
  EXPECT_EQ(zu_ihash_find(table, -5, nullptr), 0);
  zu_ihash_free(table);

  zu_i64hash* wide = zu_i64hash_malloc(1);
  zu_i64hash_insert(wide, 1, value_of(11));
  zu_i64hash_insert(wide, 2, value_of(12));
  EXPECT_EQ(found(zu_i64hash_findx(wide, 9, test, value_of(11), &value), value), 11);
  zu_i64hash_deletex(wide, 9, value_of(12));
  seen.clear();
  zu_i64hash_foreachx(wide, 9, collect, &seen);
  EXPECT_EQ(seen, (Numbers{11}));
  zu_i64hash_free(wide);
}

TEST(IHash, TheSmallestKeyHasABucket) {
  for (int buckets : {1, 3, 7, 1024}) {
    zu_ihash* table = zu_ihash_malloc(buckets);
    zu_i64hash* wide = zu_i64hash_malloc(buckets);
    EXPECT_EQ(zu_ihash_insert(table, INT32_MIN, value_of(1)), 1);
    EXPECT_EQ(zu_i64hash_insert(wide, INT64_MIN, value_of(1)), 1);
    EXPECT_NE(table->buckets[2147483648U % static_cast<unsigned>(buckets)], nullptr);
    EXPECT_NE(wide->buckets[(uint64_t{1} << 63) % static_cast<unsigned>(buckets)], nullptr);
    int32_t key = 0;
    int64_t wide_key = 0;
    EXPECT_EQ(zu_ihash_GetFirst(table, &key, nullptr), 1);
    EXPECT_EQ(zu_i64hash_GetFirst(wide, &wide_key, nullptr), 1);
    EXPECT_TRUE(key == INT32_MIN && wide_key == INT64_MIN);
    zu_ihash_free(table);
    zu_i64hash_free(wide);
  }
}

TEST(IHash, AVisitorMayDeleteItsEntry) {
  zu_ihash* table = zu_ihash_malloc(2);
  for (int key = 0; key < 9; ++key) zu_ihash_insert(table, key, value_of(key));
  zu_ihash_foreach(
      table, [](void* v, void* t) { zu_ihash_delete(static_cast<zu_ihash*>(t), number_of(v)); },
      table);
  EXPECT_EQ(zu_ihash_nnodes(table), 0);
  zu_ihash_free(table);
}

// The bucket follows h = h * 31 + signed byte, wrapped, absolute.
TEST(SHash, TheTextDecidesTheBucket) {
  std::string wraps;  // the digits of 2^31 to base 31: its hash has no positive counterpart
  for (int64_t rest = int64_t{1} << 31; rest > 0; rest /= 31) {
    wraps.insert(wraps.begin(), static_cast<char>(rest % 31));
  }
  const struct {
    std::string key;
    uint32_t magnitude;
  } cases[] = {{"", 0},
               {"a", 97},
               {"ab", 97 * 31 + 98},
               {"\xC4", 60},
               {"\xC4\xE3", 60 * 31 + 29},
               {"abcdefgh", 1259673732U},
               {"\xFFz\x80q\xC0", 2591412U},
               {wraps, 2147483648U}};
  for (const auto& c : cases) {
    zu_shash* table = zu_shash_malloc(1021);
    ASSERT_EQ(zu_shash_insertx(table, c.key.data(), static_cast<int32_t>(c.key.size()), nullptr),
              1);
    EXPECT_NE(table->buckets[c.magnitude % 1021], nullptr) << c.key;
    zu_shash_free(table);
  }
}

TEST(SHash, KeysAreBytesWithALength) {
  zu_shash* table = zu_shash_malloc(1);
  void* value = nullptr;
  char text[] = "abc";
  zu_shash_insert(table, text, value_of(1));
  text[0] = 'A';
  EXPECT_EQ(zu_shash_find(table, text, &value), 0);
  EXPECT_EQ(found(zu_shash_findx(table, "abcd", 3, &value), value), 1);
  zu_shash_insertx(table, "a\0b", 3, value_of(2));
  EXPECT_EQ(zu_shash_find(table, "a", &value), 0);
  zu_shash_updatex(table, "a\0b", 3, value_of(3));
  const char* key = nullptr;
  int32_t length = 0;
  EXPECT_EQ(zu_shash_GetFirstx(table, &key, &length, &value), 1);
  EXPECT_TRUE(length == 3 && std::memcmp(key, "a\0b", 4) == 0 && value == value_of(3));
  EXPECT_EQ(zu_shash_GetNext(table, &key, nullptr), 1);
  EXPECT_STREQ(key, "abc");
  EXPECT_EQ(zu_shash_insertx(table, "", 0, value_of(4)), 1);
  EXPECT_EQ(found(zu_shash_find(table, "", &value), value), 4);

  const auto test = [](void* v, void* wanted) { return v == wanted ? 1 : 0; };
  EXPECT_EQ(found(zu_shash_findxx(table, "zzz", 3, test, value_of(1), &value), value), 1);
  zu_shash_deletexx(table, "zzz", 3, value_of(1));
  Numbers seen;
  zu_shash_foreach_line(table, "?", 1, collect, &seen);
  EXPECT_EQ(seen, (Numbers{4, 3}));
  zu_shash_deletex(table, "a\0b", 3);
  EXPECT_EQ(zu_shash_nnodes(table), 1);
  zu_shash_free(table);
}

TEST(SHash, RefusesKeysThatAreNone) {
  zu_shash* table = zu_shash_malloc(4);
  EXPECT_EQ(zu_shash_insertx(table, "a", -1, nullptr), 0);
  EXPECT_EQ(zu_shash_insertx(table, "a", INT32_MIN, nullptr), 0);
  EXPECT_EQ(zu_shash_insertx(table, nullptr, 1, nullptr), 0);
  EXPECT_EQ(zu_shash_insert(table, nullptr, nullptr), 0);
  zu_shash_insert(table, "a", nullptr);
  EXPECT_EQ(zu_shash_findx(table, "a", -1, nullptr), 0);
  EXPECT_EQ(zu_shash_find(table, nullptr, nullptr), 0);
  zu_shash_delete(table, nullptr);
  zu_shash_deletex(table, "a", -1);
  zu_shash_update(table, nullptr, nullptr);
  EXPECT_EQ(zu_shash_nnodes(table), 1);
  zu_shash_free(table);
}
