// Threads and their ids.
#pragma once

#include <cstdint>

namespace kiv::platform {

// The system's own number of the calling thread: positive and unique among live threads.
std::int32_t current_thread_id() noexcept;

using ThreadEntry = void (*)(void* argument);

// Starts a thread that runs entry(argument) and ends when it returns. The handle goes to
// thread_join exactly once; 0 when no thread could be made.
std::uintptr_t thread_start(ThreadEntry entry, void* argument) noexcept;
void thread_join(std::uintptr_t thread) noexcept;

}  // namespace kiv::platform
