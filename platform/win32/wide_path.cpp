#include "platform/win32/wide_path.h"

#include <windows.h>

#include <cwchar>

#include "platform/heap.h"

namespace kiv::platform {

namespace {

// A directory's name leaves room for that of a file in it, so its limit comes first.
constexpr std::size_t kLongestShortPath = 247;

bool is_prefixed(const wchar_t* path) {
  return std::wcsncmp(path, L"\\\\?\\", 4) == 0 || std::wcsncmp(path, L"\\\\.\\", 4) == 0;
}

// The system does not normalise a path in the long form: it must be absolute, and contain only "\".
Wide long_form(const wchar_t* path) {
  const DWORD room = GetFullPathNameW(path, 0, nullptr, nullptr);
  const Wide full = Wide::with_room(room);
  Wide prefixed = Wide::with_room(room + 8);
  if (room == 0 || !full || !prefixed ||
      GetFullPathNameW(path, room, full.get(), nullptr) >= room) {
    heap_free(prefixed.release());
    return prefixed;
  }
  const wchar_t* rest = full.get();
  if (!is_prefixed(rest)) {
    const bool share = rest[0] == L'\\' && rest[1] == L'\\';
    std::wcscpy(prefixed.get(), share ? L"\\\\?\\UNC\\" : L"\\\\?\\");
    if (share) rest += 2;
  }
  std::wcscat(prefixed.get(), rest);
  return prefixed;
}

}  // namespace

Wide wide_path(const char* utf8, bool always_long) noexcept {
  Wide wide(utf8);
  const bool fits = wide && !always_long && std::wcslen(wide.get()) <= kLongestShortPath;
  if (!wide || fits || is_prefixed(wide.get())) return wide;
  return long_form(wide.get());
}

Wide narrow_path(const char* text) noexcept {
  return Wide::of_code_page(AreFileApisANSI() ? CP_ACP : CP_OEMCP, text);
}

Wide joined_path(const wchar_t* path, const wchar_t* name) noexcept {
  const std::size_t length = std::wcslen(path);
  Wide both = Wide::with_room(length + 1 + std::wcslen(name));
  if (!both) return both;
  std::wcscpy(both.get(), path);
  if (length > 0 && path[length - 1] != L'\\') std::wcscat(both.get(), L"\\");
  std::wcscat(both.get(), name);
  return both;
}

}  // namespace kiv::platform
