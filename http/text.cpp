#include "http/text.h"

#include <algorithm>

#include "base/ascii.h"

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

char* TextBuffer::release() noexcept {
  if (text_ == nullptr) return nullptr;
  if (!heap_) return copy_text(first_, length_).release();
  text_[length_] = '\0';
  return heap_.release();
}

bool TextBuffer::grow(std::size_t more) noexcept {
  if (text_ == nullptr) return false;
  const std::size_t size = std::max(length_ + more + 1, size_ * 2);
  void* const grown =
      size > INT32_MAX ? nullptr : _zu_realloc(heap_.get(), static_cast<std::uint32_t>(size));
  if (grown == nullptr) {
    heap_.reset();
    text_ = nullptr;
    size_ = length_ = 0;
    return false;
  }
  if (!heap_) std::memcpy(grown, first_, length_);
  (void)heap_.release();
  heap_.reset(static_cast<char*>(grown));
  text_ = heap_.get();
  size_ = size;
  return true;
}

}  // namespace kiv::http
