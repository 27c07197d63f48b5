#include "http/text.h"

#include <algorithm>

#include "base/ascii.h"

namespace kiv::http {

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
  const bool starts = !heap_;
  if (!heap_.resize(size)) {
    heap_.reset();
    text_ = nullptr;
    size_ = length_ = 0;
    return false;
  }
  if (starts) std::memcpy(heap_.get(), first_, length_);
  text_ = heap_.get();
  size_ = size;
  return true;
}

}  // namespace kiv::http
