// The jitter buffer: a byte FIFO over a list of ring blocks.
#include <algorithm>
#include <cstddef>

#include "containers/jitter_block.h"
#include "kiv_base/base.h"

namespace {

constexpr int32_t kDefaultBlockSize = 16384;
constexpr int32_t kDefaultMaxBlocks = 100000;

static_assert(sizeof(void*) != 4 || (sizeof(zu_jitter) == 28 && offsetof(zu_jitter, length) == 20));

zu_jitter_block* block_of(const zu_list* node) {
  return static_cast<zu_jitter_block*>(node->data);
}

int32_t available(const zu_jitter* jitter) {
  const int64_t most = int64_t{jitter->max_blocks} * jitter->block_size;
  return static_cast<int32_t>(std::min<int64_t>(most, INT32_MAX)) - jitter->length;
}

// Adds an empty block at the end. The list is extended by hand: appending would walk it.
zu_jitter_block* add_block(zu_jitter* jitter) {
  if (jitter->block_count >= jitter->max_blocks) return nullptr;
  zu_jitter_block* block = kiv::containers::new_raw_block(jitter->block_size);
  if (!block) return nullptr;
  zu_list* node = zu_list_new();
  if (!node) {
    _zu_jitter_block_free(block);
    return nullptr;
  }
  node->data = block;
  node->prev = jitter->last;
  if (jitter->last) {
    jitter->last->next = node;
  } else {
    jitter->blocks = node;
  }
  jitter->last = node;
  ++jitter->block_count;
  return block;
}

// The block that takes the next byte; NULL when all are full and no further one can be had.
zu_jitter_block* writable_block(zu_jitter* jitter) {
  zu_jitter_block* block = jitter->last ? block_of(jitter->last) : nullptr;
  return block && block->length < block->capacity ? block : add_block(jitter);
}

void drop_block(zu_jitter* jitter, zu_list* node) {
  if (jitter->last == node) jitter->last = node->prev;
  _zu_jitter_block_free(block_of(node));
  jitter->blocks = zu_list_delete_link_only(jitter->blocks, node);
  --jitter->block_count;
}

// Takes back the newest `count` stored bytes.
void drop_newest(zu_jitter* jitter, int32_t count) {
  jitter->length -= count;
  while (count > 0) {
    zu_jitter_block* block = block_of(jitter->last);
    const int32_t piece = std::min(count, block->length);
    block->length -= piece;
    block->write_pos = (block->write_pos - piece + block->capacity) % block->capacity;
    count -= piece;
    if (block->length == 0) drop_block(jitter, jitter->last);
  }
}

void KIV_CALL free_block(void* block, void*) {
  _zu_jitter_block_free(static_cast<zu_jitter_block*>(block));
}

// Copies `count` stored bytes from `offset` on; both lie inside the buffer.
void copy_out(const zu_jitter* jitter, uint8_t* destination, int32_t offset, int32_t count) {
  for (const zu_list* node = jitter->blocks; count > 0; node = node->next) {
    zu_jitter_block* block = block_of(node);
    const int32_t piece = std::min(count, block->length - offset);
    if (piece < 1) {
      offset -= block->length;
      continue;
    }
    _zu_jitter_block_PeekData_ext(block, destination, offset, offset + piece);
    destination += piece;
    count -= piece;
    offset = 0;
  }
}

}  // namespace

bool kiv::containers::set_all_data(zu_jitter* jitter, const void* data, int32_t count) {
  const int32_t stored = zu_jitter_SetData(jitter, data, count);
  if (stored == count) return true;
  drop_newest(jitter, stored);
  return false;
}

int KIV_CALL zu_jitter_init(zu_jitter* jitter, int32_t block_size, int32_t max_blocks,
                            void* user_data) KIV_NOEXCEPT {
  if (!jitter || block_size < 1 || max_blocks < 1) return 0;
  *jitter = {nullptr, nullptr, block_size, 0, max_blocks, 0, user_data};
  return 1;
}

