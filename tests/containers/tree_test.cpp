#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>

#include "tests/containers/support.h"
#include "tests/support/stdout_capture.h"

using namespace kiv::test;

namespace {

using Numbers = std::vector<int>;

// Height of a subtree; fails where a balance is wrong.
int checked_height(const zu_xtree_node* node) {
  const int left = node->left_child ? checked_height(node->left) : 0;
  const int right = node->right_child ? checked_height(node->right) : 0;
  EXPECT_EQ(node->balance, right - left);
  EXPECT_LE(std::abs(right - left), 1);
  return 1 + std::max(left, right);
}

// The values along the threads, from one end to the other.
Numbers along_threads(const zu_xtree* tree, bool backward) {
  Numbers values;
  const auto down = [&](const zu_xtree_node* node) {
    while (node && (backward ? node->right_child : node->left_child)) {
      node = backward ? node->right : node->left;
    }
    return node;
  };
  for (const zu_xtree_node* node = down(tree->root); node;) {
    values.push_back(number_of(node->value));
    const bool child = backward ? node->left_child : node->right_child;
    const zu_xtree_node* next = backward ? node->left : node->right;
    node = child ? down(next) : next;
  }
  return values;
}

void expect_sound(zu_xtree* tree, const Numbers& expected) {
  EXPECT_EQ(zu_xtree_height(tree), tree->root ? checked_height(tree->root) : 0);
  EXPECT_EQ(zu_xtree_nnodes(tree), static_cast<int>(expected.size()));
  EXPECT_EQ(along_threads(tree, false), expected);
  Numbers reversed(expected.rbegin(), expected.rend());
  EXPECT_EQ(along_threads(tree, true), reversed);
}

int KIV_CALL compare_numbers(const void* node_key, const void* probe, void*) {
  return number_of(probe) - number_of(node_key);
}

// The three trees under one set of names; text keys are numbers of three digits.
std::string text_of(int key) {
  return std::to_string(500 + key);
}

struct ITree {
  static zu_xtree* make(void* pool) { return zu_itree_mallocx(pool); }
  static int insert(zu_xtree* t, int key, int v) { return zu_itree_insert(t, key, value_of(v)); }
  static int update(zu_xtree* t, int key, int v) { return zu_itree_update(t, key, value_of(v)); }
  static int find(zu_xtree* t, int key, void** v) { return zu_itree_find(t, key, v); }
  static int remove(zu_xtree* t, int key) { return zu_itree_delete(t, key); }
};
struct STree {
  static zu_xtree* make(void* pool) { return zu_stree_mallocx(pool); }
  static int insert(zu_xtree* t, int key, int v) {
    return zu_stree_insert(t, text_of(key).c_str(), value_of(v));
  }
  static int update(zu_xtree* t, int key, int v) {
    return zu_stree_update(t, text_of(key).c_str(), value_of(v));
  }
  static int find(zu_xtree* t, int key, void** v) {
    return zu_stree_find(t, text_of(key).c_str(), v);
  }
  static int remove(zu_xtree* t, int key) { return zu_stree_delete(t, text_of(key).c_str()); }
};
struct XTree {
  static zu_xtree* make(void* pool) {
    return zu_xtree_new_full(pool, compare_numbers, nullptr, nullptr, nullptr, nullptr, nullptr);
  }
  static int insert(zu_xtree* t, int key, int v) {
    return zu_xtree_insert(t, value_of(key), value_of(v));
  }
  static int update(zu_xtree* t, int key, int v) {
    return find(t, key, nullptr) && zu_xtree_replace(t, value_of(key), value_of(v));
  }
  static int find(zu_xtree* t, int key, void** v) {
    return zu_xtree_findx(t, value_of(key), nullptr, v);
  }
  static int remove(zu_xtree* t, int key) { return zu_xtree_steal(t, value_of(key)); }
};

}  // namespace

