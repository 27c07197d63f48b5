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

WidePath converted(const char* text, UINT code_page, DWORD flags) {
  const int size = MultiByteToWideChar(code_page, flags, text, -1, nullptr, 0);
  WidePath wide = WidePath::with_room(static_cast<std::size_t>(size));
  if (wide &&
      (size == 0 || MultiByteToWideChar(code_page, flags, text, -1, wide.get(), size) != size)) {
    heap_free(wide.release());
  }
  return wide;
}

// What the long form takes is looked at no more: full, and with "\" alone.
WidePath long_form(const wchar_t* path) {
  const DWORD room = GetFullPathNameW(path, 0, nullptr, nullptr);
  const WidePath full = WidePath::with_room(room);
  WidePath prefixed = WidePath::with_room(room + 8);
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

WidePath::~WidePath() {
  heap_free(text_);
}

WidePath WidePath::with_room(std::size_t characters) {
  WidePath made(static_cast<wchar_t*>(heap_alloc((characters + 1) * sizeof(wchar_t))));
  if (made) *made.get() = L'\0';
  return made;
}

WidePath WidePath::path(const char* utf8, bool always_long) {
  WidePath wide = converted(utf8, CP_UTF8, MB_ERR_INVALID_CHARS);
  const bool fits = wide && !always_long && std::wcslen(wide.get()) <= kLongestShortPath;
  if (!wide || fits || is_prefixed(wide.get())) return wide;
  return long_form(wide.get());
}

WidePath WidePath::of_narrow(const char* text) {
  return converted(text, AreFileApisANSI() ? CP_ACP : CP_OEMCP, 0);
}

WidePath WidePath::joined(const wchar_t* path, const wchar_t* name) {
  const std::size_t length = std::wcslen(path);
  WidePath both = with_room(length + 1 + std::wcslen(name));
  if (!both) return both;
  std::wcscpy(both.get(), path);
  if (length > 0 && path[length - 1] != L'\\') std::wcscat(both.get(), L"\\");
  std::wcscat(both.get(), name);
  return both;
}

}  // namespace kiv::platform
