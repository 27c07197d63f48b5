#include "http/text.h"

#include <algorithm>

#include "base/text.h"

namespace kiv::http {

OwnedText copy_text(const char* text, std::size_t length) noexcept {
  auto copy = OwnedText::allocate(length + 1);
  if (copy) {
    std::memcpy(copy.get(), text, length);
    copy[length] = '\0';
  }
  return copy;
}

std::int64_t leading_number(const char* text) noexcept {
  while (base::is_space(*text)) ++text;
  const bool negative = *text == '-';
  if (*text == '-' || *text == '+') ++text;
  std::int64_t value = 0;
  for (; base::is_digit(*text); ++text) value = std::min(value * 10 + (*text - '0'), kHugeNumber);
  return negative ? -value : value;
}

std::int32_t leading_int32(const char* text) noexcept {
  return static_cast<std::int32_t>(
      std::clamp(leading_number(text), std::int64_t{INT32_MIN}, std::int64_t{INT32_MAX}));
}

TextBuffer::TextBuffer(std::size_t first_size) noexcept
    : text_(OwnedText::allocate(first_size)), size_(first_size) {}

char* TextBuffer::extend(std::size_t length) noexcept {
  if (!reserve(length)) return nullptr;
  char* const room = text_.get() + length_;
  length_ += length;
  return room;
}

char* TextBuffer::release() noexcept {
  if (!reserve(0)) return nullptr;
  text_[length_] = '\0';
  return text_.release();
}

bool TextBuffer::reserve(std::size_t more) noexcept {
  if (!text_) return false;
  const std::size_t needed = length_ + more + 1;
  if (needed <= size_) return true;
  const std::size_t size = std::max(needed, size_ * 2);
  void* const grown =
      size > INT32_MAX ? nullptr : _zu_realloc(text_.get(), static_cast<std::uint32_t>(size));
  if (grown == nullptr) {
    text_.reset();
    return false;
  }
  (void)text_.release();
  text_.reset(static_cast<char*>(grown));
  size_ = size;
  return true;
}

}  // namespace kiv::http
