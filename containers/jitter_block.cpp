#include "containers/jitter_block.h"

#include "kiv_base/base.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace {

static_assert(sizeof(void*) != 4 ||
              (sizeof(zu_jitter_block) == 20 && offsetof(zu_jitter_block, read_pos) == 16));

// The ring index `distance` bytes (at most the capacity) after `position`.
int32_t advance(const zu_jitter_block* block, int32_t position, int32_t distance) {
  const int32_t to_end = block->capacity - position;
  return distance < to_end ? position + distance : distance - to_end;
}

// Copies `count` bytes (at most the capacity) from ring index `position` on.
void copy_out(const zu_jitter_block* block, void* destination, int32_t position, int32_t count) {
  const int32_t front = std::min(count, block->capacity - position);
  std::memcpy(destination, block->data + position, static_cast<std::size_t>(front));
  if (count == front) return;
  std::memcpy(static_cast<uint8_t*>(destination) + front, block->data,
              static_cast<std::size_t>(count - front));
}

void copy_in(zu_jitter_block* block, const void* source, int32_t position, int32_t count) {
  const int32_t front = std::min(count, block->capacity - position);
  std::memcpy(block->data + position, source, static_cast<std::size_t>(front));
  if (count == front) return;
  std::memcpy(block->data, static_cast<const uint8_t*>(source) + front,
              static_cast<std::size_t>(count - front));
}

// How many of the `count` bytes from ring index `position` on come before the first zero byte.
int32_t count_until_zero(const zu_jitter_block* block, int32_t position, int32_t count) {
  const int32_t front = std::min(count, block->capacity - position);
  const uint8_t* start = block->data + position;
  if (const void* zero = std::memchr(start, 0, static_cast<std::size_t>(front))) {
    return static_cast<int32_t>(static_cast<const uint8_t*>(zero) - start);
  }
  if (const void* zero = std::memchr(block->data, 0, static_cast<std::size_t>(count - front))) {
    return front + static_cast<int32_t>(static_cast<const uint8_t*>(zero) - block->data);
  }
  return count;
}

int32_t count_zeros(const zu_jitter_block* block, int32_t position, int32_t count) {
  int32_t zeros = 0;
  while (zeros < count && block->data[advance(block, position, zeros)] == 0) ++zeros;
  return zeros;
}

}  // namespace

zu_jitter_block* kiv::containers::new_raw_block(int32_t capacity) {
  constexpr int32_t record_size = sizeof(zu_jitter_block);
  if (capacity < 1 || capacity > INT32_MAX - record_size) return nullptr;
  auto* block = static_cast<zu_jitter_block*>(_zu_malloc(record_size + capacity));
  if (block) *block = {reinterpret_cast<uint8_t*>(block + 1), 0, capacity, 0, 0};
  return block;
}

zu_jitter_block* KIV_CALL _zu_jitter_block_new(int32_t capacity) KIV_NOEXCEPT {
  zu_jitter_block* block = kiv::containers::new_raw_block(capacity);
  if (block) std::memset(block->data, 0, static_cast<std::size_t>(capacity));
  return block;
}

void KIV_CALL _zu_jitter_block_free(zu_jitter_block* block) KIV_NOEXCEPT {
  _zu_free(block);
}

void KIV_CALL _zu_jitter_block_reset(zu_jitter_block* block) KIV_NOEXCEPT {
  if (block) block->length = block->write_pos = block->read_pos = 0;
}

int KIV_CALL _zu_jitter_block_SetData(zu_jitter_block* block, const void* data,
                                      int32_t count) KIV_NOEXCEPT {
  if (!block) return 0;
  if (count < 1) return 1;
  if (!data || count > block->capacity - block->length) return 0;
  copy_in(block, data, block->write_pos, count);
  block->write_pos = advance(block, block->write_pos, count);
  block->length += count;
  return 1;
}

int32_t KIV_CALL _zu_jitter_block_GetData(zu_jitter_block* block, void* destination,
                                          int32_t count) KIV_NOEXCEPT {
  const int32_t taken = _zu_jitter_block_PeekData(block, destination, count);
  if (taken > 0) {
    block->read_pos = advance(block, block->read_pos, taken);
    block->length -= taken;
  }
  return taken;
}

int32_t KIV_CALL _zu_jitter_block_PeekData(zu_jitter_block* block, void* destination,
                                           int32_t count) KIV_NOEXCEPT {
  if (!block || count < 1) return 0;
  count = std::min(count, block->length);
  if (destination) copy_out(block, destination, block->read_pos, count);
  return count;
}

int32_t KIV_CALL _zu_jitter_block_PeekData_ext(zu_jitter_block* block, void* destination,
                                               int32_t start, int32_t end) KIV_NOEXCEPT {
  if (!block || !destination || start < 0 || end <= start || start >= block->length) return 0;
  // deliberate: the number is limited to the length, not to what is left from `start` on;
  // readers rely on the result, and the bytes beyond come from inside the ring.
  const int32_t count = std::min(end - start, block->length);
  copy_out(block, destination, advance(block, block->read_pos, start), count);
  return count;
}

int KIV_CALL _zu_jitter_block_CalPacketLen(zu_jitter_block* block, int32_t* packet_length,
                                           int32_t* terminator_length) KIV_NOEXCEPT {
  if (!block) return 0;
  const int32_t text = count_until_zero(block, block->read_pos, block->length);
  if (text == block->length) return 0;
  const int32_t zeros =
      count_zeros(block, advance(block, block->read_pos, text), block->length - text);
  if (packet_length) *packet_length = text + zeros;
  if (terminator_length) *terminator_length = zeros;
  return 1;
}

int32_t KIV_CALL _zu_jitter_block_GetLen(zu_jitter_block* block) KIV_NOEXCEPT {
  return block ? block->length : 0;
}

int32_t KIV_CALL _zu_jitter_block_GetAvailableLen(zu_jitter_block* block) KIV_NOEXCEPT {
  return block ? block->capacity - block->length : 0;
}
