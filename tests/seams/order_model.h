// What the loop of a box may call next: a plain model of the stated order, strict or in fair
// rounds.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <vector>

#include "platform/clock.h"
#include "tests/seams/wait_seam.h"

namespace kiv::test {

inline constexpr int kRead = 0, kWrite = 1, kExcept = 2, kKinds = 3;

// The script keeps the state of the sockets, and calls the model at the begin and the end of every
// callback. Nothing becomes ready in between.
class OrderModel {
 public:
  struct Socket {
    int id = -1;
    int since[kKinds] = {};  // number of the registration; 0: none
    unsigned ready = 0;      // a bit for each kind
  };
  struct Timer {
    std::int32_t id;
    std::int64_t due_us;
    std::int64_t interval_us;  // 0: fires once
    std::int64_t earliest_us = INT64_MIN;

    std::int64_t at_us() const { return std::max(due_us, earliest_us); }
  };

  OrderModel(bool is_fair, std::size_t count) : sockets(count), is_fair_(is_fair) {}

  std::vector<Socket> sockets;
  std::vector<Timer> timers;  // in the order in which they fire
  std::deque<int> posts;

  void add_timer(const Timer& timer) {
    timers.insert(std::find_if(timers.begin(), timers.end(),
                               [&](const Timer& other) { return other.at_us() >= timer.at_us(); }),
                  timer);
  }

  void put_off(std::vector<Timer>::iterator timer, std::int64_t interval_us) {
    Timer later = *timer;
    timers.erase(timer);
    later.due_us += interval_us;
    later.earliest_us = is_fair_ && is_timer_ ? timers_us_ + 1 : INT64_MIN;
    add_timer(later);
  }

  // `kinds`: those that lead to this callback.
  void socket_called(std::size_t socket, unsigned kinds) {
    if (has_waited()) begin_pass();
    EXPECT_TRUE(is_in_pass_ && walk_to(int(socket), kinds)) << "is not next";
  }

  void timer_called(std::int32_t id) {
    ASSERT_FALSE(timers.empty());
    Timer timer = timers.front();
    EXPECT_EQ(id, timer.id);
    EXPECT_EQ(platform::steady_us(), std::max(timer.at_us(), last_us_)) << "neither early nor late";
    const bool is_new_pass = has_waited();
    if (is_new_pass) begin_pass();
    EXPECT_TRUE(is_fair_ ? timer.at_us() <= round_us() : is_new_pass);
    pass_over_all();
    if (timers_us_ == kNotYet) timers_us_ = platform::steady_us();
    is_timer_ = true;
    timers.erase(timers.begin());
    if (timer.interval_us == 0) return;
    timer.due_us += timer.interval_us;
    if (is_fair_) timer.earliest_us = timers_us_ + 1;
    add_timer(timer);
  }

  void post_called(int post) {
    if (posts_left_ == 0) {
      end_pass();
      posts_left_ = posts.size();
      have_posts_run_ = true;
    }
    ASSERT_GT(posts_left_--, 0U);
    EXPECT_EQ(post, posts.front());
    EXPECT_EQ(platform::steady_us(), last_us_) << "a wait came before it";
    posts.pop_front();
  }

  void callback_ends() {
    is_timer_ = false;
    last_us_ = platform::steady_us();
    last_wait_ = waits_made();
  }

 private:
  static constexpr std::int64_t kNotYet = INT64_MIN;

  struct Candidate {
    std::size_t socket;
    Socket before;
  };

  bool has_waited() const { return waits_made() != last_wait_; }
  // Of a fair round: what is due then fires in it.
  std::int64_t round_us() const {
    return timers_us_ == kNotYet ? platform::steady_us() : timers_us_;
  }

  void begin_pass() {
    end_pass();
    EXPECT_TRUE(posts_left_ == 0 && (have_posts_run_ || posts.empty())) << "posts come first";
    have_posts_run_ = false;
    is_in_pass_ = true;
    kind_ = kRead;
    place_ = 0;
    timers_us_ = kNotYet;
    pass_.clear();
    for (std::size_t i = 0; i < sockets.size(); ++i) pass_.push_back({i, sockets[i]});
    std::sort(pass_.begin(), pass_.end(),
              [](const Candidate& a, const Candidate& b) { return a.before.id > b.before.id; });
    for (int kind = 0; kind < kKinds; ++kind) {
      const auto ready = [kind](const Candidate& candidate) {
        return candidate.before.since[kind] != 0 && (candidate.before.ready >> kind & 1) != 0;
      };
      first_[kind] = std::size_t(std::find_if(pass_.begin(), pass_.end(), ready) - pass_.begin());
    }
  }

  void end_pass() {
    pass_over_all();
    if (is_in_pass_ && is_fair_ && !timers.empty()) {
      EXPECT_GT(timers.front().at_us(), timers_us_ == kNotYet ? last_us_ : timers_us_)
          << "a round fires all that is due";
    }
    is_in_pass_ = false;
  }

  void pass_over_all() {
    if (is_in_pass_) walk_to(-1, 0);
  }

  // The first one that was ready is served whatever became of it. One below may be served if it was
  // ready or is by now, and is not passed over if both.
  bool walk_to(int socket, unsigned kinds) {
    for (; kind_ < kKinds; ++kind_, place_ = 0) {
      for (place_ = std::max(place_, first_[kind_]); place_ < pass_.size();) {
        const Candidate& candidate = pass_[place_++];
        const Socket& now = sockets[candidate.socket];
        const int since = candidate.before.since[kind_];
        if (since == 0 || since != now.since[kind_]) continue;
        const bool was = (candidate.before.ready >> kind_ & 1) != 0;
        const bool is = (now.ready >> kind_ & 1) != 0;
        if (int(candidate.socket) == socket && (kinds >> kind_ & 1) != 0 && (was || is)) {
          if (!is_fair_) ++kind_, place_ = 0;
          return true;
        }
        EXPECT_FALSE(was && (is || place_ - 1 == first_[kind_]))
            << "kind " << kind_ << " of " << now.id << " was passed over";
      }
    }
    return false;
  }

  const bool is_fair_;
  bool is_in_pass_ = false;
  std::vector<Candidate> pass_;  // highest id first
  std::size_t first_[kKinds];    // ready at the begin of the pass
  int kind_ = kKinds;            // how far the pass has got
  std::size_t place_ = 0;
  std::int64_t timers_us_ = kNotYet;  // when its timers came
  bool is_timer_ = false;             // the callback that runs
  std::size_t posts_left_ = 0;
  bool have_posts_run_ = false;
  std::int64_t last_us_ = platform::steady_us();  // when the last callback ended
  int last_wait_ = 0;
};

}  // namespace kiv::test
