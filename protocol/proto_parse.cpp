// A received packet: into a record, or only checked.
#include <cstring>

#include "protocol/proto.h"
#include "protocol/proto_syntax.h"

namespace kiv::protocol {
namespace {

// Copies a value, each doubled quote once.
void unescape_value(char* to, const char* text, const Value& value) {
  const char* from = text + value.text.start;
  const char* const end = text + value.text.end;
  if (value.doubled == 0) {
    std::memcpy(to, from, static_cast<std::size_t>(end - from));
    return;
  }
  while (from < end) {
    if (*from == '"') ++from;
    *to++ = *from++;
  }
}

bool store_parameter(kiv_proto& packet, const char* bytes, const Span& name, const Value& value) {
  const std::int32_t i = packet.count;
  const std::int32_t length = value.text.length() - value.doubled;
  packet.names[i] = pool_copy(packet, bytes + name.start, name.length());
  packet.values[i] = pool_allocate(packet, length + 1);
  if (!packet.names[i] || !packet.values[i]) return false;
  unescape_value(packet.values[i], bytes, value);
  packet.values[i][length] = 0;
  packet.name_lengths[i] = name.length();
  packet.name_starts[i] = name.start;
  packet.name_ends[i] = name.end;
  packet.value_lengths[i] = length;
  packet.value_starts[i] = value.text.start;
  packet.value_ends[i] = value.text.end;
  ++packet.count;
  return true;
}

// False leaves the record half filled. The bytes may be the record's own text.
bool parse_packet(kiv_proto& packet, const char* bytes, std::int32_t length) {
  if (!is_framed(bytes, length)) return false;
  reset_packet(packet);
  PacketReader reader(bytes, length, kParseMessages);
  Span command, name;
  Value value;
  if (!reader.command(&command)) return false;
  while (!reader.at_end()) {
    if (!reader.parameter(&name, &value) || !store_parameter(packet, bytes, name, value))
      return false;
  }
  std::memmove(packet.command, bytes + command.start, static_cast<std::size_t>(command.length()));
  packet.command[command.length()] = 0;
  packet.command_length = command.length();
  packet.command_start = command.start;
  packet.command_end = command.end;
  // deliberate: the kept text ends at the first zero, the offsets of what follows stay; forwarders
  // send the text and read the parameters.
  const std::size_t text = std::strlen(bytes);
  std::memmove(packet.packet, bytes, text + 1);
  packet.packet_length = static_cast<std::int32_t>(text) + 1;
  return true;
}

}  // namespace
}  // namespace kiv::protocol

using namespace kiv::protocol;

int KIV_CALL kiv_proto_ParsePacket(kiv_proto* packet, const char* bytes,
                                   int32_t length) KIV_NOEXCEPT {
  if (!packet) return 0;
  if (parse_packet(*packet, bytes, length)) return 1;
  empty_packet(*packet);
  return 0;
}

int KIV_CALL kiv_proto_CheckPacket(kiv_proto*, const char* bytes, int32_t length) KIV_NOEXCEPT {
  if (!is_framed(bytes, length)) return 0;
  PacketReader reader(bytes, length, kCheckMessages);
  Span word;
  Value value;
  if (!reader.command(&word)) return 0;
  while (!reader.at_end()) {
    if (!reader.parameter(&word, &value)) return 0;
  }
  return 1;
}
