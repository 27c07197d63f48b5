#include <gtest/gtest.h>

#include <algorithm>

#include "tests/containers/support.h"
#include "tests/support/stdout_capture.h"

using namespace kiv::test;

namespace {

using Numbers = std::vector<int>;

int KIV_CALL by_number(const void* a, const void* b) {
  return number_of(a) - number_of(b);
}

// Sorts by the tens, so that the units tell equals apart.
int KIV_CALL by_tens(const void* a, const void* b) {
  return number_of(a) / 10 - number_of(b) / 10;
}

zu_list* list_of(const Numbers& numbers) {
  zu_list* list = nullptr;
  for (auto it = numbers.rbegin(); it != numbers.rend(); ++it) {
    list = zu_list_prepend(list, value_of(*it));
  }
  return list;
}

// The numbers in order; fails when a link back does not match.
Numbers numbers_in(zu_list* list) {
  Numbers numbers;
  zu_list* prev = nullptr;
  for (; list; prev = list, list = list->next) {
    EXPECT_EQ(list->prev, prev);
    numbers.push_back(number_of(list->data));
  }
  return numbers;
}

// Checks a list and frees it.
void expect_and_free(zu_list* list, const Numbers& expected) {
  EXPECT_EQ(numbers_in(list), expected);
  Numbers released;
  zu_list_destroy_all(zu_list_last(list), collect, &released);
  EXPECT_EQ(released, expected);
}

}  // namespace

TEST(List, RandomEditsMatchAVector) {
  Dice dice(1);
  Numbers twin, released, expected_released;
  zu_list* list = nullptr;
  for (int step = 0; step < 20000; ++step) {
    const int number = dice.below(20), at = dice.below(static_cast<int>(twin.size()) + 3) - 1;
    const auto size = static_cast<int>(twin.size());
    const int place = at < 0 || at > size ? size : at;
    const auto found = std::find(twin.begin(), twin.end(), number);
    void* data = value_of(number);
    switch (dice.below(11)) {
      case 0:
        list = zu_list_insert(list, data, at);
        twin.insert(twin.begin() + place, number);
        break;
      case 1:
        list = dice.below(2) ? zu_list_append(list, data) : zu_list_insert_last(list, data);
        twin.push_back(number);
        break;
      case 2:
        list = zu_list_insert_first(zu_list_nth(list, dice.below(size + 1)), data);
        if (zu_list_length(list) == 1 && size > 0) FAIL() << "lost the list";
        twin.insert(twin.begin(), number);
        break;
      case 3:
      case 4:
      case 5:
        list = zu_list_remove(list, data, collect, &released);
        if (found == twin.end()) break;
        expected_released.push_back(number);
        twin.erase(found);
        break;
      case 6:
        list = zu_list_nth_remove(list, place, nullptr, nullptr);
        if (place < size) twin.erase(twin.begin() + place);
        break;
      case 7:
        list = zu_list_remove_all(list, data, collect, &released);
        expected_released.insert(expected_released.end(),
                                 static_cast<std::size_t>(std::erase(twin, number)), number);
        break;
      case 8:
        list = zu_list_reverse(list);
        std::reverse(twin.begin(), twin.end());
        break;
      case 9: {
        zu_list* node = zu_list_find(list, data);
        ASSERT_EQ(node != nullptr, found != twin.end());
        list = zu_list_remove_link_only(list, node);
        if (!node) break;
        ASSERT_TRUE(!node->prev && !node->next);
        list = zu_list_concat(node, list);
        std::rotate(twin.begin(), found, found + 1);
        break;
      }
      default:
        list = zu_list_delete_link_only(list, zu_list_nth(list, size - 1));
        if (size > 0) twin.pop_back();
    }
    ASSERT_EQ(numbers_in(list), twin);
    ASSERT_EQ(zu_list_length(list), twin.size());
    ASSERT_EQ(zu_list_index(list, data), zu_list_position(list, zu_list_find(list, data)));
  }
  EXPECT_EQ(released, expected_released);
  zu_list* copy = zu_list_copy(list);
  expect_and_free(list, twin);
  expect_and_free(copy, twin);
}

TEST(List, SortedInsertionPutsANewElementBeforeItsEquals) {
  const Numbers start{10, 50, 90};
  const struct {
    int added;
    Numbers result;
  } cases[] = {{51, {10, 51, 50, 90}}, {11, {11, 10, 50, 90}},   {99, {10, 50, 99, 90}},
               {60, {10, 50, 60, 90}}, {100, {10, 50, 90, 100}}, {0, {0, 10, 50, 90}}};
  for (const auto& c : cases) {
    expect_and_free(zu_list_insert_sorted(list_of(start), value_of(c.added), by_tens), c.result);
    zu_list* node = list_of({c.added});
    expect_and_free(zu_list_insert_link_sorted(list_of(start), node, by_tens), c.result);
  }
  expect_and_free(zu_list_insert_sorted(nullptr, value_of(4), by_tens), {4});
  expect_and_free(zu_list_insert_sorted(list_of(start), value_of(4), nullptr), start);
}

