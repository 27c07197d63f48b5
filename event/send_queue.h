// Bytes and parts of files that wait until a socket takes them.
#pragma once

#include <cstdint>

namespace kiv::event {

class SendQueue {
 public:
  SendQueue() = default;
  ~SendQueue() { clear(); }
  SendQueue(const SendQueue&) = delete;
  SendQueue& operator=(const SendQueue&) = delete;

  bool empty() const { return first_ == nullptr; }
  std::int64_t bytes() const { return bytes_; }  // all that waits
  std::int64_t held() const { return held_; }    // of these, those in memory

  // Makes room for so many bytes more; false if out of memory.
  bool reserve(std::int32_t length) noexcept;
  // Appends bytes where room was made.
  void add(const void* data, std::int32_t length) noexcept;
  // Gives unused room back.
  void trim() noexcept;

  // Appends a part of a file, which is opened here; false if it cannot be, or is shorter, or if out
  // of memory. A negative length is all that comes after the offset.
  bool add_file(const char* path, std::int64_t offset, std::int64_t length) noexcept;

  // One system call's worth. `failed` leaves the reason in error().
  enum class Flushed { all, some, blocked, failed };
  Flushed flush(std::int32_t socket) noexcept;
  std::int32_t error() const { return error_; }

  void clear() noexcept;

 private:
  struct Piece;

  Piece* make(std::int32_t room) noexcept;
  void append(Piece* piece) noexcept;
  std::int32_t room_at_end() const noexcept;
  std::int64_t flush_bytes(std::int32_t socket) noexcept;
  std::int64_t flush_file(std::int32_t socket) noexcept;
  void drop(std::int64_t count) noexcept;
  void drop_first() noexcept;

  Piece* first_ = nullptr;
  Piece* last_ = nullptr;
  Piece* spare_ = nullptr;  // room that was made
  std::int64_t bytes_ = 0;
  std::int64_t held_ = 0;
  std::int32_t error_ = 0;
};

}  // namespace kiv::event
