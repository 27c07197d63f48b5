// Texts of the library, which are UTF-8, as the system's calls take and give them.
#pragma once

#include <cstddef>

namespace kiv::platform {

// A text in UTF-16; without memory, and for what is no UTF-8, there is none.
class Wide {
 public:
  explicit Wide(const char* utf8) noexcept;
  ~Wide();
  Wide(const Wide&) = delete;
  Wide& operator=(const Wide&) = delete;

  explicit operator bool() const { return text_ != nullptr; }
  wchar_t* get() const { return text_; }

 private:
  wchar_t* text_ = nullptr;
};

// The reverse, new on the process heap; null without memory. Half a surrogate pair becomes U+FFFD.
char* utf8_of(const wchar_t* text) noexcept;

// Into a buffer, cut to whole characters.
void utf8_into(const wchar_t* text, char* out, std::size_t room) noexcept;

}  // namespace kiv::platform
