#include "tests/containers/support.h"

using namespace kiv::test;

namespace {

// Collects the values of a subtree in order and gives its height; `before` and `after` are the
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

int KIV_CALL compare_numbers(const void* node_key, const void* probe, void*) {
  return number_of(probe) - number_of(node_key);
}

// Two families under one set of names; text keys are numbers of three digits.
using XT = zu_xtree;
#define KIV_TREE_ADAPTER(name, family, to_key)                                                 \
  struct name {                                                                                \
    static XT* make(void* pool) { return family##_mallocx(pool); }                             \
    static int insert(XT* t, int k, int v) { return family##_insert(t, to_key, value_of(v)); } \
    static int update(XT* t, int k, int v) { return family##_update(t, to_key, value_of(v)); } \
    static int find(XT* t, int k, void** v) { return family##_find(t, to_key, v); }            \
    static int remove(XT* t, int k) { return family##_delete(t, to_key); }                     \
  }
KIV_TREE_ADAPTER(ITree, zu_itree, k);
KIV_TREE_ADAPTER(STree, zu_stree, std::to_string(500 + k).c_str());

// An integer tree that compares through its own callback.
struct XTree : ITree {
  static zu_xtree* make(void* pool) {
    return zu_xtree_new_full(pool, compare_numbers, nullptr, nullptr, nullptr, nullptr, nullptr);
  }
};

template <typename T>
class Tree : public testing::Test {
 protected:
  static void change_at_random(zu_xtree* tree) {
    Dice dice;
    std::map<int, int> twin;
    for (int step = 1; step <= 3000 && !HasFailure(); ++step) {
      const int key = dice.below(200) - 100, known = static_cast<int>(twin.count(key));
      const bool growing = step / 500 % 2 == 0;
      if (dice.below(3) == 0) {
        ASSERT_EQ(T::update(tree, key, step), known);
        if (known) twin[key] = step;
      } else if (growing) {
        ASSERT_EQ(T::insert(tree, key, step), 1);
        twin[key] = step;
      } else {
        ASSERT_EQ(T::remove(tree, key), known);
        twin.erase(key);
      }
      Numbers expected;
      for (const auto& [stored, value] : twin) {
        void* found = nullptr;
        ASSERT_TRUE(T::find(tree, stored, &found) && number_of(found) == value);
        expected.push_back(value);
      }
      ASSERT_EQ(T::find(tree, key, nullptr), static_cast<int>(twin.count(key)));
      expect_sound(tree, expected);
    }
  }
};

using Trees = testing::Types<ITree, STree, XTree>;
TYPED_TEST_SUITE(Tree, Trees);

TYPED_TEST(Tree, RandomChangesMatchAMapWithAndWithoutAPool) {
  for (bool pooled : {false, true}) {
    OddPool pool(40000);
    zu_xtree* tree = TypeParam::make(pooled ? pool.handle : nullptr);
    ASSERT_EQ(zu_mem_is_valid(pool.handle, tree), pooled);
    this->change_at_random(tree);
    zu_xtree_destroy(tree);
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

TEST(ITree, AscendingKeysStayBalanced) {
  zu_itree* tree = zu_itree_malloc();
  Numbers expected, seen, released;
  const auto test = [](void* value, void* user) {
    return collect(value, user), number_of(value) - 2;
  };
  for (int i = 1; i <= 1000; ++i) {
    zu_itree_insert(tree, i, value_of(i));
    expected.push_back(i);
  }
  expect_sound(tree, expected);
  EXPECT_LE(zu_itree_height(tree), 14);
  EXPECT_EQ(zu_itree_foreach_if(tree, test, &seen), 1);  // at 3, for only 1 stops
  EXPECT_EQ(zu_itree_foreach_if(tree, nullptr, nullptr), 1);
  EXPECT_EQ(zu_itree_deletex(tree, 1001, collect, &seen), 0);
  EXPECT_EQ(zu_itree_deletex(tree, 1000, collect, &seen), 1);
  EXPECT_EQ(seen, (Numbers{1, 2, 3, 1000}));
  expected.pop_back();
  zu_itree_freex(tree, collect, &released);
  EXPECT_EQ(released, expected);
}

TEST(STree, KeysAreCopiedTexts) {
  zu_stree* tree = zu_stree_malloc();
  std::string text = "beta";
  EXPECT_EQ(zu_stree_insert(tree, text.c_str(), value_of(1)), 1);
  text[0] = 'z';
  EXPECT_EQ(zu_stree_insertx(tree, "betamax", 4, value_of(2)), 1);
  EXPECT_EQ(zu_stree_insertx(tree, "beta\0x", 6, value_of(3)), 1);  // equal up to the zero byte
  EXPECT_EQ(zu_stree_insert(tree, "\xC4", value_of(4)), 1);
  EXPECT_EQ(zu_stree_insert(tree, "alpha", value_of(5)), 1);
  expect_sound(tree, {5, 3, 4});  // bytes above 0x7F sort last
  void* key = nullptr;
  EXPECT_EQ(zu_xtree_findx(tree, "beta", &key, nullptr), 1);
  EXPECT_EQ(zu_stree_update(tree, static_cast<char*>(key), value_of(7)), 1);
  EXPECT_EQ(zu_stree_update(tree, "gamma", value_of(6)), 0);
  EXPECT_FALSE(zu_stree_insertx(tree, "a", 0, nullptr) || zu_stree_insertx(tree, "a", -1, nullptr));
  EXPECT_FALSE(zu_stree_insert(tree, "", nullptr) || zu_stree_insert(tree, nullptr, nullptr));
  EXPECT_FALSE(zu_stree_find(tree, nullptr, nullptr) || zu_stree_update(tree, nullptr, nullptr));
  EXPECT_EQ(zu_stree_delete(tree, nullptr), 0);
  Numbers released;
  zu_stree_freex(tree, collect, &released);
  EXPECT_EQ(released, (Numbers{5, 7, 4}));
}

TEST(XTree, DestroyCallbacksSeeWhatLeaves) {
  std::string log;  // k<number> for a key, v<number> for a value
  const auto key_gone = [](void* key, void* to) {
    *static_cast<std::string*>(to) += "k" + std::to_string(number_of(key)) + " ";
  };
  const auto value_gone = [](void* value, void* to) {
    *static_cast<std::string*>(to) += "v" + std::to_string(number_of(value)) + " ";
  };
  const auto by_tens = [](const void* node_key, const void* probe, void*) {
    return number_of(probe) / 10 - number_of(node_key) / 10;
  };
  zu_xtree* tree = zu_xtree_new_full(nullptr, by_tens, nullptr, key_gone, &log, value_gone, &log);
  const auto logged = [&](int result) { return (result ? "" : "no ") + std::exchange(log, ""); };
  for (int key : {10, 20, 30, 40}) {
    EXPECT_EQ(logged(zu_xtree_insert(tree, value_of(key), value_of(key + 1))), "");
  }
  EXPECT_EQ(logged(zu_xtree_insert(tree, value_of(25), value_of(26))), "v21 k25 ");
  EXPECT_EQ(logged(zu_xtree_replace(tree, value_of(27), value_of(28))), "v26 k20 ");
  EXPECT_EQ(logged(zu_xtree_delete(tree, value_of(20))), "k27 v28 ");
  EXPECT_EQ(logged(zu_xtree_delete(tree, value_of(20))), "no ");
  EXPECT_EQ(logged(zu_xtree_steal(tree, value_of(30))), "");
  zu_xtree_destroy(tree);
  EXPECT_EQ(log, "k10 v11 k40 v41 ");
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
  zu_xtree* tree = zu_xtree_new(compare_numbers);
  EXPECT_FALSE(zu_xtree_traverse(tree, Walk::visit, ZU_TRAVERSE_PRE_ORDER, nullptr) ||
               zu_xtree_new(nullptr) || zu_xtree_insert(nullptr, nullptr, nullptr));
  for (int key = 1; key <= 7; ++key) zu_xtree_insert(tree, value_of(key), value_of(key * 10));
  for (const auto& c : cases) {
    Walk walk{c.results, {}};
    EXPECT_EQ(c.result, c.order == kForeach ? zu_xtree_foreach(tree, Walk::visit, &walk)
                                            : zu_xtree_traverse(tree, Walk::visit, c.order, &walk));
    EXPECT_EQ(walk.seen, c.seen);
  }
  const auto level = [&] {
    zu_xtree_traverse(tree, Walk::visit, ZU_TRAVERSE_LEVEL_ORDER, nullptr);
  };
  EXPECT_EQ(printed_by(level),
            "zu_xtree_traverse(): traverse type ZU_TRAVERSE_LEVEL_ORDER isn't implemented.");
  const auto toward = [](const void* node_key, const void* probe, void* user) {
    return probe ? 0 : number_of(user) - number_of(node_key);
  };
  EXPECT_EQ(zu_xtree_search(tree, toward, value_of(5)), value_of(50));
  EXPECT_EQ(zu_xtree_search(tree, toward, value_of(9)), nullptr);
  zu_xtree_destroy(tree);
}

}  // namespace
