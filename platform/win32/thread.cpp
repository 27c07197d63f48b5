#include "platform/thread.h"

#include <process.h>
#include <windows.h>

#include "platform/heap.h"

namespace kiv::platform {

namespace {

struct Start {
  ThreadEntry entry;
  void* argument;
};

unsigned __stdcall run(void* start_memory) {
  const Start start = *static_cast<Start*>(start_memory);
  heap_free(start_memory);
  start.entry(start.argument);
  return 0;
}

}  // namespace

std::int32_t current_thread_id() noexcept {
  return static_cast<std::int32_t>(GetCurrentThreadId());
}

std::uintptr_t thread_start(ThreadEntry entry, void* argument) noexcept {
  auto* start = static_cast<Start*>(heap_alloc(sizeof(Start)));
  if (start == nullptr) return 0;
  *start = {entry, argument};
  const std::uintptr_t thread = _beginthreadex(nullptr, 0, run, start, 0, nullptr);
  if (thread == 0) heap_free(start);
  return thread;
}

void thread_join(std::uintptr_t thread) noexcept {
  const auto handle = reinterpret_cast<HANDLE>(thread);
  WaitForSingleObject(handle, INFINITE);
  CloseHandle(handle);
}

}  // namespace kiv::platform
