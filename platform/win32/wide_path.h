// Paths as the calls of the system take them.
#pragma once

#include <cstddef>

namespace kiv::platform {

// Owns a terminated wide text of the process heap; empty when there was none or no memory.
class WidePath {
 public:
  // A path from UTF-8, in the form without a limit of length when it needs that or `always_long`;
  // empty when it is no UTF-8.
  static WidePath path(const char* utf8, bool always_long = false);
  // From the system's narrow characters, as it stands.
  static WidePath of_narrow(const char* text);
  // Not initialised, but for the zero at its beginning.
  static WidePath with_room(std::size_t characters);
  // `path\name`.
  static WidePath joined(const wchar_t* path, const wchar_t* name);

  ~WidePath();
  WidePath(WidePath&& other) noexcept : text_(other.release()) {}
  WidePath& operator=(WidePath&&) = delete;
  WidePath(const WidePath&) = delete;

  explicit operator bool() const { return text_ != nullptr; }
  wchar_t* get() const { return text_; }
  wchar_t* release() {
    wchar_t* text = text_;
    text_ = nullptr;
    return text;
  }

 private:
  explicit WidePath(wchar_t* text) : text_(text) {}

  wchar_t* text_;
};

}  // namespace kiv::platform
