// Texts of the library, which are UTF-8, as the system's calls take and give them.
#pragma once

#include <cstddef>

namespace kiv::platform {

// Owns a terminated UTF-16 text of the process heap. When there is none (no memory, no UTF-8), the
// system's last error tells why.
class Wide {
 public:
  explicit Wide(const char* utf8) noexcept;
  // Not initialised, but for the zero at its beginning.
  static Wide with_room(std::size_t characters) noexcept;
  // From the characters of one of the system's code pages.
  static Wide of_code_page(unsigned code_page, const char* text) noexcept;

  ~Wide();
  Wide(Wide&& other) noexcept : text_(other.release()) {}
  Wide& operator=(Wide&&) = delete;
  Wide(const Wide&) = delete;

  explicit operator bool() const { return text_ != nullptr; }
  wchar_t* get() const { return text_; }
  wchar_t* release() {
    wchar_t* text = text_;
    text_ = nullptr;
    return text;
  }

 private:
  explicit Wide(wchar_t* text) : text_(text) {}

  wchar_t* text_;
};

// The reverse, new on the process heap; null if out of memory. Half a surrogate pair becomes
// U+FFFD.
char* utf8_of(const wchar_t* text) noexcept;

// Into a buffer, cut to whole characters.
void utf8_into(const wchar_t* text, char* out, std::size_t room) noexcept;

}  // namespace kiv::platform
