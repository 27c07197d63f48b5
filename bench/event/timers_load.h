// Timers among many, on a loop of type `Timers`: what adding one, removing one and firing one costs
// in processor time.
//
//   Timers(Firing*)              its callbacks call fired(), and the last one ends run()
//   Id add(milliseconds)
//   void remove(Id)
//   void run()
#ifndef KIV_BENCH_EVENT_TIMERS_LOAD_H
#define KIV_BENCH_EVENT_TIMERS_LOAD_H

#include <cstdint>
#include <random>
#include <utility>
#include <vector>

#include "bench/harness/process.h"

namespace bench {

// From the start of the loop to the last callback, so that ending a loop is not measured.
class Firing {
 public:
  explicit Firing(std::size_t count) : left_(count), count_(count) {}
  void start() { start_ = cpu_seconds(); }
  // True for the last one.
  bool fired() {
    if (--left_ > 0) return false;
    seconds_ = cpu_seconds() - start_;
    return true;
  }
  double seconds_each() const { return seconds_ / static_cast<double>(count_); }

 private:
  std::size_t left_, count_;
  double start_ = 0, seconds_ = 0;
};

template <typename Timers>
void measure_add_and_remove(std::size_t count) {
  constexpr std::uint32_t kHourMs = 3600 * 1000;
  constexpr double kSeconds = 0.3;
  std::minstd_rand random(1);
  Timers timers(nullptr);
  std::vector<typename Timers::Id> ids;
  const auto add = [&] {
    ids.push_back(timers.add(kHourMs + static_cast<std::uint32_t>(random() % kHourMs)));
  };
  while (ids.size() < count) add();
  const std::size_t batch = std::max<std::size_t>(count / 10, 100);
  double adding = 0, removing = 0, done = 0;
  while (adding + removing < kSeconds) {
    const double start = cpu_seconds();
    while (ids.size() < count + batch) add();
    const double between = cpu_seconds();
    while (ids.size() > count) {
      std::swap(ids[random() % ids.size()], ids.back());
      timers.remove(ids.back());
      ids.pop_back();
    }
    adding += between - start;
    removing += cpu_seconds() - between;
    done += static_cast<double>(batch);
  }
  report("add_ns", adding / done * 1e9);
  report("remove_ns", removing / done * 1e9);
}

template <typename Timers>
void measure_fire(std::size_t count) {
  constexpr std::uint32_t kSpreadMs = 20;
  constexpr int kTimes = 5;
  std::minstd_rand random(1);
  double best = 1;
  for (int i = 0; i < kTimes; ++i) {
    Firing firing(count);
    Timers timers(&firing);
    for (std::size_t n = 0; n < count; ++n) {
      timers.add(1 + static_cast<std::uint32_t>(random() % kSpreadMs));
    }
    const double all_due = now() + (kSpreadMs + 1) / 1000.0;
    while (now() < all_due) {
    }
    firing.start();
    timers.run();
    best = std::min(best, firing.seconds_each());
  }
  report("fire_ns", best * 1e9);
}

template <typename Timers>
void measure_timers(std::size_t count) {
  measure_add_and_remove<Timers>(count);
  measure_fire<Timers>(count);
}

}  // namespace bench

#endif