template <typename T>
class Tree : public testing::Test {
 protected:
  static void change_at_random(zu_xtree* tree, int steps) {
    Dice dice(4);
    std::map<int, int> twin;
    for (int step = 1; step <= steps; ++step) {
      const int key = dice.below(200) - 100;
      const int known = static_cast<int>(twin.count(key));
      // Grows for a while, then shrinks for a while.
      switch (step / 500 % 2 * 2 + dice.below(3)) {
        case 0:
        case 1:
          ASSERT_EQ(T::insert(tree, key, step), 1);
          twin[key] = step;
          break;
        case 2:
          ASSERT_EQ(T::update(tree, key, step), known);
          if (known) twin[key] = step;
          break;
        default:
          ASSERT_EQ(T::remove(tree, key), known);
          twin.erase(key);
      }
      void* value = nullptr;
      const int still = static_cast<int>(twin.count(key));
      ASSERT_EQ(T::find(tree, key, &value), still);
      if (still) ASSERT_EQ(number_of(value), twin[key]);
      Numbers expected;
      for (const auto& entry : twin) expected.push_back(entry.second);
      expect_sound(tree, expected);
      ASSERT_FALSE(testing::Test::HasFailure());
    }
  }
};

using Trees = testing::Types<ITree, STree, XTree>;
TYPED_TEST_SUITE(Tree, Trees);

TYPED_TEST(Tree, RandomChangesMatchAMap) {
  zu_xtree* tree = TypeParam::make(nullptr);
  this->change_at_random(tree, 4000);
  zu_xtree_destroy(tree);
}

TYPED_TEST(Tree, APoolHoldsHeaderNodesAndKeys) {
  OddPool pool(40000), small(300);
  zu_xtree* tree = TypeParam::make(pool.handle);
  ASSERT_EQ(zu_mem_is_valid(pool.handle, tree), 1);
  this->change_at_random(tree, 2000);
  zu_xtree_destroy(tree);
  EXPECT_EQ(pool.used_blocks(), 0u);

  tree = TypeParam::make(small.handle);
  Numbers stored;
  for (int i = 0; TypeParam::insert(tree, i, i); ++i) stored.push_back(i);
  EXPECT_FALSE(stored.empty());
  expect_sound(tree, stored);
  zu_xtree_destroy(tree);
  EXPECT_EQ(small.used_blocks(), 0u);
}

TEST(ITree, AscendingKeysStayBalanced) {
  zu_itree* tree = zu_itree_malloc();
  Numbers expected;
  for (int i = 1; i <= 1000; ++i) {
    zu_itree_insert(tree, i, value_of(i));
    expected.push_back(i);
  }
  EXPECT_LE(zu_itree_height(tree), 14);
  expect_sound(tree, expected);
  Numbers seen, released;
  EXPECT_EQ(zu_itree_foreach(tree, collect, &seen), 0);
  EXPECT_EQ(seen, expected);
  zu_itree_freex(tree, collect, &released);
  EXPECT_EQ(released, expected);
}

TEST(ITree, KeysCompareByTheirWrappedDifference) {
  zu_itree* tree = zu_itree_malloc();
  for (int32_t key : {INT32_MIN + 1, INT32_MAX, INT32_MIN, INT32_MAX - 1}) {
    EXPECT_EQ(zu_itree_insert(tree, key, value_of(key)), 1);
  }
  expect_sound(tree, {INT32_MAX - 1, INT32_MAX, INT32_MIN, INT32_MIN + 1});
  Numbers keys;
  const auto see = [](void* key, void*, void* user) KIV_NOEXCEPT -> int {
    collect(key, user);
    return 0;
  };
  zu_itree_traverse(tree, see, &keys);
  EXPECT_EQ(keys[2], INT32_MIN);
  EXPECT_EQ(zu_xtree_find(tree, value_of(INT32_MIN)), value_of(INT32_MIN));
  zu_itree_free(tree);
}

TEST(ITree, ReleaseAndTestCallbacks) {
  zu_itree* tree = zu_itree_malloc();
  Numbers seen;
  const auto test = [](void* value, void* user) KIV_NOEXCEPT -> int {
    collect(value, user);
    return number_of(value) - 29;
  };
  EXPECT_EQ(zu_itree_foreach_if(tree, nullptr, nullptr), 0);
  for (int key = 1; key <= 5; ++key) zu_itree_insert(tree, key, value_of(key * 10));
  EXPECT_EQ(zu_itree_foreach_if(tree, test, &seen), 1);
  EXPECT_EQ(seen, (Numbers{10, 20, 30}));
  EXPECT_EQ(zu_itree_foreach_if(tree, nullptr, nullptr), 1);
  seen.clear();
  EXPECT_EQ(zu_itree_deletex(tree, 9, collect, &seen), 0);
  EXPECT_EQ(zu_itree_deletex(tree, 4, collect, &seen), 1);
  EXPECT_EQ(seen, (Numbers{40}));
  expect_sound(tree, {10, 20, 30, 50});
  zu_itree_free(tree);
}

