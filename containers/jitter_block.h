// A block of a jitter buffer: a ring of fixed capacity.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "kiv_base/containers.h"

namespace kiv::containers {

class JitterBlock : public zu_jitter_block {
 public:
  static JitterBlock* of(zu_jitter_block* block) { return static_cast<JitterBlock*>(block); }

  void init(std::uint8_t* ring, std::int32_t size) {
    *static_cast<zu_jitter_block*>(this) = {ring, 0, size, 0, 0};
  }

  std::int32_t room() const { return capacity - length; }

  // The usual case in few steps: a piece, at most `limit`, that ends before the end of the ring.
  bool put_in_one(const void* source, std::int32_t count, std::int32_t limit) {
    if (count < 1 || count > room() || count >= capacity - write_pos || count > limit) return false;
    std::memcpy(data + write_pos, source, static_cast<std::size_t>(count));
    write_pos += count;
    length += count;
    return true;
  }

  // The same for reading a piece that is not the last one.
  bool take_in_one(void* destination, std::int32_t count) {
    if (count < 1 || count >= length || count >= capacity - read_pos) return false;
    if (destination) std::memcpy(destination, data + read_pos, static_cast<std::size_t>(count));
    read_pos += count;
    length -= count;
    return true;
  }

  // Appends all the bytes or, without room, none.
  bool put_all(const void* source, std::int32_t count) {
    if (count > room()) return false;
    if (count > 0) put(source, count);
    return true;
  }

  // Removes the oldest bytes, copied to `destination` unless it is NULL; returns their number.
  std::int32_t take(void* destination, std::int32_t count) {
    count = std::min(count, length);
    if (count < 1) return 0;
    if (destination) copy(destination, 0, count);
    drop_oldest(count);
    return count;
  }

  // Finds the bytes up to the first zero and all the zeros that follow them: the length of both
  // together, and that of the zeros. False if no zero has come yet.
  bool find_packet(std::int32_t& packet_length, std::int32_t& zeros) const;

  void clear() { length = write_pos = read_pos = 0; }

  // Appends `count` bytes, at most room().
  void put(const void* source, std::int32_t count) {
    const std::int32_t front = std::min(count, capacity - write_pos);
    std::memcpy(data + write_pos, source, static_cast<std::size_t>(front));
    if (count > front) {
      std::memcpy(data, static_cast<const std::uint8_t*>(source) + front,
                  static_cast<std::size_t>(count - front));
    }
    write_pos = after(write_pos, count);
    length += count;
  }

  // Copies `count` bytes, at most the capacity, from `offset` bytes after the oldest one on.
  void copy(void* destination, std::int32_t offset, std::int32_t count) const {
    const std::int32_t from = after(read_pos, offset);
    const std::int32_t front = std::min(count, capacity - from);
    std::memcpy(destination, data + from, static_cast<std::size_t>(front));
    if (count > front) {
      std::memcpy(static_cast<std::uint8_t*>(destination) + front, data,
                  static_cast<std::size_t>(count - front));
    }
  }

  // Removes the `count` oldest bytes, at most the length.
  void drop_oldest(std::int32_t count) {
    read_pos = after(read_pos, count);
    length -= count;
  }

  // Removes the `count` newest bytes, at most the length.
  void drop_newest(std::int32_t count) {
    write_pos = after(write_pos, capacity - count);
    length -= count;
  }

  // The ring index `distance` bytes, at most the capacity, after `position`.
  std::int32_t after(std::int32_t position, std::int32_t distance) const {
    const std::int32_t to_end = capacity - position;
    return distance < to_end ? position + distance : distance - to_end;
  }
};

}  // namespace kiv::containers
