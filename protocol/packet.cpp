#include "protocol/packet.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstring>

#include "base/owned.h"

namespace kiv::protocol {
namespace {

static_assert(sizeof(void*) != 4 ||
              (sizeof(kiv_proto) == 2096 && offsetof(kiv_proto, command) == 8 &&
               offsetof(kiv_proto, names) == 24 && offsetof(kiv_proto, values) == 1048 &&
               offsetof(kiv_proto, count) == 2072 && offsetof(kiv_proto, scratch) == 2092));

// deliberate: edits leave lengths behind that are longer than the copy (ModifyPara, DeletePara);
// programs read by them, so zero bytes lie where the longest one may reach.
constexpr std::int32_t kPoolTail = kMaxValue + 1;

struct Mode {
  std::int32_t number;
  Separator separator;
};
constexpr Mode kModes[] = {
    {0, {"\n", 1}}, {1, {"\r\n", 2}}, {2, {";", 1}}, {4, {" ", 1}}, {8, {"&", 1}}};
std::atomic<const Mode*> mode_in_use{&kModes[1]};

void free_buffers(kiv_proto& packet) {
  _zu_free(packet.packet);
  _zu_free(packet.command);
  _zu_free(packet.pool_memory);
  _zu_free(packet.scratch);
}

bool make_buffers(kiv_proto& packet) {
  packet.packet = base::Owned<char>::allocate_zeroed(kPacketStorage).release();
  packet.command = base::Owned<char>::allocate_zeroed(kCommandStorage).release();
  packet.pool_memory = base::Owned<std::uint8_t>::allocate_zeroed(kPoolSize + kPoolTail).release();
  packet.scratch = base::Owned<char>::allocate_zeroed(kPacketStorage).release();
  packet.pool_size = kPoolSize;
  packet.pool = zu_mem_init(packet.pool_memory, kPoolSize);
  return packet.packet && packet.command && packet.pool && packet.scratch;
}

bool has_packet(const kiv_proto& packet) {
  return packet.command_length >= 1 && packet.command_length <= kMaxName &&
         packet.packet_length >= 1 && packet.packet_length <= kMaxPacket;
}

template <std::size_t Count>
void copy_array(std::int32_t (&to)[Count], const std::int32_t (&from)[Count]) {
  std::copy(std::begin(from), std::end(from), std::begin(to));
}

// False when the pool is full.
bool copy_contents(kiv_proto& to, const kiv_proto& from) {
  std::memcpy(to.packet, from.packet, kPacketStorage);
  std::memcpy(to.command, from.command, kCommandStorage);
  to.packet_length = from.packet_length;
  to.command_length = from.command_length;
  to.command_start = from.command_start;
  to.command_end = from.command_end;
  copy_array(to.name_lengths, from.name_lengths);
  copy_array(to.name_starts, from.name_starts);
  copy_array(to.name_ends, from.name_ends);
  copy_array(to.value_lengths, from.value_lengths);
  copy_array(to.value_starts, from.value_starts);
  copy_array(to.value_ends, from.value_ends);
  for (std::int32_t i = 0; i < from.count; ++i) {
    to.names[i] = pool_copy(to, from.names[i], text_length(from.names[i]));
    to.values[i] = pool_copy(to, from.values[i], text_length(from.values[i]));
    if (!to.names[i] || !to.values[i]) return false;
  }
  to.count = from.count;
  to.cursor = from.cursor;
  return true;
}

}  // namespace

void reset(kiv_proto& packet) {
  packet.packet_length = packet.command_length = packet.count = packet.cursor = 0;
  zu_mem_destroy(packet.pool);
  packet.pool = zu_mem_init(packet.pool_memory, kPoolSize);
}

void empty(kiv_proto& packet) {
  reset(packet);
  packet.packet[0] = packet.command[0] = 0;
}

char* pool_copy(kiv_proto& packet, const char* text, std::int32_t length) {
  const auto bytes = static_cast<std::uint32_t>(length);
  auto* copy = static_cast<char*>(zu_mem_malloc(packet.pool, bytes + 1));
  if (!copy) return nullptr;
  std::memcpy(copy, text, bytes);
  copy[bytes] = 0;
  return copy;
}

std::int32_t find_parameter(const kiv_proto& packet, const char* name) {
  for (std::int32_t i = 0; i < packet.count; ++i) {
    if (std::strcmp(packet.names[i], name) == 0) return i;
  }
  return -1;
}

Separator line_separator() {
  return mode_in_use.load(std::memory_order_relaxed)->separator;
}

std::int32_t text_length(const char* text) {
  return static_cast<std::int32_t>(std::min<std::size_t>(std::strlen(text), INT32_MAX));
}

}  // namespace kiv::protocol

using namespace kiv::protocol;

kiv_proto* KIV_CALL kiv_proto_new(void) KIV_NOEXCEPT {
  kiv_proto* packet = kiv::base::Owned<kiv_proto>::allocate_zeroed().release();
  if (!packet || make_buffers(*packet)) return packet;
  free_buffers(*packet);
  _zu_free(packet);
  return nullptr;
}

void KIV_CALL kiv_proto_free(kiv_proto* packet) KIV_NOEXCEPT {
  if (!packet) return;
  free_buffers(*packet);
  _zu_free(packet);
}

kiv_proto* KIV_CALL kiv_proto_clone(kiv_proto* packet) KIV_NOEXCEPT {
  if (!packet) return nullptr;
  kiv_proto* clone = kiv_proto_new();
  if (!clone || !has_packet(*packet) || copy_contents(*clone, *packet)) return clone;
  kiv_proto_free(clone);
  return nullptr;
}

int KIV_CALL kivx_proto_SetSpace(int32_t mode) KIV_NOEXCEPT {
  for (const Mode& known : kModes) {
    if (known.number != mode) continue;
    mode_in_use.store(&known, std::memory_order_relaxed);
    return 1;
  }
  return 0;
}