TEST(STree, KeysAreCopiedTexts) {
  zu_stree* tree = zu_stree_malloc();
  char text[] = "beta";
  EXPECT_EQ(zu_stree_insert(tree, text, value_of(1)), 1);
  text[0] = 'z';
  EXPECT_EQ(zu_stree_insertx(tree, "betamax", 4, value_of(2)), 1);
  EXPECT_EQ(zu_stree_insertx(tree, "beta\0x", 6, value_of(3)), 1);  // equal up to the zero byte
  EXPECT_EQ(zu_stree_insert(tree, "\xC4", value_of(4)), 1);
  EXPECT_EQ(zu_stree_insert(tree, "alpha", value_of(5)), 1);
  expect_sound(tree, {5, 3, 4});  // bytes above 0x7F sort last
  EXPECT_EQ(zu_stree_update(tree, "gamma", value_of(6)), 0);
  void* key = nullptr;
  EXPECT_EQ(zu_xtree_findx(tree, "beta", &key, nullptr), 1);
  EXPECT_EQ(zu_stree_update(tree, static_cast<char*>(key), value_of(7)), 1);
  Numbers seen;
  EXPECT_EQ(zu_stree_foreach(tree, collect, &seen), 0);
  EXPECT_EQ(seen, (Numbers{5, 7, 4}));

  EXPECT_EQ(zu_stree_insertx(tree, "a", 0, nullptr), 0);
  EXPECT_EQ(zu_stree_insertx(tree, "a", -1, nullptr), 0);
  EXPECT_EQ(zu_stree_insert(tree, "", nullptr), 0);
  EXPECT_EQ(zu_stree_insert(tree, nullptr, nullptr), 0);
  EXPECT_EQ(zu_stree_find(tree, nullptr, nullptr), 0);
  EXPECT_EQ(zu_stree_update(tree, nullptr, nullptr), 0);
  EXPECT_EQ(zu_stree_delete(tree, nullptr), 0);
  EXPECT_EQ(zu_stree_nnodes(tree), 3);
  zu_stree_freex(tree, nullptr, nullptr);
}

// Keys are destroyed as k<number>, values as v<number>.
TEST(XTree, DestroyCallbacksSeeWhatLeaves) {
  std::string log;
  const auto key_gone = [](void* key, void* to) {
    *static_cast<std::string*>(to) += "k" + std::to_string(number_of(key)) + " ";
  };
  const auto value_gone = [](void* value, void* to) {
    *static_cast<std::string*>(to) += "v" + std::to_string(number_of(value)) + " ";
  };
  // Only the tens tell keys apart.
  const auto compare = [](const void* node_key, const void* probe, void*) {
    return number_of(probe) / 10 - number_of(node_key) / 10;
  };
  zu_xtree* tree = zu_xtree_new_full(nullptr, compare, nullptr, key_gone, &log, value_gone, &log);
  const auto logged = [&](int result) {
    EXPECT_EQ(result, 1);
    return std::exchange(log, "");
  };
  for (int key : {10, 20, 30, 40}) {
    EXPECT_EQ(logged(zu_xtree_insert(tree, value_of(key), value_of(key + 1))), "");
  }
  EXPECT_EQ(logged(zu_xtree_insert(tree, value_of(25), value_of(26))), "v21 k25 ");
  EXPECT_EQ(logged(zu_xtree_replace(tree, value_of(27), value_of(28))), "v26 k20 ");
  void* key = nullptr;
  EXPECT_EQ(zu_xtree_findx(tree, value_of(20), &key, nullptr), 1);
  EXPECT_EQ(key, value_of(27));
  EXPECT_EQ(logged(zu_xtree_delete(tree, value_of(20))), "k27 v28 ");
  EXPECT_EQ(zu_xtree_delete(tree, value_of(20)), 0);
  EXPECT_EQ(logged(zu_xtree_steal(tree, value_of(30))), "");
  EXPECT_EQ(zu_xtree_find(tree, value_of(30)), nullptr);
  zu_xtree_destroy(tree);
  EXPECT_EQ(log, "k10 v11 k40 v41 ");
}

