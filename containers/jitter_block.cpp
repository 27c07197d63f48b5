#include "containers/jitter_block.h"

#include <algorithm>
#include <cstddef>

#include "base/layout.h"
#include "base/owned.h"

using kiv::containers::JitterBlock;

namespace {

KIV_LAYOUT(zu_jitter_block, 20, read_pos, 16);

// How many of the `count` bytes from ring index `position` on come before the first zero byte.
int32_t count_until_zero(const JitterBlock& block, int32_t position, int32_t count) {
  const int32_t front = std::min(count, block.capacity - position);
  const uint8_t* start = block.data + position;
  if (const void* zero = std::memchr(start, 0, static_cast<std::size_t>(front))) {
    return static_cast<int32_t>(static_cast<const uint8_t*>(zero) - start);
  }
  if (const void* zero = std::memchr(block.data, 0, static_cast<std::size_t>(count - front))) {
    return front + static_cast<int32_t>(static_cast<const uint8_t*>(zero) - block.data);
  }
  return count;
}

int32_t count_zeros(const JitterBlock& block, int32_t position, int32_t count) {
  int32_t zeros = 0;
  while (zeros < count && block.data[block.after(position, zeros)] == 0) ++zeros;
  return zeros;
}

}  // namespace

bool JitterBlock::find_packet(int32_t& packet_length, int32_t& zeros) const {
  const int32_t text = count_until_zero(*this, read_pos, length);
  if (text == length) return false;
  zeros = count_zeros(*this, after(read_pos, text), length - text);
  packet_length = text + zeros;
  return true;
}

zu_jitter_block* KIV_CALL _zu_jitter_block_new(int32_t capacity) KIV_NOEXCEPT {
  constexpr int32_t kRecord = sizeof(JitterBlock);
  if (capacity < 1 || capacity > INT32_MAX - kRecord) return nullptr;
  auto* block =
      static_cast<JitterBlock*>(kiv::base::allocate(static_cast<std::size_t>(kRecord + capacity)));
  if (!block) return nullptr;
  block->init(reinterpret_cast<uint8_t*>(block + 1), capacity);
  std::memset(block->data, 0, static_cast<std::size_t>(capacity));
  return block;
}

void KIV_CALL _zu_jitter_block_free(zu_jitter_block* block) KIV_NOEXCEPT {
  kiv::base::deallocate(block);
}

void KIV_CALL _zu_jitter_block_reset(zu_jitter_block* block) KIV_NOEXCEPT {
  if (block) JitterBlock::of(block)->clear();
}

int KIV_CALL _zu_jitter_block_SetData(zu_jitter_block* block, const void* data,
                                      int32_t count) KIV_NOEXCEPT {
  return block && (count < 1 || (data && JitterBlock::of(block)->put_all(data, count)));
}

int32_t KIV_CALL _zu_jitter_block_GetData(zu_jitter_block* block, void* destination,
                                          int32_t count) KIV_NOEXCEPT {
  return block ? JitterBlock::of(block)->take(destination, count) : 0;
}

int32_t KIV_CALL _zu_jitter_block_PeekData(zu_jitter_block* block, void* destination,
                                           int32_t count) KIV_NOEXCEPT {
  if (!block || count < 1) return 0;
  count = std::min(count, block->length);
  if (destination) JitterBlock::of(block)->copy(destination, 0, count);
  return count;
}

int32_t KIV_CALL _zu_jitter_block_PeekData_ext(zu_jitter_block* block, void* destination,
                                               int32_t start, int32_t end) KIV_NOEXCEPT {
  if (!block || !destination || start < 0 || end <= start || start >= block->length) return 0;
  // deliberate: the number is limited to the length, not to what is left from `start` on;
  // readers rely on the result, and the bytes beyond come from inside the ring.
  const int32_t count = std::min(end - start, block->length);
  JitterBlock::of(block)->copy(destination, start, count);
  return count;
}

int KIV_CALL _zu_jitter_block_CalPacketLen(zu_jitter_block* block, int32_t* packet_length,
                                           int32_t* terminator_length) KIV_NOEXCEPT {
  int32_t total = 0, zeros = 0;
  if (!block || !JitterBlock::of(block)->find_packet(total, zeros)) return 0;
  if (packet_length) *packet_length = total;
  if (terminator_length) *terminator_length = zeros;
  return 1;
}

int32_t KIV_CALL _zu_jitter_block_GetLen(zu_jitter_block* block) KIV_NOEXCEPT {
  return block ? block->length : 0;
}

int32_t KIV_CALL _zu_jitter_block_GetAvailableLen(zu_jitter_block* block) KIV_NOEXCEPT {
  return block ? JitterBlock::of(block)->room() : 0;
}
