#include "platform/win32/wide.h"

#include <windows.h>

#include <cstdio>

#include "platform/heap.h"

namespace kiv::platform {

namespace {

wchar_t* room_for(std::size_t characters) {
  auto* text = static_cast<wchar_t*>(heap_alloc((characters + 1) * sizeof(wchar_t)));
  if (text == nullptr) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  } else {
    *text = L'\0';
  }
  return text;
}

wchar_t* converted(UINT code_page, DWORD flags, const char* text) {
  const int size = MultiByteToWideChar(code_page, flags, text, -1, nullptr, 0);
  if (size <= 0) {
    SetLastError(ERROR_NO_UNICODE_TRANSLATION);
    return nullptr;
  }
  wchar_t* wide = room_for(static_cast<std::size_t>(size));
  if (wide != nullptr) MultiByteToWideChar(code_page, flags, text, -1, wide, size);
  return wide;
}

}  // namespace

Wide::Wide(const char* utf8) noexcept : text_(converted(CP_UTF8, MB_ERR_INVALID_CHARS, utf8)) {}

Wide Wide::with_room(std::size_t characters) noexcept {
  return Wide(room_for(characters));
}

Wide Wide::of_code_page(unsigned code_page, const char* text) noexcept {
  return Wide(converted(code_page, 0, text));
}

Wide::~Wide() {
  heap_free(text_);
}

char* utf8_of(const wchar_t* text) noexcept {
  const int length = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
  char* out = length <= 0 ? nullptr : static_cast<char*>(heap_alloc(std::size_t(length)));
  if (out != nullptr) WideCharToMultiByte(CP_UTF8, 0, text, -1, out, length, nullptr, nullptr);
  return out;
}

void utf8_into(const wchar_t* text, char* out, std::size_t room) noexcept {
  std::size_t used = 0;
  for (std::size_t i = 0; text[i] != L'\0';) {
    const bool pair = IS_HIGH_SURROGATE(text[i]) && IS_LOW_SURROGATE(text[i + 1]);
    char piece[8];
    const int units = pair ? 2 : 1;
    const int length =
        WideCharToMultiByte(CP_UTF8, 0, text + i, units, piece, sizeof piece, nullptr, nullptr);
    if (length <= 0 || used + static_cast<std::size_t>(length) >= room) break;
    for (int k = 0; k < length; ++k) out[used++] = piece[k];
    i += static_cast<std::size_t>(units);
  }
  out[used] = '\0';
}

}  // namespace kiv::platform
