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

// Starts a thread that runs entry(argument) and ends when it returns, on a stack of `stack_bytes`
// or, where that would not do, more. The library stays loaded as long as the thread runs. The
// handle goes to thread_close exactly once, which the thread does not notice; 0 when no thread
// could be made.
std::uintptr_t thread_start(ThreadEntry entry, void* argument, std::uint32_t stack_bytes) noexcept;
void thread_close(std::uintptr_t thread) noexcept;

// An event: event_wait returns once it is set and resets it again. 0 when none could be made. The
// thread that waited may close it at once, while event_set has yet to return.
std::uintptr_t event_make() noexcept;
void event_set(std::uintptr_t event) noexcept;
void event_wait(std::uintptr_t event) noexcept;
void event_close(std::uintptr_t event) noexcept;

}  // namespace kiv::platform
