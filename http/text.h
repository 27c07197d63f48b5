// Texts of the HTTP family: owned, read as numbers, and written piece by piece.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "base/str.h"

namespace kiv::http {

using base::copy_text;
using base::FreedBy;
using OwnedText = base::RawStorage<char>;

// The number a text begins with, as atoi reads it, kept within +-kHugeNumber or the int32 range; 0
// when there is none.
inline constexpr std::int64_t kHugeNumber = std::int64_t{1} << 40;
std::int64_t leading_number(const char* text) noexcept;
std::int32_t leading_int32(const char* text) noexcept;

// A text that grows as it is written: on the stack first, so that a short one costs a single
// allocation of its size. Once memory runs out it stays empty.
class TextBuffer {
 public:
  TextBuffer() noexcept {}
  TextBuffer(const TextBuffer&) = delete;
  TextBuffer& operator=(const TextBuffer&) = delete;

  // Room for `length` bytes more, which are part of the text from here on; null if out of memory.
  char* extend(std::size_t length) noexcept {
    if (length >= size_ - length_ && !grow(length)) return nullptr;
    char* const room = text_ + length_;
    length_ += length;
    return room;
  }

  void put(const char* text, std::size_t length) noexcept {
    if (char* const room = extend(length)) std::memcpy(room, text, length);
  }
  void put(std::string_view text) noexcept { put(text.data(), text.size()); }

  void drop_last(std::size_t count = 1) noexcept { length_ -= std::min(count, length_); }
  std::size_t length() const noexcept { return length_; }

  // The text with a terminator, null if out of memory.
  char* release() noexcept;

 private:
  bool grow(std::size_t more) noexcept;

  char first_[2048];
  OwnedText heap_;                    // empty while first_ is enough
  char* text_ = first_;               // null once memory ran out
  std::size_t size_ = sizeof first_;  // above length_, but for 0 once memory ran out
  std::size_t length_ = 0;
};

}  // namespace kiv::http
