#include "event/post_queue.h"

#include "base/owned.h"

namespace kiv::event {

PostQueue::~PostQueue() {
  while (Post* const taken = take_oldest()) {
    if (taken->release != nullptr) taken->release(taken->argument);
    base::destroy(taken);
  }
}

PostQueue::Added PostQueue::add(const Post& post) noexcept {
  Post* const added = base::make<Post>(post).release();
  if (added == nullptr) return Added::refused;
  const base::Guard guard(lock_);
  ++count_;
  if (!empty()) {
    last_->next = added;
    last_ = added;
    return Added::behind_others;
  }
  last_ = added;
  first_.store(added, std::memory_order_release);
  return Added::first;
}

Post* PostQueue::take_oldest() noexcept {
  const base::Guard guard(lock_);
  Post* const taken = first_.load(std::memory_order_relaxed);
  if (taken == nullptr) return nullptr;
  first_.store(taken->next, std::memory_order_release);
  --count_;
  return taken;
}

std::uint32_t PostQueue::count() noexcept {
  const base::Guard guard(lock_);
  return count_;
}

}  // namespace kiv::event
