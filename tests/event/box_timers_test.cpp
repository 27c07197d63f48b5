// The timers of a raw box: what callbacks see and how long ids live. When timers fire is the
// engine's business.
#include <gtest/gtest.h>

#include "tests/event/box_events.h"

namespace kiv::test {
namespace {

struct BoxTimers : testing::Test {
  ~BoxTimers() override { zu_box_free(box); }
  std::int32_t once(std::uint32_t ms) {
    return zu_box_timer_AddOnceTimer(box, ms, on_timer, &seen);
  }
  std::int32_t loop(std::uint32_t ms) {
    return zu_box_timer_AddLoopTimer(box, ms, on_timer, &seen);
  }
  std::int32_t limit(std::int32_t times, std::uint32_t ms) {
    return zu_box_timer_AddLimitTimer(box, times, ms, on_timer, &seen);
  }

  zu_box* box = zu_box_malloc();
  Recorder seen;
};

TEST_F(BoxTimers, IdsAreLargeAndRefusalsLeaveNoTrace) {
  const std::int32_t known = once(60000);
  EXPECT_GE(known, 51200);
  for (const std::int32_t refused : {once(0), loop(0), limit(1, 0), limit(0, 5), limit(-1, 5),
                                     zu_box_timer_AddLoopTimer(box, 5, nullptr, &seen)}) {
    EXPECT_EQ(refused, -1);
  }
  for (const std::int32_t unknown : {0, -1, 51199, INT32_MAX}) {
    zu_box_timer_Delete(box, unknown);
    EXPECT_EQ(zu_box_timer_Refresh(box, unknown, 5, on_timer, &seen), 0);
    EXPECT_EQ(zu_box_timer_RefreshTimeout(box, unknown, 5), 0);
  }
  EXPECT_EQ(zu_box_timer_Refresh(box, known, 5, nullptr, &seen), 0);
  EXPECT_EQ(zu_box_timer_RefreshCallback(box, known, nullptr, &seen), 0);
  EXPECT_EQ(zu_box_timer_RefreshTimeout(box, known, 0), 0);
  EXPECT_EQ(zu_box_timer_GetNumTimer(box), 1);
}

TEST_F(BoxTimers, FiredOutTimerKeepsItsIdUntilDeleted) {
  const std::int32_t single = once(1), triple = limit(3, 3);
  seen.then = [&](const Event& event) { EXPECT_EQ(zu_box_timer_GetThisId(box), event.id); };
  zu_box_StartLoop(box);  // ends when nothing is left to wait for
  EXPECT_EQ(seen.lines, (Lines{"timer 1", "timer 1", "timer 2", "timer 3"}));
  EXPECT_EQ(zu_box_timer_GetThisId(box), -1);
  for (const std::int32_t id : {single, triple}) {
    EXPECT_EQ(zu_box_timer_IsExist(box, id), 1);
    EXPECT_EQ(zu_box_timer_Refresh(box, id, 1, on_timer, &seen), 1);
    EXPECT_EQ(zu_box_timer_RefreshTimeout(box, id, 1), 1);
  }
  zu_box_StartLoop(box);
  EXPECT_EQ(seen.lines.size(), 4U) << "a refresh does not bring it back";
  zu_box_timer_Delete(box, single);
  EXPECT_EQ(zu_box_timer_GetNumTimer(box), 1);
}

TEST_F(BoxTimers, RefreshChangesTheCallbackOrTheTimeOrBoth) {
  Recorder changed;
  const std::int32_t renamed = once(10), moved = once(20), both = once(30), kept = once(40);
  EXPECT_EQ(zu_box_timer_RefreshCallback(box, renamed, on_timer, &changed), 1);
  EXPECT_EQ(zu_box_timer_RefreshTimeout(box, moved, 5), 1);
  EXPECT_EQ(zu_box_timer_Refresh(box, both, 30, on_timer, &changed), 1);
  EXPECT_EQ(zu_box_timer_Refresh(box, kept, 0, on_timer, &changed), 1) << "the due time stays";
  std::vector<std::int32_t> order;
  seen.then = changed.then = [&](const Event& event) { order.push_back(event.id); };
  zu_box_StartLoop(box);
  EXPECT_EQ(order, (std::vector<std::int32_t>{renamed, moved, kept, both}));
  EXPECT_EQ(changed.lines.size(), 3U);
}

TEST_F(BoxTimers, CallbackMayDeleteItsTimerAndOthersAndFreeTheBox) {
  const std::int32_t other = loop(1000000);
  loop(1);
  seen.then = [&](const Event&) {
    if (seen.lines.size() == 3) {
      zu_box_timer_DeleteThis(box);
      zu_box_timer_Delete(box, other);
      EXPECT_EQ(zu_box_timer_GetNumTimer(box), 0);
      once(1);
    } else if (seen.lines.size() == 4) {
      zu_box_free(box);
    }
  };
  zu_box_StartLoop(box);
  EXPECT_EQ(seen.lines, (Lines{"timer 1", "timer 2", "timer 3", "timer 1"}));
  box = nullptr;
}

}  // namespace
}  // namespace kiv::test
