// The timers of a raw box under a clock that moves only when the loop sleeps or the test says so.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "kiv_base/event.h"
#include "tests/seams/clock_seam.h"

namespace {

struct Timers : testing::Test {
  ~Timers() override { zu_box_free(box_); }

  // Adds its argument, a digit, to the log.
  static void KIV_CALL note(void* test, void* digit, std::int32_t timer, std::int32_t) {
    auto& self = *static_cast<Timers*>(test);
    EXPECT_EQ(zu_box_timer_GetThisId(self.box_), timer);
    self.log_ += static_cast<char>('0' + reinterpret_cast<std::intptr_t>(digit));
  }

  std::int32_t once(std::uint32_t ms, std::intptr_t value) {
    return zu_box_timer_AddOnceTimer(box_, ms, note, digit(value));
  }
  static void* digit(std::intptr_t value) { return reinterpret_cast<void*>(value); }

  std::string run() {
    log_.clear();
    zu_box_SetUserCallbackHandle(box_, this);
    zu_box_StartLoop(box_);
    return log_;
  }

  kiv::test::StoppedClock clock_;
  zu_box* box_ = zu_box_malloc();
  std::string log_;
};

TEST_F(Timers, AFiredOutTimerKeepsItsIdUntilDeleted) {
  const std::int32_t single = once(1, 1),
                     triple = zu_box_timer_AddLimitTimer(box_, 3, 3, note, digit(3));
  EXPECT_EQ(run(), "1333");
  EXPECT_EQ(zu_box_timer_GetThisId(box_), -1);
  for (const std::int32_t id : {single, triple}) {
    EXPECT_EQ(zu_box_timer_IsExist(box_, id), 1);
    EXPECT_EQ(zu_box_timer_Refresh(box_, id, 1, note, nullptr), 1);
    EXPECT_EQ(zu_box_timer_RefreshTimeout(box_, id, 1), 1);
  }
  EXPECT_EQ(run(), "") << "a refresh does not bring it back";
  zu_box_timer_Delete(box_, single);
  EXPECT_EQ(zu_box_timer_GetNumTimer(box_), 1);
}

TEST_F(Timers, RefreshChangesTheCallbackOrTheTimeOrBoth) {
  const std::int32_t renamed = once(10, 1), moved = once(20, 2), both = once(30, 3),
                     kept = once(40, 4);
  EXPECT_EQ(zu_box_timer_RefreshCallback(box_, renamed, note, digit(5)), 1);
  EXPECT_EQ(zu_box_timer_RefreshTimeout(box_, moved, 5), 1);
  EXPECT_EQ(zu_box_timer_Refresh(box_, both, 30, note, digit(7)), 1);
  EXPECT_EQ(zu_box_timer_Refresh(box_, kept, 0, note, digit(8)), 1) << "the due time stays";
  EXPECT_EQ(run(), "5287");
}

TEST_F(Timers, ACallbackMayDeleteItsTimerAndOthersAndFreeTheBox) {
  const auto third = [](void* test, void* other, std::int32_t, std::int32_t times) {
    zu_box*& box = static_cast<Timers*>(test)->box_;
    if (times < 3) return;
    zu_box_timer_DeleteThis(box);
    zu_box_timer_Delete(box, *static_cast<std::int32_t*>(other));
    EXPECT_EQ(zu_box_timer_GetNumTimer(box), 0);
    zu_box_free(std::exchange(box, nullptr));
  };
  std::int32_t other = once(1000000, 9);
  zu_box_timer_AddLoopTimer(box_, 1, third, &other);
  run();
  EXPECT_EQ(box_, nullptr);
}

TEST_F(Timers, ALateLoopTimerCatchesUpInABurst) {
  static int late;
  late = 0;
  const auto slow = [](void* test, void*, std::int32_t, std::int32_t times) {
    auto& self = *static_cast<Timers*>(test);
    if (times == 1) self.clock_.advance_ms(35);
    if (self.clock_.slept_ms() == 10) ++late;
    if (times == 6) zu_box_BreakLoop(self.box_);
  };
  zu_box_timer_AddLoopTimer(box_, 10, slow, nullptr);
  run();
  EXPECT_EQ(late, 4) << "due at 10, 20, 30 and 40, all served at 45";
  EXPECT_EQ(clock_.slept_ms(), 10 + 5 + 10);
}

TEST_F(Timers, RefreshMovesOneFiringFromWhereItWasDue) {
  const std::int32_t timer = zu_box_timer_AddLimitTimer(box_, 2, 10, note, digit(7));
  zu_box_timer_AddLimitTimer(box_, 4, 10, note, digit(1));
  clock_.advance_ms(5);
  EXPECT_EQ(zu_box_timer_RefreshTimeout(box_, timer, 15), 1);  // due at 25, then at 35
  EXPECT_EQ(run(), "117171");
  EXPECT_EQ(clock_.slept_ms(), 35);
}

TEST_F(Timers, AStepOfTheSystemClockMovesNothing) {
  zu_box_timer_AddLimitTimer(box_, 3, 1000, note, digit(1));
  clock_.step_wall_ms(3600 * 1000);
  once(2500, 2);
  clock_.step_wall_ms(-24LL * 3600 * 1000);
  EXPECT_EQ(run(), "1121");
  EXPECT_EQ(clock_.slept_ms(), 3000);
}

// Thousands of timers against a plain sorted list: the same order whatever is added, deleted and
// refreshed in between.
TEST_F(Timers, KeepTheirOrderThroughRandomChanges) {
  struct Model {
    std::uint32_t due;
    std::int32_t id;
  };
  std::vector<Model> model;  // earliest first, the newest first among equals
  const auto place = [&](const Model& timer) {
    const auto before = std::lower_bound(model.begin(), model.end(), timer,
                                         [](auto& a, auto& b) { return a.due < b.due; });
    model.insert(before, timer);
  };
  static std::vector<std::int32_t> fired;
  fired.clear();
  const auto record = [](void*, void*, std::int32_t timer, std::int32_t) {
    fired.push_back(timer);
  };
  std::mt19937 random(1);
  for (int step = 0; step < 6000; ++step) {
    const auto interval = static_cast<std::uint32_t>(1 + random() % 500);
    if (model.empty() || random() % 3 != 0) {
      place({interval, zu_box_timer_AddOnceTimer(box_, interval, record, nullptr)});
      continue;
    }
    const auto chosen = model.begin() + static_cast<std::ptrdiff_t>(random() % model.size());
    const Model timer = *chosen;
    model.erase(chosen);
    if (random() % 2 == 0) {
      zu_box_timer_Delete(box_, timer.id);
    } else {
      EXPECT_EQ(zu_box_timer_RefreshTimeout(box_, timer.id, interval), 1);
      place({timer.due + interval, timer.id});
    }
  }
  run();
  std::vector<std::int32_t> expected;
  for (const Model& timer : model) expected.push_back(timer.id);
  EXPECT_EQ(fired, expected);
}

}  // namespace
