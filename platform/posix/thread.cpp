#include "platform/thread.h"

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <new>

#include "platform/heap.h"

namespace kiv::platform {

namespace {

// Thread-local storage lies on the stack too, which under the sanitizers is large.
constexpr std::size_t kSmallestStack = 1024 * 1024;

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

struct Event {
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  pthread_cond_t changed = PTHREAD_COND_INITIALIZER;
  bool is_set = false;
};

Event* event_of(std::uintptr_t handle) {
  return reinterpret_cast<Event*>(handle);
}

}  // namespace

std::int32_t current_thread_id() noexcept {
  // Kept, as boxes ask at every operation. A child process keeps its parent's number, and with it
  // its place as the owner of what it made before the fork.
  thread_local const auto id = static_cast<std::int32_t>(syscall(SYS_gettid));
  return id;
}

namespace {
thread_local void* value_of_thread = nullptr;
}

void set_thread_value(void* value) noexcept {
  value_of_thread = value;
}
void* thread_value() noexcept {
  return value_of_thread;
}

std::uintptr_t thread_start(ThreadEntry entry, void* argument, std::uint32_t stack_bytes) noexcept {
  auto* start = static_cast<Start*>(heap_alloc(sizeof(Start)));
  if (start == nullptr) return 0;
  *start = {entry, argument};
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, std::max<std::size_t>(stack_bytes, kSmallestStack));
  pthread_t thread;
  const int error = pthread_create(&thread, &attributes, run, start);
  pthread_attr_destroy(&attributes);
  if (error != 0) {
    heap_free(start);
    return 0;
  }
  static_assert(sizeof(pthread_t) <= sizeof(std::uintptr_t));
  return static_cast<std::uintptr_t>(thread);
}

void thread_close(std::uintptr_t thread) noexcept {
  pthread_detach(static_cast<pthread_t>(thread));
}

std::uintptr_t event_make() noexcept {
  void* memory = heap_alloc(sizeof(Event));
  return memory == nullptr ? 0 : reinterpret_cast<std::uintptr_t>(new (memory) Event);
}

void event_set(std::uintptr_t handle) noexcept {
  Event* event = event_of(handle);
  pthread_mutex_lock(&event->mutex);
  event->is_set = true;
  // Within the lock: once it is released, the event may be gone.
  pthread_cond_signal(&event->changed);
  pthread_mutex_unlock(&event->mutex);
}

void event_wait(std::uintptr_t handle) noexcept {
  Event* event = event_of(handle);
  pthread_mutex_lock(&event->mutex);
  while (!event->is_set) pthread_cond_wait(&event->changed, &event->mutex);
  event->is_set = false;
  pthread_mutex_unlock(&event->mutex);
}

void event_close(std::uintptr_t handle) noexcept {
  Event* event = event_of(handle);
  pthread_cond_destroy(&event->changed);
  pthread_mutex_destroy(&event->mutex);
  heap_free(event);
}

}  // namespace kiv::platform
