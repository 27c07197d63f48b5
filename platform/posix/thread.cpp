#include "platform/thread.h"

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/heap.h"

namespace kiv::platform {

namespace {

struct Start {
  ThreadEntry entry;
  void* argument;
};

void* run(void* start_memory) {
  const Start start = *static_cast<Start*>(start_memory);
  heap_free(start_memory);
  start.entry(start.argument);
  return nullptr;
}

}  // namespace

std::int32_t current_thread_id() noexcept {
  // Kept, as boxes ask at every operation. A child process keeps its parent's number, and with it
  // its place as the owner of what it made before the fork.
  thread_local const auto id = static_cast<std::int32_t>(syscall(SYS_gettid));
  return id;
}

std::uintptr_t thread_start(ThreadEntry entry, void* argument) noexcept {
  auto* start = static_cast<Start*>(heap_alloc(sizeof(Start)));
  if (start == nullptr) return 0;
  *start = {entry, argument};
  pthread_t thread;
  if (pthread_create(&thread, nullptr, run, start) != 0) {
    heap_free(start);
    return 0;
  }
  static_assert(sizeof(pthread_t) <= sizeof(std::uintptr_t));
  return static_cast<std::uintptr_t>(thread);
}

void thread_join(std::uintptr_t thread) noexcept {
  pthread_join(static_cast<pthread_t>(thread), nullptr);
}

}  // namespace kiv::platform
