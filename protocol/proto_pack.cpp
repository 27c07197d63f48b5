// Builds a packet from its command and one parameter after the other.
#include <cstdio>
#include <cstring>

#include "protocol/proto.h"
#include "protocol/proto_syntax.h"

namespace kiv::protocol {
namespace {

// Appends to a text and keeps it zero-terminated.
class PacketWriter {
 public:
  explicit PacketWriter(char* at) : at_(at) {}
  char* append(const char* bytes, std::int32_t length) {
    char* const start = at_;
    std::memcpy(start, bytes, static_cast<std::size_t>(length));
    at_ += length;
    *at_ = 0;
    return start;
  }

 private:
  char* at_;
};

// Returns where the next parameter goes: after the last byte that is not zero; -1 if there is none.
std::int32_t find_tail(const kiv_proto& packet) {
  std::int32_t last = packet.packet_length - 1;
  if (packet.packet[last] == 0) {
    while (last >= 0 && packet.packet[last] == 0) --last;
    if (last >= 0) return last + 1;
  }
  std::printf("error: find packet tail fail!\n");
  return -1;
}

// Copies name and value into the record; false if its pool is full.
bool keep_copies(kiv_proto& packet, const char* name, std::int32_t name_length, const char* value,
                 std::int32_t value_length) {
  const std::int32_t i = packet.count;
  packet.names[i] = pool_copy(packet, name, name_length);
  if (!packet.names[i]) {
    std::printf("warn: zu_mem_malloc()->para return NULL!\n");
    return false;
  }
  packet.values[i] = pool_copy(packet, value, value_length);
  if (!packet.values[i]) {
    std::printf("warn: zu_mem_malloc()->content return NULL!\n");
    pool_free(packet, packet.names[i]);
    return false;
  }
  packet.name_lengths[i] = name_length;
  packet.value_lengths[i] = value_length;
  return true;
}

}  // namespace

bool pack_parameter(kiv_proto& packet, const char* name, const char* value) {
  if (packet.count >= kMaxParameters) {
    std::printf("warn: number of parameters is already too many(%d)!\n", packet.count);
    return false;
  }
  const std::int32_t tail = packet.packet_length < 1 ? -1 : find_tail(packet);
  const std::int32_t name_length = text_length(name);
  if (tail < 0 || !is_packable(kNameMessages, name, name_length)) return false;
  if (find_parameter(packet, name) >= 0) {
    std::printf("info: para(%s) is exist!\n", name);
    return false;
  }
  const std::int32_t value_length = text_length(value);
  const std::int32_t escaped = escape_value(packet, value, value_length);
  if (escaped < 0) return false;

  const Separator separator = line_separator();
  const char before = packet.packet[tail - 1];
  // A received packet may end in its bare command, which the name must not join.
  const std::int32_t lead = before == '"' || is_separator(before) ? 0 : separator.length;
  const std::int32_t grown =
      packet.packet_length + lead + separator.length + 3 + escaped + name_length;
  if (grown > kMaxPacket) {
    std::printf("error: packing parameter string error!\n");
    return false;
  }
  if (!keep_copies(packet, name, name_length, value, value_length)) return false;

  const std::int32_t i = packet.count++;
  PacketWriter writer(packet.packet + tail);
  writer.append(separator.text, lead);
  packet.name_starts[i] = tail + lead;
  packet.name_ends[i] = tail + lead + name_length;
  packet.value_starts[i] = packet.name_ends[i] + 2;
  packet.value_ends[i] = packet.value_starts[i] + escaped;
  writer.append(packet.names[i], name_length);
  writer.append("=\"", 2);
  writer.append(packet.scratch, escaped);
  writer.append("\"", 1);
  writer.append(separator.text, separator.length);
  packet.packet_length = packet.value_ends[i] + 1 + separator.length + 1;
  return true;
}

std::int32_t escape_value(kiv_proto& packet, const char* value, std::int32_t length) {
  if (length > kMaxValue) {
    std::printf("error: content string too long[%d]!\n", length);
    return -1;
  }
  char* to = packet.scratch;
  for (const char* from = value; from < value + length; ++from) {
    *to++ = *from;
    if (*from == '"') *to++ = '"';
  }
  *to = 0;
  const auto escaped = static_cast<std::int32_t>(to - packet.scratch);
  if (escaped < kMaxPacket) return escaped;
  std::printf("error: format content string length is not enough[%d]!\n", kMaxPacket);
  return -1;
}

}  // namespace kiv::protocol

using namespace kiv::protocol;

int KIV_CALL kiv_proto_PackCmd(kiv_proto* packet, const char* command) KIV_NOEXCEPT {
  if (!packet || !command) return 0;
  const int32_t length = text_length(command);
  if (!is_packable(kCommandMessages, command, length)) return 0;
  std::memmove(packet->command, command, static_cast<std::size_t>(length) + 1);
  reset_packet(*packet);

  const Separator separator = line_separator();
  PacketWriter writer(packet->packet);
  writer.append(packet->command, length);
  writer.append(separator.text, separator.length);
  packet->packet_length = length + separator.length + 1;
  packet->command_length = packet->command_end = length;
  packet->command_start = 0;
  return 1;
}

int KIV_CALL kiv_proto_PackPara(kiv_proto* packet, const char* name,
                                const char* value) KIV_NOEXCEPT {
  return packet && name && value && pack_parameter(*packet, name, value) ? 1 : 0;
}
