#include "tests/containers/support.h"

using namespace kiv::test;

namespace {

// Only the tens count, so that the units tell equals apart.
int KIV_CALL by_tens(const void* a, const void* b) {
  return number_of(a) / 10 - number_of(b) / 10;
}

zu_list* list_of(const Numbers& numbers) {
  zu_list* list = nullptr;
  for (size_t i = numbers.size(); i-- > 0;) list = zu_list_prepend(list, value_of(numbers[i]));
  return list;
}

// The numbers in order; fails where a link back does not match.
Numbers numbers_in(zu_list* list) {
  Numbers numbers;
  for (zu_list* prev = nullptr; list; prev = list, list = list->next) {
    EXPECT_EQ(list->prev, prev);
    numbers.push_back(number_of(list->data));
  }
  return numbers;
}

void expect_and_free(zu_list* list, const Numbers& expected) {
  EXPECT_EQ(numbers_in(list), expected);
  Numbers released;
  zu_list_destroy_all(zu_list_last(list), collect, &released);
  EXPECT_EQ(released, expected);
}

TEST(List, RandomEditsMatchAVector) {
  Dice dice;
  Numbers twin, released, expected_released;
  zu_list* list = nullptr;
  for (int step = 0; step < 20000; ++step) {
    const int size = static_cast<int>(twin.size()), number = dice.below(20);
    const int at = dice.below(size + 3) - 1, place = at < 0 || at > size ? size : at;
    const auto found = std::find(twin.begin(), twin.end(), number);
    void* data = value_of(number);
    zu_list* node = zu_list_find(list, data);
    const int edit = dice.below(8);
    if (edit == 0) {
      list = zu_list_insert(list, data, at);
      twin.insert(twin.begin() + place, number);
    } else if (edit == 1) {
      list = zu_list_insert_last(list, data);
      twin.push_back(number);
    } else if (edit == 2) {
      list = zu_list_insert_first(zu_list_last(list), data);
      twin.insert(twin.begin(), number);
    } else if (edit == 3) {
      list = zu_list_remove(list, data, collect, &released);
      if (node) expected_released.push_back(number), twin.erase(found);
    } else if (edit == 4) {
      list = zu_list_nth_remove(list, at, nullptr, nullptr);  // -1 takes the first, too
      if (at < size) twin.erase(twin.begin() + std::max(at, 0));
    } else if (edit == 5) {
      list = zu_list_remove_all(list, data, collect, &released);
      expected_released.insert(expected_released.end(), std::erase(twin, number), number);
    } else if (edit == 6) {
      list = zu_list_reverse(list);
      std::reverse(twin.begin(), twin.end());
    } else if (node) {
      list = zu_list_concat(node, zu_list_remove_link_only(list, node));
      std::rotate(twin.begin(), found, found + 1);
      list = zu_list_delete_link_only(list, zu_list_last(list));
      twin.pop_back();
    }
    ASSERT_EQ(numbers_in(list), twin);
    ASSERT_EQ(zu_list_length(list), twin.size());
    ASSERT_EQ(zu_list_index(list, data), zu_list_position(list, zu_list_find(list, data)));
  }
  EXPECT_EQ(released, expected_released);
  expect_and_free(zu_list_copy(list), twin);
  expect_and_free(list, twin);
}

TEST(List, SortsAreStableAndASortedInsertionGoesBeforeItsEquals) {
  Dice dice;
  for (int size : {0, 1, 2, 3, 4, 5, 31, 64, 1000}) {
    for (int keys : {1, 3, 1000}) {
      Numbers numbers;
      for (int i = 0; i < size; ++i) numbers.push_back(dice.below(keys * 10));
      Numbers sorted = numbers;
      std::stable_sort(sorted.begin(), sorted.end(), [](int a, int b) { return a / 10 < b / 10; });
      expect_and_free(zu_list_sort(list_of(numbers), by_tens), sorted);
      zu_list *list = zu_list_sort2(list_of(numbers), by_tens), *inserted = nullptr;
      EXPECT_EQ(zu_list_sort2(list, by_tens), list);
      expect_and_free(list, sorted);
      for (size_t i = numbers.size(); i-- > 0;) {
        inserted = i % 2 ? zu_list_insert_sorted(inserted, value_of(numbers[i]), by_tens)
                         : zu_list_insert_link_sorted(inserted, list_of({numbers[i]}), by_tens);
      }
      expect_and_free(inserted, sorted);
    }
  }
  zu_list* list = zu_list_sort(zu_list_sort2(list_of({3, 1}), nullptr), nullptr);
  expect_and_free(zu_list_insert_sorted(list, value_of(4), nullptr), {3, 1});
  list = zu_list_sort_merge(list_of({11, 31, 51}), list_of({12, 32, 42, 72}), by_tens);
  expect_and_free(zu_list_sort_merge(nullptr, list, by_tens), {11, 12, 31, 32, 42, 51, 72});
}

TEST(List, OnlyATestResultOfOneMatches) {
  zu_list* list = list_of({2, 3, 1, 1});
  Numbers seen;
  const auto test = [](void* data, void* user) {
    if (user) collect(data, user);
    return number_of(data);
  };
  EXPECT_EQ(zu_list_find_custom(list, test, nullptr), zu_list_nth(list, 2));
  EXPECT_EQ(zu_list_find_custom(list, nullptr, nullptr), list);
  zu_list_foreach_if(list, test, &seen);
  EXPECT_EQ(seen, (Numbers{2, 3, 1}));
  const auto drop_odd = [](void* data, void* user) {  // a visitor may remove its own element
    auto** where = static_cast<zu_list**>(user);
    if (number_of(data) % 2) *where = zu_list_remove(*where, data, nullptr, nullptr);
  };
  zu_list_foreach(list, drop_odd, &list);
  expect_and_free(list, {2});
}

}  // namespace
