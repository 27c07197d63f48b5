#include "tests/containers/support.h"

using namespace kiv::test;

namespace {

// Collects the values of a subtree in order and returns its height; `before` and `after` are the
// neighbours that its outer threads lead to.
int checked_height(const zu_xtree_node* node, const zu_xtree_node* before,
                   const zu_xtree_node* after, Numbers& values) {
  const int left = node->left_child ? checked_height(node->left, before, node, values) : 0;
  EXPECT_TRUE(node->left_child || node->left == before);
  values.push_back(number_of(node->value));
  const int right = node->right_child ? checked_height(node->right, node, after, values) : 0;
  EXPECT_TRUE(node->right_child || node->right == after);
  EXPECT_TRUE(node->balance == right - left && std::abs(right - left) <= 1);
  return 1 + std::max(left, right);
}

void expect_sound(zu_xtree* tree, const Numbers& expected) {
  Numbers values, visited;
  const int height = tree->root ? checked_height(tree->root, nullptr, nullptr, values) : 0;
  EXPECT_EQ(values, expected);
  EXPECT_EQ(zu_itree_foreach(tree, collect, &visited), 0);
  EXPECT_EQ(visited, expected);
  EXPECT_EQ(zu_xtree_height(tree), height);
  EXPECT_EQ(zu_xtree_nnodes(tree), static_cast<int>(expected.size()));
}

int KIV_CALL compare_numbers(const void* node_key, const void* probe, void* sign) {
  return number_of(sign) * (number_of(probe) - number_of(node_key));
}

// A number of three digits behind zeros, which are many in all keys and more in the negative ones.
const char* padded(int k) {
  static std::string text;
  text = std::string(k < 0 ? 20 : 14, '0') + std::to_string(500 + k);
  return text.c_str();
}

// Two families under one set of names.
#define KIV_TREE_ADAPTER(name, family, to_key)        \
  struct name {                                       \
    static auto key(int k) { return to_key; }         \
    static constexpr auto make = family##_mallocx;    \
    static constexpr auto insert = family##_insert;   \
    static constexpr auto update = family##_update;   \
    static constexpr auto find = family##_find;       \
    static constexpr auto removex = family##_deletex; \
    static constexpr auto freex = family##_freex;     \
  }
KIV_TREE_ADAPTER(ITree, zu_itree, k);
KIV_TREE_ADAPTER(STree, zu_stree, padded(k));

template <typename T>
struct Tree : testing::Test {};
using Trees = testing::Types<ITree, STree>;
TYPED_TEST_SUITE(Tree, Trees);

TYPED_TEST(Tree, RandomChangesMatchAMapWithAndWithoutAPool) {
  using T = TypeParam;
  for (bool pooled : {false, true}) {
    OddPool pool(40000);
    zu_xtree* tree = T::make(pooled ? pool.handle : nullptr);
    ASSERT_EQ(zu_mem_is_valid(pool.handle, tree), pooled);
    Dice dice;
    std::map<int, int> twin;
    Numbers values;
    for (int step = 1; step <= 3000 && !this->HasFailure(); ++step) {
      const int key = dice.below(200) - 100, known = static_cast<int>(twin.count(key));
      const bool growing = step / 500 % 2 == 0;
      if (dice.below(3) == 0) {
        EXPECT_EQ(T::update(tree, T::key(key), value_of(step)), known);
        if (known) twin[key] = step;
      } else if (growing) {
        EXPECT_EQ(T::insert(tree, T::key(key), value_of(step)), 1);
        twin[key] = step;
      } else {
        Numbers released;
        EXPECT_EQ(T::removex(tree, T::key(key), collect, &released), known);
        EXPECT_EQ(released, known ? Numbers{twin[key]} : Numbers{});
        twin.erase(key);
      }
      values.clear();
      for (const auto& [stored, value] : twin) values.push_back(value);
      expect_sound(tree, values);
      void* value = nullptr;
      ASSERT_EQ(T::find(tree, T::key(key), &value), static_cast<int>(twin.count(key)));
      ASSERT_TRUE(!value || number_of(value) == twin[key]);
    }
    for (int key = 100; pooled && T::insert(tree, T::key(key), nullptr); ++key) continue;
    Numbers released;
    T::freex(tree, collect, &released);
    EXPECT_TRUE(pooled || released == values);
    EXPECT_EQ(pool.used_blocks(), 0u);
  }
}

TEST(ITree, KeysCompareByTheirWrappedDifference) {
  zu_itree* tree = zu_itree_malloc();
  for (int key : {INT32_MIN + 1, INT32_MAX, INT32_MIN}) zu_itree_insert(tree, key, value_of(key));
  const Numbers order{INT32_MAX, INT32_MIN, INT32_MIN + 1};
  expect_sound(tree, order);
  EXPECT_EQ(zu_xtree_find(tree, value_of(INT32_MIN)), value_of(INT32_MIN));
  zu_itree_free(tree);
}

TEST(ITree, ManyKeysAreFoundByThousands) {
  zu_itree* tree = zu_itree_malloc();
  for (int i = 0; i < 5000; ++i) zu_itree_insert(tree, i * 7919 % 10007 * 2, value_of(i));
  for (int i = 0; i < 5000; ++i) {
    void* value = nullptr;
    ASSERT_EQ(zu_itree_find(tree, i * 7919 % 10007 * 2, &value), 1);
    ASSERT_EQ(number_of(value), i);
    ASSERT_EQ(zu_itree_find(tree, i * 4 - 1, &value), 0);
  }
  zu_itree_free(tree);
}

TEST(STree, KeysAreCopiedStrings) {
  zu_stree* tree = zu_stree_malloc();
  EXPECT_EQ(zu_stree_insert(tree, "beta", value_of(1)), 1);
  EXPECT_EQ(zu_stree_insertx(tree, "betamax", 4, value_of(2)), 1);
  EXPECT_EQ(zu_stree_insertx(tree, "beta\0x", 6, value_of(3)), 1);  // equal up to the zero byte
  EXPECT_EQ(zu_stree_insert(tree, "\xC4", value_of(4)), 1);
  EXPECT_EQ(zu_stree_insert(tree, "alpha", value_of(5)), 1);
  expect_sound(tree, {5, 3, 4});  // bytes above 0x7F sort last
  void* key = nullptr;
  EXPECT_EQ(zu_xtree_findx(tree, "beta", &key, nullptr), 1);
  EXPECT_EQ(zu_stree_update(tree, static_cast<char*>(key), value_of(7)), 1);
  EXPECT_EQ(zu_stree_update(tree, "gamma", value_of(6)), 0);
  expect_sound(tree, {5, 7, 4});
  zu_stree_free(tree);
}

TEST(XTree, DestroyCallbacksSeeWhatLeaves) {
  const auto by_tens = [](const void* node_key, const void* probe, void*) {
    return number_of(probe) / 10 - number_of(node_key) / 10;
  };
  Numbers keys, values;
  zu_xtree* tree = zu_xtree_new_full(nullptr, by_tens, nullptr, collect, &keys, collect, &values);
  for (int key : {10, 20, 30, 40, 25}) {  // 25 equals 20, which stays
    EXPECT_EQ(zu_xtree_insert(tree, value_of(key), value_of(key + 1)), 1);
  }
  EXPECT_EQ(zu_xtree_replace(tree, value_of(27), value_of(28)), 1);
  EXPECT_EQ(zu_xtree_delete(tree, value_of(20)), 1);
  EXPECT_EQ(zu_xtree_delete(tree, value_of(20)), 0);
  EXPECT_EQ(zu_xtree_steal(tree, value_of(30)), 1);
  zu_xtree_destroy(tree);
  EXPECT_EQ(keys, (Numbers{25, 20, 27, 10, 40}));
  EXPECT_EQ(values, (Numbers{21, 26, 28, 11, 41}));
}

struct Walk {
  std::map<int, int> results;
  Numbers seen;
  static int KIV_CALL visit(void* key, void*, void* user) {
    auto* walk = static_cast<Walk*>(user);
    walk->seen.push_back(number_of(key));
    return walk->results[number_of(key)];
  }
};

TEST(XTree, WalksStopByTheirOwnRules) {
  constexpr int kForeach = -1;
  const struct {
    int order;
    std::map<int, int> results;
    int result;
    Numbers seen;
  } cases[] = {{kForeach, {{2, 2}, {3, -1}, {7, 5}}, 5, {1, 2, 3, 4, 5, 6, 7}},
               {kForeach, {{3, 1}}, 1, {1, 2, 3}},
               {ZU_TRAVERSE_IN_ORDER, {{2, -3}}, -3, {1, 2}},
               {ZU_TRAVERSE_PRE_ORDER, {}, 0, {4, 2, 1, 3, 6, 5, 7}},
               {ZU_TRAVERSE_PRE_ORDER, {{3, -1}}, -1, {4, 2, 1, 3}},
               {ZU_TRAVERSE_POST_ORDER, {{1, -9}, {4, -5}}, -5, {1, 3, 2, 5, 7, 6, 4}},
               {ZU_TRAVERSE_POST_ORDER, {{5, 2}}, 2, {1, 3, 2, 5}},
               {ZU_TRAVERSE_LEVEL_ORDER + 1, {}, 0, {}}};
  zu_xtree* tree = zu_xtree_new_with_data(compare_numbers, value_of(1));
  for (int key = 1; key <= 7; ++key) zu_xtree_insert(tree, value_of(key), value_of(key * 10));
  for (const auto& c : cases) {
    Walk walk{c.results, {}};
    EXPECT_EQ(c.result, c.order == kForeach ? zu_xtree_foreach(tree, Walk::visit, &walk)
                                            : zu_xtree_traverse(tree, Walk::visit, c.order, &walk));
    EXPECT_EQ(walk.seen, c.seen);
  }
  constexpr auto level = ZU_TRAVERSE_LEVEL_ORDER;
  EXPECT_EQ(printed_by([&] { zu_xtree_traverse(tree, Walk::visit, level, nullptr); }),
            "zu_xtree_traverse(): traverse type ZU_TRAVERSE_LEVEL_ORDER isn't implemented.");
  zu_xtree_destroy(tree);
}

}  // namespace
