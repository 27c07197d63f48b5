#include "platform/thread.h"

#include <process.h>
#include <windows.h>

#include "platform/heap.h"

namespace kiv::platform {

namespace {

struct Start {
  ThreadEntry entry;
  void* argument;
  HMODULE module;
};

// The module of this code, counted once more: it stays loaded until that is given back.
HMODULE hold_module() {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                     reinterpret_cast<LPCWSTR>(&hold_module), &module);
  return module;
}

unsigned __stdcall run_thread(void* start_memory) {
  const Start start = *static_cast<Start*>(start_memory);
  heap_free(start_memory);
  start.entry(start.argument);
  // Nobody waits for the thread, so the program may have unloaded the library by now.
  FreeLibraryAndExitThread(start.module, 0);
}

}  // namespace

std::int32_t current_thread_id() noexcept {
  return static_cast<std::int32_t>(GetCurrentThreadId());
}

namespace {
// Where the system has no place left, threads have no value.
DWORD value_place() {
  static const DWORD place = TlsAlloc();
  return place;
}
}  // namespace

void set_thread_value(void* value) noexcept {
  TlsSetValue(value_place(), value);
}
void* thread_value() noexcept {
  return TlsGetValue(value_place());
}

bool start_thread(ThreadEntry entry, void* argument, std::uint32_t stack_bytes) noexcept {
  auto* start = static_cast<Start*>(heap_alloc(sizeof(Start)));
  if (start == nullptr) return false;
  *start = {entry, argument, hold_module()};
  // Reserved rather than committed: at the program's own stack size a thousand threads would not
  // fit into 32 bits of addresses.
  const std::uintptr_t thread = _beginthreadex(nullptr, stack_bytes, run_thread, start,
                                               STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
  if (thread == 0) {
    FreeLibrary(start->module);
    heap_free(start);
    return false;
  }
  CloseHandle(reinterpret_cast<HANDLE>(thread));
  return true;
}

Event::Event() noexcept : system_event_(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}

Event::~Event() {
  if (system_event_ != nullptr) CloseHandle(system_event_);
}

void Event::set() noexcept {
  SetEvent(system_event_);
}

void Event::wait() noexcept {
  WaitForSingleObject(system_event_, INFINITE);
}

}  // namespace kiv::platform
