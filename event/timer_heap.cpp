#include "event/timer_heap.h"

#include <algorithm>

namespace kiv::event {
namespace {

constexpr std::uint32_t kChildren = 4;
constexpr std::uint32_t kFirstCapacity = 8;

}  // namespace

bool TimerHeap::reserve() noexcept {
  if (count_ < capacity_) return true;
  const std::uint32_t larger = std::max(kFirstCapacity, capacity_ * 2);
  auto fresh = base::RawStorage<Entry>::allocate(larger);
  if (!fresh) return false;
  std::copy_n(entries_.get(), count_, fresh.get());
  entries_ = std::move(fresh);
  capacity_ = larger;
  return true;
}

void TimerHeap::add(Timer& timer, std::int64_t earliest_us) noexcept {
  rise(count_++, {std::max(timer.due_us, earliest_us), ++scheduled_, &timer});
}

void TimerHeap::remove(Timer& timer) noexcept {
  if (timer.place == kNotScheduled) return;
  const auto gap = static_cast<std::uint32_t>(timer.place);
  timer.place = kNotScheduled;
  const Entry last = entries_[--count_];
  if (last.timer != &timer) settle(gap, last);
}

void TimerHeap::move(Timer& timer, std::int64_t earliest_us) noexcept {
  settle(static_cast<std::uint32_t>(timer.place),
         {std::max(timer.due_us, earliest_us), ++scheduled_, &timer});
}

void TimerHeap::put(std::uint32_t place, const Entry& entry) noexcept {
  entries_[place] = entry;
  entry.timer->place = static_cast<std::int32_t>(place);
}

void TimerHeap::rise(std::uint32_t place, const Entry& entry) noexcept {
  while (place > 0) {
    const std::uint32_t parent = (place - 1) / kChildren;
    if (!entry.before(entries_[parent])) break;
    put(place, entries_[parent]);
    place = parent;
  }
  put(place, entry);
}

void TimerHeap::sink(std::uint32_t place, const Entry& entry) noexcept {
  for (;;) {
    const std::uint32_t first = place * kChildren + 1;
    if (first >= count_) break;
    const std::uint32_t end = std::min(first + kChildren, count_);
    std::uint32_t best = first;
    for (std::uint32_t child = first + 1; child < end; ++child) {
      if (entries_[child].before(entries_[best])) best = child;
    }
    if (!entries_[best].before(entry)) break;
    put(place, entries_[best]);
    place = best;
  }
  put(place, entry);
}

void TimerHeap::settle(std::uint32_t place, const Entry& entry) noexcept {
  if (place > 0 && entry.before(entries_[(place - 1) / kChildren])) {
    rise(place, entry);
  } else {
    sink(place, entry);
  }
}

}  // namespace kiv::event
