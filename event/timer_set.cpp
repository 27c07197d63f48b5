#include "event/timer_set.h"

#include <cstddef>
#include <new>

#include "base/owned.h"

namespace kiv::event {

struct Lane {
  TimerNode* prev;
  TimerNode* next;
};

// A node of the list; its data is the record behind it. Its lanes follow it in memory.
struct TimerNode {
  zu_list link;
  TimerRecord record;
  std::int32_t height;  // number of its lanes

  Lane* lanes() { return reinterpret_cast<Lane*>(this + 1); }
};

namespace {

static_assert(sizeof(TimerNode) % alignof(Lane) == 0);
static_assert(sizeof(void*) != 4 || (sizeof(TimerRecord) == 36 && offsetof(TimerRecord, id) == 8 &&
                                     offsetof(TimerRecord, kind) == 20));
static_assert(sizeof(void*) != 4 ||
              (offsetof(TimerSet, count) == 4 && offsetof(TimerSet, current) == 8));

TimerNode* node_at(zu_list* link) {
  return reinterpret_cast<TimerNode*>(link);
}

// Geometric: one node in four gets a lane, one of these in four a second one. Marsaglia's xorshift.
int random_height(std::uint32_t& state) {
  state ^= state << 13;
  state ^= state >> 17;
  state ^= state << 5;
  int height = 0;
  for (std::uint32_t bits = state; height < TimerSet::kLanes && (bits & 3) == 0; bits >>= 2) {
    ++height;
  }
  return height;
}

TimerNode* make_node(const TimerRecord& record, int height) {
  auto memory = base::Owned<char>::allocate(sizeof(TimerNode) +
                                            static_cast<std::size_t>(height) * sizeof(Lane));
  if (!memory) return nullptr;
  auto* node = new (memory.release()) TimerNode{{}, record, height};
  node->link.data = &node->record;
  return node;
}

// Links a node before the first timer that is not due earlier.
// deliberate: a new timer goes before those of the same due time; applications rely on this order.
void link_sorted(TimerSet& set, TimerNode* node) {
  const auto goes_on = [&](TimerNode* next) {
    return next != nullptr && earlier(next->record.due, node->record.due);
  };
  TimerNode* before = nullptr;  // null: the heads
  for (int lane = TimerSet::kLanes - 1; lane >= 0; --lane) {
    TimerNode* next = before != nullptr ? before->lanes()[lane].next : set.lanes[lane];
    while (goes_on(next)) {
      before = next;
      next = before->lanes()[lane].next;
    }
    if (lane >= node->height) continue;
    node->lanes()[lane] = {before, next};
    (before != nullptr ? before->lanes()[lane].next : set.lanes[lane]) = node;
    if (next != nullptr) next->lanes()[lane].prev = node;
  }
  zu_list* last = before != nullptr ? &before->link : nullptr;
  zu_list* next = last != nullptr ? last->next : set.first;
  while (next != nullptr && goes_on(node_at(next))) {
    last = next;
    next = next->next;
  }
  node->link.prev = last;
  node->link.next = next;
  (last != nullptr ? last->next : set.first) = &node->link;
  if (next != nullptr) next->prev = &node->link;
}

void unlink(TimerSet& set, TimerNode* node) {
  for (int lane = 0; lane < node->height; ++lane) {
    const auto [prev, next] = node->lanes()[lane];
    (prev != nullptr ? prev->lanes()[lane].next : set.lanes[lane]) = next;
    if (next != nullptr) next->lanes()[lane].prev = prev;
  }
  zu_list* const prev = node->link.prev;
  zu_list* const next = node->link.next;
  (prev != nullptr ? prev->next : set.first) = next;
  if (next != nullptr) next->prev = prev;
}

// deliberate: counts from the former due time, not from now; a late timer catches up in a burst.
void reschedule(TimerSet& set, TimerNode* node, std::uint32_t interval_ms) {
  unlink(set, node);
  node->record.due = later_by(node->record.due, interval_ms);
  link_sorted(set, node);
}

void discard(TimerSet& set, TimerNode* node) {
  unlink(set, node);
  set.index.erase(node->record.id);
  --set.count;
  _zu_free(node);
}

}  // namespace

bool TimerSet::add(const TimerRecord& timer, const Moment& now) noexcept {
  if (timer.id < 0 || timer.limit < 1 || timer.callback == nullptr || timer.interval_ms == 0 ||
      timer.count >= timer.limit || index.find(timer.id) != nullptr) {
    return false;
  }
  TimerNode* const node = make_node(timer, random_height(random));
  if (node == nullptr) return false;
  if (!index.insert(timer.id, node)) {
    _zu_free(node);
    return false;
  }
  node->record.due = later_by(now, timer.interval_ms);
  link_sorted(*this, node);
  ++count;
  return true;
}

bool TimerSet::refresh(std::int32_t id, std::uint32_t interval_ms, zu_event_fn callback,
                       void* user) noexcept {
  auto* node = static_cast<TimerNode*>(index.find(id));
  if (node == nullptr) return false;
  node->record.callback = callback;
  node->record.user = user;
  reschedule(*this, node, interval_ms);
  return true;
}

bool TimerSet::remove(std::int32_t id) noexcept {
  auto* node = static_cast<TimerNode*>(index.find(id));
  if (node == nullptr) return false;
  discard(*this, node);
  return true;
}

void TimerSet::clear() noexcept {
  for (zu_list* link = first; link != nullptr;) {
    zu_list* const next = link->next;
    _zu_free(node_at(link));
    link = next;
  }
  first = nullptr;
  count = 0;
  for (TimerNode*& head : lanes) head = nullptr;
  index.clear();
}

const TimerRecord* TimerSet::earliest() const noexcept {
  return first == nullptr ? nullptr : &node_at(first)->record;
}

bool TimerSet::take_due(const Moment& now, Call* call) noexcept {
  if (first == nullptr || earlier(now, earliest()->due)) return false;
  TimerNode* const node = node_at(first);
  TimerRecord& timer = node->record;
  *call = {timer.callback, timer.user};
  current.store(timer.id, std::memory_order_relaxed);
  const bool again = timer.kind == TimerKind::loop ||
                     (timer.kind == TimerKind::limit && ++timer.count < timer.limit);
  if (again) {
    reschedule(*this, node, timer.interval_ms);
  } else {
    discard(*this, node);
  }
  return true;
}

}  // namespace kiv::event
