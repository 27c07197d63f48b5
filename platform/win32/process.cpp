#include "platform/process.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <cwchar>

#include "platform/win32/wide.h"

namespace kiv::platform {

namespace {

constexpr DWORD kLongest = 32768;  // of a path, and of a variable's value

// Calls fill(buffer, characters) with more room until it fits, which a result below `characters`
// tells, and returns the text as UTF-8.
template <typename Fill>
char* filled(Fill fill) {
  char* text = nullptr;
  for (DWORD room = 256; text == nullptr && room <= kLongest; room *= 2) {
    const Wide wide = Wide::with_room(room);
    if (!wide) return nullptr;
    SetLastError(ERROR_SUCCESS);
    const DWORD length = fill(wide.get(), room);
    const bool is_there = length > 0 || GetLastError() == ERROR_SUCCESS;
    if (is_there && length < room) text = utf8_of(wide.get());
    if (!is_there || length < room) break;
  }
  return text;
}

// The C runtime, whose local time it is, has an environment of its own. Empty: none.
void note_zone(const wchar_t* name, const wchar_t* value) {
  if (_wcsicmp(name, L"TZ") != 0) return;
  _wputenv_s(L"TZ", value);
  _tzset();
}

}  // namespace

std::int32_t process_id() noexcept {
  return static_cast<std::int32_t>(GetCurrentProcessId());
}

char* executable_path() noexcept {
  return filled([](wchar_t* out, DWORD room) { return GetModuleFileNameW(nullptr, out, room); });
}

char* environment_get(const char* name) noexcept {
  const Wide wide(name);
  if (!wide) return nullptr;
  return filled([&](wchar_t* out, DWORD room) {
    *out = L'\0';
    return GetEnvironmentVariableW(wide.get(), out, room);
  });
}

bool environment_set(const char* name, const char* value) noexcept {
  const Wide wide(name), wide_value(value);
  if (!wide || !wide_value) return false;
  note_zone(wide.get(), wide_value.get());
  return SetEnvironmentVariableW(wide.get(), wide_value.get());
}

bool environment_unset(const char* name) noexcept {
  const Wide wide(name);
  if (!wide) return false;
  note_zone(wide.get(), L"");
  return SetEnvironmentVariableW(wide.get(), nullptr) || GetLastError() == ERROR_ENVVAR_NOT_FOUND;
}

bool call_when_forked(void (*)()) noexcept {
  return true;
}

void clear_memory(void* memory, std::size_t size) noexcept {
  SecureZeroMemory(memory, size);
}

void last_error_text(char* out, std::size_t room) noexcept {
  const DWORD error = GetLastError();
  wchar_t text[512];
  DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                error, 0, text, 512, nullptr);
  while (length > 0 && (std::wcschr(L"\r\n .", text[length - 1]) != nullptr)) --length;
  text[length] = L'\0';
  utf8_into(text, out, room);
  if (length == 0) std::snprintf(out, room, "system error %lu", error);
}

}  // namespace kiv::platform
