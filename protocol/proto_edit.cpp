// Changes a packet in place: only the bytes concerned move.
#include <cstdio>
#include <cstring>

#include "protocol/proto.h"
#include "protocol/proto_syntax.h"

namespace kiv::protocol {
namespace {

// Returns whether the parameter is in the text. What was received after a zero byte is not, and its
// offsets mean nothing, even when the text has grown over them.
bool is_in_text(const kiv_proto& packet, std::int32_t i) {
  const std::int32_t name = packet.name_starts[i];
  const std::int32_t value = packet.value_starts[i];
  const std::int32_t end = packet.value_ends[i];
  const std::int32_t length = text_length(packet.names[i]);
  if (name < 0 || name + length >= value || value > end || end >= packet.packet_length - 1) {
    return false;
  }
  return std::memcmp(packet.packet + name, packet.names[i], static_cast<std::size_t>(length)) ==
             0 &&
         packet.packet[value - 1] == '"' && packet.packet[end] == '"';
}

// Moves the text from `at` on; what is in the gap, or was, is the caller's.
void move_rest(kiv_proto& packet, std::int32_t at, std::int32_t distance) {
  char* const rest = packet.packet + at;
  std::memmove(rest + distance, rest, static_cast<std::size_t>(packet.packet_length - at));
  packet.packet_length += distance;
}

// Replaces a part of the text, which changes its length by `growth`.
void splice_text(kiv_proto& packet, const Span& old, const char* bytes, std::int32_t growth) {
  move_rest(packet, old.end, growth);
  std::memcpy(packet.packet + old.start, bytes, static_cast<std::size_t>(old.length() + growth));
}

void shift_parameters(kiv_proto& packet, std::int32_t first, std::int32_t distance) {
  for (std::int32_t i = first; i < packet.count; ++i) {
    packet.name_starts[i] += distance;
    packet.name_ends[i] += distance;
    packet.value_starts[i] += distance;
    packet.value_ends[i] += distance;
  }
}

bool has_sane_command(const kiv_proto& packet) {
  return packet.packet_length >= 1 && packet.packet_length <= kMaxPacket &&
         packet.command_length >= 1 && packet.command_length <= kMaxName &&
         packet.command_start >= 0 && packet.command_end > packet.command_start &&
         packet.command_end < packet.packet_length;
}

bool modify_parameter(kiv_proto& packet, std::int32_t i, const char* value) {
  const std::int32_t escaped = escape_value(packet, value, text_length(value));
  if (escaped < 0 || !is_in_text(packet, i)) return false;
  const Span old = {packet.value_starts[i], packet.value_ends[i]};
  const std::int32_t growth = escaped - old.length();
  if (packet.packet_length + growth > kMaxPacket) {
    std::printf("warn: packet too big(content=%s)!\n", value);
    return false;
  }
  // deliberate: with the same length in the text the stored copy stays as it was, else it holds the
  // escaped text, and its length is never updated; programs compare with what they read before.
  if (growth != 0) {
    char* const copy = pool_copy(packet, packet.scratch, escaped);
    if (!copy) {
      std::printf("warn: zu_mem_malloc()->modify return NULL!\n");
      return false;
    }
    pool_free(packet, packet.values[i]);
    packet.values[i] = copy;
  }
  splice_text(packet, old, packet.scratch, growth);
  packet.value_ends[i] += growth;
  shift_parameters(packet, i + 1, growth);
  return true;
}

// Moves the parameters after a removed one down by one entry.
void close_gap(kiv_proto& packet, std::int32_t removed) {
  packet.tagged_count = --packet.count;
  for (std::int32_t i = removed; i < packet.count; ++i) {
    // deliberate: the lengths stay where they are; programs that delete count with strlen.
    packet.names[i] = packet.names[i + 1];
    packet.name_tags[i] = packet.name_tags[i + 1];
    packet.values[i] = packet.values[i + 1];
    packet.name_starts[i] = packet.name_starts[i + 1];
    packet.name_ends[i] = packet.name_ends[i + 1];
    packet.value_starts[i] = packet.value_starts[i + 1];
    packet.value_ends[i] = packet.value_ends[i + 1];
  }
}

}  // namespace
}  // namespace kiv::protocol

using namespace kiv::protocol;

int KIV_CALL kiv_proto_ModifyCmd(kiv_proto* packet, const char* command) KIV_NOEXCEPT {
  if (!packet || !command) return 0;
  const int32_t length = text_length(command);
  if (!is_packable(kCommandMessages, command, length) || !has_sane_command(*packet)) return 0;
  const Span old = {packet->command_start, packet->command_end};
  const int32_t growth = length - old.length();
  if (packet->packet_length + growth > kMaxPacket) {
    std::printf("warn: packet too big(cmd=%s)!\n", command);
    return 0;
  }
  std::memmove(packet->command, command, static_cast<std::size_t>(length) + 1);
  splice_text(*packet, old, packet->command, growth);
  packet->command_length += growth;
  packet->command_end += growth;
  shift_parameters(*packet, 0, growth);
  return 1;
}

int KIV_CALL kiv_proto_ModifyPara(kiv_proto* packet, const char* name,
                                  const char* value) KIV_NOEXCEPT {
  if (!packet || !name || !value) return 0;
  const int32_t i = find_parameter(*packet, name);
  if (i >= 0) return modify_parameter(*packet, i, value) ? 1 : 0;
  std::printf("info: para(%s) is not exist!\n", name);
  return 0;
}

int KIV_CALL kiv_proto_DeletePara(kiv_proto* packet, const char* name) KIV_NOEXCEPT {
  if (!packet || !name) return 0;
  const int32_t i = find_parameter(*packet, name);
  if (i < 0) {
    std::printf("info: deleted para(%s) is not exist!\n", name);
    return 0;
  }
  if (!is_in_text(*packet, i)) return 0;
  int32_t end = packet->value_ends[i] + 1;
  while (is_separator(packet->packet[end])) ++end;
  const Span removed = {packet->name_starts[i], end};
  move_rest(*packet, removed.end, -removed.length());
  shift_parameters(*packet, i + 1, -removed.length());
  pool_free(*packet, packet->names[i]);
  pool_free(*packet, packet->values[i]);
  close_gap(*packet, i);
  return 1;
}
