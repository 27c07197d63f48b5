#include "protocol/proto.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "base/mem_pool.h"
#include "base/owned.h"

namespace kiv::protocol {
namespace {

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

template <typename T>
bool allocate_buffer(T*& buffer, std::size_t count) {
  buffer = base::RawStorage<T>::allocate_zeroed(count).release();
  return buffer != nullptr;
}

void free_packet(kiv_proto* packet) {
  base::deallocate(packet->packet);
  base::deallocate(packet->command);
  base::deallocate(packet->pool_memory);
  base::deallocate(packet->scratch);
  base::destroy(packet);
}

// Null if out of memory.
kiv_proto* new_packet() {
  kiv_proto* packet = base::make<kiv_proto>().release();
  if (!packet) return nullptr;
  if (!allocate_buffer(packet->packet, kPacketStorage) ||
      !allocate_buffer(packet->command, kCommandStorage) ||
      !allocate_buffer(packet->pool_memory, kPoolSize + kPoolTail) ||
      !allocate_buffer(packet->scratch, kPacketStorage)) {
    free_packet(packet);
    return nullptr;
  }
  packet->pool_size = kPoolSize;
  packet->pool = base::format_pool(packet->pool_memory, kPoolSize);
  return packet;
}

bool has_packet(const kiv_proto& packet) {
  return packet.command_length >= 1 && packet.command_length <= kMaxName &&
         packet.packet_length >= 1 && packet.packet_length <= kMaxPacket;
}

template <std::size_t Count>
void copy_array(std::int32_t (&to)[Count], const std::int32_t (&from)[Count]) {
  std::copy(std::begin(from), std::end(from), std::begin(to));
}

// False if the pool is full.
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

// Tells most names apart, those that end in a number too. Names have at least one character.
std::uint8_t name_tag(const char* name, std::size_t length) {
  const auto byte = [name](std::size_t i) {
    return std::uint32_t{static_cast<std::uint8_t>(name[i])};
  };
  const std::uint32_t some = byte(0) | byte(length / 2) << 8 | byte((length - 1) / 2) << 12 |
                             byte(length - 1) << 16 | byte(length > 1 ? length - 2 : 0) << 24;
  return static_cast<std::uint8_t>((some + static_cast<std::uint32_t>(length)) * 0x9E3779B1u >> 24);
}

}  // namespace

void reset_packet(kiv_proto& packet) {
  packet.packet_length = packet.command_length = packet.count = packet.cursor = 0;
  packet.tagged_count = 0;
  base::end_pool(packet.pool);
  packet.pool = base::format_pool(packet.pool_memory, kPoolSize);
}

void empty_packet(kiv_proto& packet) {
  reset_packet(packet);
  packet.packet[0] = packet.command[0] = 0;
}

char* pool_allocate(kiv_proto& packet, std::int32_t size) {
  return static_cast<char*>(base::pool_allocate(packet.pool, static_cast<std::uint32_t>(size)));
}

char* pool_copy(kiv_proto& packet, const char* text, std::int32_t length) {
  char* const copy = pool_allocate(packet, length + 1);
  if (!copy) return nullptr;
  std::memcpy(copy, text, static_cast<std::size_t>(length));
  copy[length] = 0;
  return copy;
}

void pool_free(kiv_proto& packet, char* copy) {
  base::pool_free(packet.pool, copy);
}

std::int32_t find_parameter(kiv_proto& packet, const char* name) {
  const std::size_t length = std::strlen(name);
  if (length < 1 || packet.count < 1) return -1;
  for (; packet.tagged_count < packet.count; ++packet.tagged_count) {
    const char* const known = packet.names[packet.tagged_count];
    packet.name_tags[packet.tagged_count] = name_tag(known, std::strlen(known));
  }
  const std::uint8_t tag = name_tag(name, length);
  const std::uint8_t* const end = packet.name_tags + packet.count;
  for (const std::uint8_t* at = packet.name_tags; at < end; ++at) {
    at = static_cast<const std::uint8_t*>(std::memchr(at, tag, static_cast<std::size_t>(end - at)));
    if (!at) break;
    const std::ptrdiff_t i = at - packet.name_tags;
    if (std::strcmp(packet.names[i], name) == 0) return static_cast<std::int32_t>(i);
  }
  return -1;
}

std::int32_t find_or_print(kiv_proto& packet, const char* name) {
  const std::int32_t i = find_parameter(packet, name);
  if (i < 0) std::printf("info: get para(%s) is not exist!\n", name);
  return i;
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
  return new_packet();
}

void KIV_CALL kiv_proto_free(kiv_proto* packet) KIV_NOEXCEPT {
  if (packet) free_packet(packet);
}

kiv_proto* KIV_CALL kiv_proto_clone(kiv_proto* packet) KIV_NOEXCEPT {
  kiv_proto* const clone = packet ? new_packet() : nullptr;
  if (!clone || !has_packet(*packet) || copy_contents(*clone, *packet)) return clone;
  free_packet(clone);
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