TEST(XTree, WalksStopByTheirOwnRules) {
  struct Walk {
    Numbers seen;
    std::map<int, int> results;
    static int KIV_CALL visit(void* key, void*, void* user) {
      auto* walk = static_cast<Walk*>(user);
      walk->seen.push_back(number_of(key));
      return walk->results[number_of(key)];
    }
  };
  enum { kForeach = -1 };
  const struct {
    int order;
    std::map<int, int> results;
    int result;
    Numbers seen;
  } cases[] = {{kForeach, {{2, 2}, {3, -1}, {7, 5}}, 5, {1, 2, 3, 4, 5, 6, 7}},
               {kForeach, {{3, 1}}, 1, {1, 2, 3}},
               {ZU_TRAVERSE_IN_ORDER, {{2, -3}}, -3, {1, 2}},
               {ZU_TRAVERSE_IN_ORDER, {}, 0, {1, 2, 3, 4, 5, 6, 7}},
               {ZU_TRAVERSE_PRE_ORDER, {}, 0, {4, 2, 1, 3, 6, 5, 7}},
               {ZU_TRAVERSE_PRE_ORDER, {{3, -1}}, -1, {4, 2, 1, 3}},
               {ZU_TRAVERSE_POST_ORDER, {{1, -9}, {4, -5}}, -5, {1, 3, 2, 5, 7, 6, 4}},
               {ZU_TRAVERSE_POST_ORDER, {{5, 2}}, 2, {1, 3, 2, 5}},
               {ZU_TRAVERSE_LEVEL_ORDER + 1, {}, 0, {}}};
  zu_xtree* tree = zu_xtree_new(compare_numbers);
  EXPECT_EQ(zu_xtree_traverse(tree, Walk::visit, ZU_TRAVERSE_PRE_ORDER, nullptr), 0);
  for (int key = 1; key <= 7; ++key) zu_xtree_insert(tree, value_of(key), value_of(key * 10));
  for (const auto& c : cases) {
    Walk walk{{}, c.results};
    EXPECT_EQ(c.order == kForeach ? zu_xtree_foreach(tree, Walk::visit, &walk)
                                  : zu_xtree_traverse(tree, Walk::visit, c.order, &walk),
              c.result);
    EXPECT_EQ(walk.seen, c.seen);
  }
  EXPECT_EQ(
      printed_by([&] { zu_xtree_traverse(tree, Walk::visit, ZU_TRAVERSE_LEVEL_ORDER, nullptr); }),
      "zu_xtree_traverse(): traverse type ZU_TRAVERSE_LEVEL_ORDER isn't implemented.");
  EXPECT_EQ(zu_xtree_search(tree, compare_numbers, nullptr), nullptr);
  const auto toward = [](const void* node_key, const void* probe, void* user) {
    EXPECT_EQ(probe, nullptr);
    return number_of(user) - number_of(node_key);
  };
  EXPECT_EQ(zu_xtree_search(tree, toward, value_of(5)), value_of(50));
  zu_xtree_destroy(tree);
}

TEST(XTree, RefusesWhatIsNoTree) {
  EXPECT_EQ(zu_xtree_new(nullptr), nullptr);
  EXPECT_EQ(zu_xtree_insert(nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(zu_xtree_replace(nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(zu_xtree_find(nullptr, nullptr), nullptr);
  EXPECT_EQ(zu_xtree_height(nullptr) + zu_xtree_nnodes(nullptr), 0);
  EXPECT_EQ(zu_itree_insert(nullptr, 1, nullptr) + zu_itree_find(nullptr, 1, nullptr), 0);
  EXPECT_EQ(zu_itree_delete(nullptr, 1) + zu_itree_foreach_if(nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(zu_stree_insert(nullptr, "a", nullptr) + zu_stree_delete(nullptr, "a"), 0);
  zu_xtree_destroy(nullptr);
  zu_itree_freex(nullptr, collect, nullptr);
}
