#include "platform/module.h"

#include <windows.h>

#include "platform/process.h"
#include "platform/win32/wide.h"

namespace kiv::platform {

namespace {

// The number of this thread's last error, where a thread-local variable would take memory that
// could be missing.
DWORD slot() {
  static const DWORD index = TlsAlloc();
  return index;
}

template <typename T>
T noted(T result, bool failed) {
  if (failed) {
    const DWORD error = GetLastError();
    TlsSetValue(slot(), reinterpret_cast<void*>(static_cast<UINT_PTR>(error)));
  }
  return result;
}

HMODULE handle_of(void* module) {
  return static_cast<HMODULE>(module);
}

}  // namespace

void* module_open(const char* path) noexcept {
  const Wide wide(path);
  if (!wide) return noted<void*>(nullptr, true);
  // A missing library is the caller's to tell, not a box on the screen of a service.
  DWORD old_mode = 0;
  SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &old_mode);
  void* module = LoadLibraryW(wide.get());
  noted(module, module == nullptr);
  SetThreadErrorMode(old_mode, nullptr);
  return module;
}

void* module_find(void* module, const char* name) noexcept {
  void* symbol = reinterpret_cast<void*>(GetProcAddress(handle_of(module), name));
  return noted(symbol, symbol == nullptr);
}

bool module_close(void* module) noexcept {
  const bool closed = FreeLibrary(handle_of(module)) != FALSE;
  return noted(closed, !closed);
}

void module_error(char* out, std::size_t room) noexcept {
  const auto error = static_cast<DWORD>(reinterpret_cast<UINT_PTR>(TlsGetValue(slot())));
  if (error == 0) {
    *out = '\0';
    return;
  }
  SetLastError(error);
  last_error_text(out, room);
}

}  // namespace kiv::platform