zu_jitter* KIV_CALL zu_jitter_mallocx(int32_t block_size, int32_t max_blocks,
                                      void* user_data) KIV_NOEXCEPT {
  auto* jitter = static_cast<zu_jitter*>(_zu_malloc(sizeof(zu_jitter)));
  if (zu_jitter_init(jitter, block_size, max_blocks, user_data)) return jitter;
  _zu_free(jitter);
  return nullptr;
}

zu_jitter* KIV_CALL zu_jitter_malloc(void) KIV_NOEXCEPT {
  return zu_jitter_mallocx(kDefaultBlockSize, kDefaultMaxBlocks, nullptr);
}

void KIV_CALL zu_jitter_empty(zu_jitter* jitter) KIV_NOEXCEPT {
  if (!jitter) return;
  zu_list_destroy_all(jitter->blocks, free_block, nullptr);
  jitter->blocks = jitter->last = nullptr;
  jitter->block_count = jitter->length = 0;
}

void KIV_CALL zu_jitter_destroy(zu_jitter* jitter) KIV_NOEXCEPT {
  zu_jitter_empty(jitter);
}

void KIV_CALL zu_jitter_free(zu_jitter* jitter) KIV_NOEXCEPT {
  zu_jitter_destroy(jitter);
  _zu_free(jitter);
}

int32_t KIV_CALL zu_jitter_SetData(zu_jitter* jitter, const void* data,
                                   int32_t count) KIV_NOEXCEPT {
  if (!jitter || !data) return 0;
  const int32_t wanted = std::min(count, available(jitter));
  const auto* source = static_cast<const uint8_t*>(data);
  int32_t stored = 0;
  while (stored < wanted) {
    zu_jitter_block* block = writable_block(jitter);
    if (!block) break;
    const int32_t piece = std::min(wanted - stored, block->capacity - block->length);
    _zu_jitter_block_SetData(block, source + stored, piece);
    stored += piece;
    jitter->length += piece;
  }
  return stored;
}

int32_t KIV_CALL zu_jitter_GetData(zu_jitter* jitter, void* destination,
                                   int32_t count) KIV_NOEXCEPT {
  if (!jitter) return 0;
  const int32_t wanted = std::min(count, jitter->length);
  auto* at = static_cast<uint8_t*>(destination);
  int32_t taken = 0;
  while (taken < wanted) {
    zu_jitter_block* block = block_of(jitter->blocks);
    const int32_t piece = _zu_jitter_block_GetData(block, at, wanted - taken);
    if (at) at += piece;
    taken += piece;
    jitter->length -= piece;
    if (block->length == 0) drop_block(jitter, jitter->blocks);
  }
  return taken;
}

int32_t KIV_CALL zu_jitter_PeekData(zu_jitter* jitter, void* destination,
                                    int32_t count) KIV_NOEXCEPT {
  return zu_jitter_PeekDatax(jitter, destination, 0, count);
}

int32_t KIV_CALL zu_jitter_PeekDatax(zu_jitter* jitter, void* destination, int32_t offset,
                                     int32_t count) KIV_NOEXCEPT {
  if (!jitter || !destination || offset < 0 || count < 1 || offset >= jitter->length) return 0;
  count = std::min(count, jitter->length - offset);
  copy_out(jitter, static_cast<uint8_t*>(destination), offset, count);
  return count;
}

int32_t KIV_CALL zu_jitter_GetLen(zu_jitter* jitter) KIV_NOEXCEPT {
  return jitter ? jitter->length : 0;
}

int32_t KIV_CALL zu_jitter_GetAvailableLen(zu_jitter* jitter) KIV_NOEXCEPT {
  return jitter ? available(jitter) : 0;
}

void* KIV_CALL zu_jitter_GetUserData(zu_jitter* jitter) KIV_NOEXCEPT {
  return jitter ? jitter->user_data : nullptr;
}

zu_jitter* KIV_CALL zu_jitter_SetUserData(zu_jitter* jitter, void* user_data) KIV_NOEXCEPT {
  if (jitter) jitter->user_data = user_data;
  return jitter;
}
