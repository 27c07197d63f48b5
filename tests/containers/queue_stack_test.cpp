// Queue and stack against what the standard library has.
#include <deque>

#include "tests/containers/support.h"

namespace kiv::test {
namespace {

TEST(QueueAndStack, RandomPushesAndPops) {
  Dice dice;
  kiv_queue* queue = kiv_queue_make();
  kiv_stack* stack = kiv_stack_make();
  std::deque<int> oldest_first, newest_first;
  const auto front = [](const std::deque<int>& model) { return model.empty() ? 0 : model.front(); };
  for (int i = 1; i < 20000; ++i) {
    if (dice.below(200) < (i / 1000 % 2 == 0 ? 120 : 80)) {
      EXPECT_EQ(kiv_queue_push(queue, value_of(i)) + kiv_stack_push(stack, value_of(i)), 2);
      oldest_first.push_back(i);
      newest_first.push_front(i);
    } else {
      EXPECT_EQ(number_of(kiv_queue_pop(queue)), front(oldest_first));
      EXPECT_EQ(number_of(kiv_stack_pop(stack)), front(newest_first));
      for (auto* model : {&oldest_first, &newest_first}) {
        if (!model->empty()) model->pop_front();
      }
    }
    const auto count = static_cast<int32_t>(oldest_first.size());
    ASSERT_TRUE(kiv_queue_nnodes(queue) == count && kiv_stack_nnodes(stack) == count);
    ASSERT_EQ(queue->tail ? number_of(queue->tail->data) : 0, count ? oldest_first.back() : 0);
    const int at = dice.below(count + 2);
    const auto place = static_cast<std::size_t>(at);
    EXPECT_EQ(number_of(kivx_queue_peek(queue, at)), at < count ? oldest_first[place] : 0);
    EXPECT_EQ(number_of(kivx_stack_peek(stack, at)), at < count ? newest_first[place] : 0);
  }
  Numbers seen, expected(oldest_first.begin(), oldest_first.end());
  expected.insert(expected.end(), newest_first.begin(), newest_first.end());
  kivx_queue_foreach(queue, collect, &seen);
  kivx_stack_foreach(stack, collect, &seen);
  EXPECT_EQ(seen, expected);
  seen.clear();
  kivx_queue_free(queue, collect, &seen);
  kivx_stack_free(stack, collect, &seen);
  EXPECT_EQ(seen, expected);
  EXPECT_FALSE(kiv_queue_push(nullptr, &seen) || kiv_stack_push(nullptr, &seen));
}

}  // namespace
}  // namespace kiv::test
