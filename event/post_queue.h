// Functions that other threads post to the loop of a box.
#pragma once

#include <atomic>

#include "base/lock.h"
#include "base/owned.h"
#include "kiv_base/event.h"

namespace kiv::event {

struct Post {
  zu_box_post_fn run = nullptr;
  void* argument = nullptr;
  zu_event_fn release = nullptr;  // for one that is never run
  void* handle = nullptr;         // what it gets first

  Post* next = nullptr;
};

// Its own lock guards it: the loop takes posts before each wait, whoever holds the box.
class PostQueue {
 public:
  PostQueue() = default;
  ~PostQueue();
  PostQueue(const PostQueue&) = delete;
  PostQueue& operator=(const PostQueue&) = delete;

  bool empty() const { return first_.load(std::memory_order_acquire) == nullptr; }

  enum class Added { refused, first, behind_others };
  // `first` tells that nobody has woken the loop for those that wait; refused if out of memory.
  Added add(const Post& post) noexcept;
  // Takes the oldest out; null when there is none. The caller destroys it.
  Post* take_oldest() noexcept;
  // Runs what has been posted so far, in its order, until `stop()`.
  template <typename Stop>
  void run(Stop stop) {
    for (std::uint32_t left = count(); left > 0 && !stop(); --left) {
      Post* const taken = take_oldest();
      const Post post = *taken;
      base::destroy(taken);
      post.run(post.handle, post.argument);
    }
  }

 private:
  std::uint32_t count() noexcept;

  base::RecursiveLock lock_;
  std::atomic<Post*> first_{nullptr};
  Post* last_ = nullptr;
  std::uint32_t count_ = 0;
};

}  // namespace kiv::event