TEST(List, BothSortsAreStableAndRelinkTheNodes) {
  Dice dice(2);
  for (int size : {0, 1, 2, 3, 4, 5, 31, 64, 1000}) {
    for (int keys : {1, 3, 1000}) {
      Numbers numbers;
      for (int i = 0; i < size; ++i) numbers.push_back(dice.below(keys) * 10 + dice.below(10));
      Numbers sorted = numbers;
      std::stable_sort(sorted.begin(), sorted.end(), [](int a, int b) { return a / 10 < b / 10; });
      expect_and_free(zu_list_sort(list_of(numbers), by_tens), sorted);
      expect_and_free(zu_list_sort2(list_of(numbers), by_tens), sorted);
      zu_list* list = list_of(sorted);
      EXPECT_EQ(zu_list_sort2(list, by_tens), list);
      expect_and_free(zu_list_sort(list, by_tens), sorted);
    }
  }
  expect_and_free(zu_list_sort(zu_list_sort2(list_of({3, 1}), nullptr), nullptr), {3, 1});
}

TEST(List, MergeTakesTiesFromTheFirstList) {
  const Numbers odd{11, 31, 51}, even{12, 32, 42, 72};
  expect_and_free(zu_list_sort_merge(list_of(odd), list_of(even), by_tens),
                  {11, 12, 31, 32, 42, 51, 72});
  expect_and_free(zu_list_sort_merge(list_of(even), list_of(odd), by_tens),
                  {12, 11, 32, 31, 42, 51, 72});
  expect_and_free(zu_list_sort_merge(nullptr, list_of(odd), by_number), odd);
  expect_and_free(zu_list_sort_merge(list_of(odd), nullptr, by_number), odd);
}

TEST(List, OnlyATestResultOfOneMatches) {
  zu_list* list = list_of({2, 3, 1, 1});
  Numbers seen;
  const auto test = [](void* data, void* user) KIV_NOEXCEPT -> int {
    if (user) collect(data, user);
    return number_of(data);
  };
  EXPECT_EQ(zu_list_find_custom(list, test, nullptr), zu_list_nth(list, 2));
  zu_list_foreach_if(list, test, &seen);
  EXPECT_EQ(seen, (Numbers{2, 3, 1}));
  EXPECT_EQ(zu_list_find_custom(list, nullptr, nullptr), list);
  EXPECT_EQ(zu_list_nth(list, -3), list);
  EXPECT_EQ(zu_list_nth_prev(zu_list_last(list), 3), list);
  EXPECT_EQ(zu_list_nth_prev(list, 1), nullptr);
  EXPECT_EQ(number_of(zu_list_nth_data(list, 1)), 3);
  EXPECT_EQ(zu_list_nth_data(list, 4), nullptr);
  zu_list_destroy_all(list, nullptr, nullptr);
}

TEST(List, AVisitorMayRemoveItsElement) {
  zu_list* list = list_of({1, 2, 3});
  zu_list_foreach(
      list,
      [](void* data, void* user) {
        auto** where = static_cast<zu_list**>(user);
        if (data != value_of(2)) *where = zu_list_remove(*where, data, nullptr, nullptr);
      },
      &list);
  expect_and_free(list, {2});
}

TEST(List, PrintsItsLengthAndElements) {
  zu_list* list = list_of({7, 8});
  const auto show = [](void* data, void*) { std::printf("<%d>", number_of(data)); };
  EXPECT_EQ(printed_by([&] { zu_list_print(list, show); }),
            "list information below:\nlist length: 2\n<7><8>");
  EXPECT_EQ(printed_by([&] { zu_list_print(nullptr, show); }),
            "list information below:\nlist length: 0\n");
  zu_list_free_all(list, nullptr, nullptr);
}

TEST(List, TheEmptyListIsAcceptedEverywhere) {
  Numbers seen;
  EXPECT_EQ(zu_list_first(nullptr), nullptr);
  EXPECT_EQ(zu_list_nth_data(nullptr, 0), nullptr);
  EXPECT_EQ(zu_list_position(nullptr, nullptr), -1);
  EXPECT_EQ(zu_list_index(nullptr, nullptr), -1);
  EXPECT_EQ(zu_list_copy(nullptr), nullptr);
  EXPECT_EQ(zu_list_reverse(nullptr), nullptr);
  EXPECT_EQ(zu_list_concat(nullptr, nullptr), nullptr);
  EXPECT_EQ(zu_list_sort2(nullptr, by_number), nullptr);
  EXPECT_EQ(zu_list_nth_remove(nullptr, 0, collect, &seen), nullptr);
  EXPECT_EQ(zu_list_remove_link_only(nullptr, nullptr), nullptr);
  zu_list_foreach(nullptr, collect, &seen);
  zu_list_destroy_all(nullptr, collect, &seen);
  EXPECT_TRUE(seen.empty());
  zu_list* node = zu_list_new();
  EXPECT_TRUE(node && !node->prev && !node->next && !node->data);
  zu_list_free_all(node, nullptr, nullptr);
}
