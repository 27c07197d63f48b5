#include "tests/containers/support.h"

using namespace kiv::test;

namespace {

// The three tables under one set of names. The last arguments name the functions over a chain and
// give the key 9 as these take it.
#define KIV_HASH_ADAPTER(name, family, to_key, find_x, delete_x, each_x, ...)       \
  struct name {                                                                     \
    static auto key(int k) { return to_key; }                                       \
    static constexpr auto make = family##_malloc;                                   \
    static constexpr auto make_over = family##_mallocx;                             \
    static constexpr auto freex = family##_freex;                                   \
    static constexpr auto visit = family##_foreach;                                 \
    static constexpr auto rewind = family##_rewind;                                 \
    static constexpr auto size = family##_nnodes;                                   \
    static constexpr auto first = family##_GetFirst;                                \
    static constexpr auto next = family##_GetNext;                                  \
    static constexpr auto insert = family##_insert;                                 \
    static constexpr auto update = family##_update;                                 \
    static constexpr auto find = family##_find;                                     \
    static constexpr auto remove = family##_delete;                                 \
    using Table = family;                                                           \
    static int find_in_chain(Table* t, zu_test_fn test, void* user, void** value) { \
      return family##find_x(t, __VA_ARGS__, test, user, value);                     \
    }                                                                               \
    static void remove_from_chain(Table* t, void* value) {                          \
      family##delete_x(t, __VA_ARGS__, value);                                      \
    }                                                                               \
    static void visit_chain(Table* t, zu_visit_fn visit_one, void* user) {          \
      family##each_x(t, __VA_ARGS__, visit_one, user);                              \
    }                                                                               \
  }
// The smallest number has no positive counterpart.
KIV_HASH_ADAPTER(IHash, zu_ihash, k == 0 ? INT32_MIN : k, _findx, _deletex, _foreachx, 9);
KIV_HASH_ADAPTER(I64Hash, zu_i64hash, k == 0 ? INT64_MIN : (int64_t{k} << 31) + k, _findx, _deletex,
                 _foreachx, 9);
KIV_HASH_ADAPTER(SHash, zu_shash, digits(k), _findxx, _deletexx, _foreach_line, "9?", 1);

// The number found, or -1.
int found(int result, void* const& value) {
  return result ? number_of(value) : -1;
}

template <typename T>
struct Hash : testing::Test {
  // Random changes to a table and to a twin with the values of each key, the newest last.
  static void expect_a_map(typename T::Table* table) {
    Dice dice;
    std::map<int, Numbers> twin;
    for (int step = 1; step <= 2000; ++step) {
      const int key = dice.below(60) - 30, change = dice.below(4);
      Numbers& values = twin[key];
      if (change < 2) {
        ASSERT_EQ(T::insert(table, T::key(key), value_of(step)), 1);
        values.push_back(step);
      } else if (change == 2) {
        T::remove(table, T::key(key));
        if (!values.empty()) values.pop_back();
      } else {
        T::update(table, T::key(key), value_of(step));
        if (!values.empty()) values.back() = step;
      }
      void* value = nullptr;
      const int result = T::find(table, T::key(key), &value);
      ASSERT_EQ(found(result, value), values.empty() ? -1 : values.back());
    }
    Numbers expected, visited;
    for (const auto& [key, all] : twin) expected.insert(expected.end(), all.begin(), all.end());
    T::visit(table, collect, &visited);
    EXPECT_EQ(T::size(table), static_cast<int>(expected.size()));
    EXPECT_TRUE(std::is_permutation(visited.begin(), visited.end(), expected.begin()));
    void* value = nullptr;
    auto key = T::key(1);
    for (size_t i = 0; i < visited.size(); ++i) {
      EXPECT_TRUE(i == 0 ? T::first(table, &key, &value) : T::next(table, &key, &value));
      EXPECT_EQ(number_of(value), visited[i]);
      EXPECT_TRUE(T::find(table, key, nullptr));
    }
    EXPECT_FALSE(T::next(table, nullptr, nullptr));
    EXPECT_TRUE(T::next(T::rewind(table), nullptr, nullptr));
  }
};

using Tables = testing::Types<IHash, I64Hash, SHash>;
TYPED_TEST_SUITE(Hash, Tables);

TYPED_TEST(Hash, RandomChangesMatchAMapWithAndWithoutAPool) {
  void* buckets[7];
  for (int count : {1, 64, -7}) {  // -7: seven buckets and a pool
    OddPool pool(200000);
    std::fill_n(buckets, 7, value_of(1));
    auto* table =
        count > 0 ? TypeParam::make(count) : TypeParam::make_over(buckets, 7, pool.handle);
    EXPECT_EQ(zu_mem_is_valid(pool.handle, table), count < 0);
    this->expect_a_map(table);
    while (count < 0 && TypeParam::insert(table, TypeParam::key(1), nullptr)) continue;
    const auto size = static_cast<size_t>(TypeParam::size(table));
    Numbers released;
    TypeParam::freex(table, collect, &released);
    EXPECT_EQ(released.size(), size);
    EXPECT_EQ(pool.used_blocks(), 0u);
    EXPECT_EQ(std::count(buckets, buckets + 7, nullptr), count < 0 ? 7 : 0);
  }
}

int KIV_CALL same_value(void* value, void* wanted) {
  return value == wanted ? 1 : 2;
}

TYPED_TEST(Hash, ChainsAreSearchedFromTheNewestEntryWhateverTheKey) {
  auto* table = TypeParam::make(2);
  for (int value : {15, 13, 25, 16}) {  // odd and even digits have a chain each
    TypeParam::insert(table, TypeParam::key(value % 10), value_of(value));
  }
  void* value = nullptr;
  Numbers seen;
  TypeParam::visit_chain(table, collect, &seen);
  EXPECT_EQ(seen, (Numbers{25, 13, 15}));
  EXPECT_EQ(found(TypeParam::find_in_chain(table, nullptr, nullptr, &value), value), 25);
  EXPECT_EQ(found(TypeParam::find_in_chain(table, same_value, value_of(13), &value), value), 13);
  EXPECT_EQ(TypeParam::find_in_chain(table, same_value, value_of(16), &value), 0);
  const auto drop = [](void* own, void* from) {  // a visitor may delete its own entry
    TypeParam::remove_from_chain(static_cast<typename TypeParam::Table*>(from), own);
  };
  TypeParam::visit(table, drop, table);
  EXPECT_EQ(TypeParam::size(table), 1);  // 16, which is in the other chain
  EXPECT_EQ(TypeParam::find_in_chain(table, nullptr, nullptr, &value), 0);
  TypeParam::freex(table, nullptr, nullptr);
}

TEST(SHash, SignedBytesDecideTheBucket) {
  const std::pair<std::string, uint32_t> cases[] = {
      {"\xC4", 60},
      {"\xC4\xE3", 60 * 31 + 29},
      {"abcdefgh", 1259673732},
      {"\xFFz\x80q\xC0", 2591412},
      {{"\2\15\0\11\36\14\2", 7}, 1u << 31}};  // a hash without a positive counterpart
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
  EXPECT_EQ(zu_shash_nnodes(table), 3);
  zu_shash_free(table);
}

}  // namespace
