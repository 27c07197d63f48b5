// A text that grows, on the process heap. Once memory has run out it stays empty-handed: callers
// append all they have and ask at the end.
#pragma once

#include <cstddef>
#include <cstring>

#include "platform/heap.h"

namespace kiv::platform {

class TextBuffer {
 public:
  TextBuffer() = default;
  ~TextBuffer() { heap_free(text_); }
  TextBuffer(const TextBuffer&) = delete;
  TextBuffer& operator=(const TextBuffer&) = delete;

  void append(char c) { append(&c, 1); }
  void append(const char* text) { append(text, std::strlen(text)); }
  void append(const char* text, std::size_t length) {
    if (!reserve(length)) return;
    std::memcpy(text_ + length_, text, length);
    length_ += length;
    text_[length_] = '\0';
  }

  // Room for `more` bytes after the text; use_reserved() then makes some of them part of it.
  bool reserve(std::size_t more) {
    if (failed_) return false;
    const std::size_t needed = length_ + more + 1;
    if (needed <= room_) return true;
    const std::size_t larger = needed * 2;
    auto* grown = static_cast<char*>(heap_realloc(text_, larger));
    failed_ = grown == nullptr;
    if (failed_) return false;
    if (text_ == nullptr) *grown = '\0';
    text_ = grown;
    room_ = larger;
    return true;
  }
  char* end() { return text_ + length_; }
  std::size_t space() const { return room_ - length_ - 1; }
  void use_reserved(std::size_t count) {
    length_ += count;
    text_[length_] = '\0';
  }

  bool failed() const { return failed_; }
  std::size_t length() const { return length_; }
  // Never null: an empty string if out of memory.
  const char* get() const { return text_ == nullptr ? "" : text_; }

  // The text, the caller's now; null if out of memory or if nothing was appended.
  [[nodiscard]] char* release() {
    if (failed_) return nullptr;
    char* text = text_;
    text_ = nullptr;
    length_ = room_ = 0;
    return text;
  }

 private:
  char* text_ = nullptr;
  std::size_t length_ = 0;
  std::size_t room_ = 0;
  bool failed_ = false;
};

}  // namespace kiv::platform
