// Threads, their ids, and events that one waits for.
#pragma once

#include <cstdint>

namespace kiv::platform {

// The system's own number of the calling thread: positive and unique among live threads.
std::int32_t current_thread_id() noexcept;

// A value of the calling thread's own, null at first.
void set_thread_value(void* value) noexcept;
void* thread_value() noexcept;

using ThreadEntry = void (*)(void* argument);

// Starts a detached thread that runs entry(argument) and ends when it returns, on a stack of
// `stack_bytes` or, where that would not do, more. The library stays loaded as long as the thread
// runs. Returns false if no thread could be made.
bool start_thread(ThreadEntry entry, void* argument, std::uint32_t stack_bytes) noexcept;

// wait() returns once the event is set and resets it again. The thread that waited may destroy it
// at once, while set() has yet to return.
class Event {
 public:
  Event() noexcept;
  ~Event();
  Event(const Event&) = delete;
  Event& operator=(const Event&) = delete;

  // False if none could be made; it must not be set or waited for.
  explicit operator bool() const noexcept { return system_event_ != nullptr; }
  void set() noexcept;
  void wait() noexcept;

 private:
  void* system_event_;
};

}  // namespace kiv::platform
