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

void* run_thread(void* start_memory) {
  const Start start = *static_cast<Start*>(start_memory);
  heap_free(start_memory);
  start.entry(start.argument);
  return nullptr;
}

struct SystemEvent {
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  pthread_cond_t changed = PTHREAD_COND_INITIALIZER;
  bool is_set = false;
};

SystemEvent& event_of(void* memory) {
  return *static_cast<SystemEvent*>(memory);
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

bool start_thread(ThreadEntry entry, void* argument, std::uint32_t stack_bytes) noexcept {
  auto* start = static_cast<Start*>(heap_alloc(sizeof(Start)));
  if (start == nullptr) return false;
  *start = {entry, argument};
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, std::max<std::size_t>(stack_bytes, kSmallestStack));
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  pthread_t thread;
  const int error = pthread_create(&thread, &attributes, run_thread, start);
  pthread_attr_destroy(&attributes);
  if (error != 0) heap_free(start);
  return error == 0;
}

Event::Event() noexcept : system_event_(heap_alloc(sizeof(SystemEvent))) {
  if (system_event_ != nullptr) new (system_event_) SystemEvent;
}

Event::~Event() {
  if (system_event_ == nullptr) return;
  pthread_cond_destroy(&event_of(system_event_).changed);
  pthread_mutex_destroy(&event_of(system_event_).mutex);
  heap_free(system_event_);
}

void Event::set() noexcept {
  SystemEvent& event = event_of(system_event_);
  pthread_mutex_lock(&event.mutex);
  event.is_set = true;
  // Within the lock: once it is released, the event may be gone.
  pthread_cond_signal(&event.changed);
  pthread_mutex_unlock(&event.mutex);
}

void Event::wait() noexcept {
  SystemEvent& event = event_of(system_event_);
  pthread_mutex_lock(&event.mutex);
  while (!event.is_set) pthread_cond_wait(&event.changed, &event.mutex);
  event.is_set = false;
  pthread_mutex_unlock(&event.mutex);
}

}  // namespace kiv::platform
