// What a record holds, read out.
#include <cstdio>
#include <cstring>

#include "base/str.h"
#include "protocol/proto.h"

using namespace kiv::protocol;

namespace {

// Without a packet the text is emptied.
bool has_text(kiv_proto& packet) {
  if (packet.command_length > 0 && packet.packet_length > 0) return true;
  packet.packet[0] = 0;
  packet.packet_length = 0;
  return false;
}

void give_packet(const kiv_proto& packet, const char** text, int32_t* length) {
  if (text) *text = packet.packet;
  if (length) *length = packet.packet_length;
}

// Copies what fits, with a zero.
int copy_text(char* buffer, int32_t size, const char* text) {
  if (!buffer || size < 1) return 0;
  kiv::base::copy_within(buffer, static_cast<std::size_t>(size), text);
  return 1;
}

int give_parameter(const kiv_proto& packet, int32_t i, const char** name, int32_t* name_length,
                   const char** value, int32_t* value_length) {
  if (name) *name = packet.names[i];
  if (name_length) *name_length = packet.name_lengths[i];
  if (value) *value = packet.values[i];
  if (value_length) *value_length = packet.value_lengths[i];
  return 1;
}

int copy_first(kiv_proto* packet, char* name, int32_t name_size, char* value, int32_t value_size) {
  const char *first = nullptr, *content = nullptr;
  if (!name || !value || name_size < 1 || value_size < 1) return 0;
  if (!kivx_proto_GetFirst(packet, &first, nullptr, &content, nullptr)) return 0;
  return copy_text(name, name_size, first) & copy_text(value, value_size, content);
}

// 0 outside the text.
char byte_at(const kiv_proto& packet, int32_t offset) {
  return offset >= 0 && offset < packet.packet_length ? packet.packet[offset] : '\0';
}

void print_parameter(const kiv_proto& packet, int32_t i) {
  std::printf("para[%d]:%s\n", i, packet.names[i]);
  std::printf("para_len[%d]:%d\n", i, packet.name_lengths[i]);
  std::printf("para_start_pos[%d]:%d\n", i, packet.name_starts[i]);
  std::printf("para_start_pos[%c]\n", byte_at(packet, packet.name_starts[i]));
  std::printf("para_end_pos[%d]:%d\n", i, packet.name_ends[i]);
  std::printf("para_end_pos[%c]\n\n", byte_at(packet, packet.name_ends[i] - 1));
  std::printf("content[%d]:%s\n", i, packet.values[i]);
  std::printf("content_len[%d]:%d\n", i, packet.value_lengths[i]);
  std::printf("content_start_pos[%d]:%d\n", i, packet.value_starts[i]);
  std::printf("content_start_pos[%c]\n", byte_at(packet, packet.value_starts[i]));
  std::printf("content_end_pos[%d]:%d\n", i, packet.value_ends[i]);
  std::printf("content_end_pos[%c]\n\n", byte_at(packet, packet.value_ends[i] - 1));
}

}  // namespace

int KIV_CALL kiv_proto_GetPacket(kiv_proto* packet, const char** text,
                                 int32_t* length) KIV_NOEXCEPT {
  if (!packet) return 0;
  const bool has = has_text(*packet);
  give_packet(*packet, text, length);
  return has ? 1 : 0;
}

const char* KIV_CALL kivx_proto_GetPacket(kiv_proto* packet, const char** text,
                                          int32_t* length) KIV_NOEXCEPT {
  if (!packet) return nullptr;
  has_text(*packet);
  give_packet(*packet, text, length);
  return packet->packet;
}

int32_t KIV_CALL kivx_proto_GetPacketLen(kiv_proto* packet) KIV_NOEXCEPT {
  return packet && has_text(*packet) ? packet->packet_length : 0;
}

int KIV_CALL kivx_proto_GetCmd(kiv_proto* packet, const char** command,
                               int32_t* length) KIV_NOEXCEPT {
  if (!packet || packet->command_length < 1 || packet->packet_length < 1) return 0;
  if (command) *command = packet->command;
  if (length) *length = packet->command_length;
  return 1;
}

int KIV_CALL kiv_proto_GetCmd(kiv_proto* packet, char* buffer, int32_t size) KIV_NOEXCEPT {
  const char* command = nullptr;
  return kivx_proto_GetCmd(packet, &command, nullptr) ? copy_text(buffer, size, command) : 0;
}

int KIV_CALL kivx_proto_GetPara(kiv_proto* packet, const char* name, const char** value,
                                int32_t* length) KIV_NOEXCEPT {
  if (!packet || !name) return 0;
  const int32_t i = find_or_print(*packet, name);
  return i >= 0 ? give_parameter(*packet, i, nullptr, nullptr, value, length) : 0;
}

int KIV_CALL kiv_proto_GetPara(kiv_proto* packet, const char* name, char* buffer,
                               int32_t size) KIV_NOEXCEPT {
  const char* value = nullptr;
  if (!buffer || size < 1 || !kivx_proto_GetPara(packet, name, &value, nullptr)) return 0;
  return copy_text(buffer, size, value);
}

int32_t KIV_CALL kiv_proto_NumPara(kiv_proto* packet) KIV_NOEXCEPT {
  return packet ? packet->count : 0;
}

int KIV_CALL kiv_proto_rewind(kiv_proto* packet) KIV_NOEXCEPT {
  if (!packet) return 0;
  packet->cursor = 0;
  return 1;
}

int KIV_CALL kivx_proto_GetFirst(kiv_proto* packet, const char** name, int32_t* name_length,
                                 const char** value, int32_t* value_length) KIV_NOEXCEPT {
  return kiv_proto_rewind(packet)
             ? kivx_proto_GetNext(packet, name, name_length, value, value_length)
             : 0;
}

int KIV_CALL kivx_proto_GetNext(kiv_proto* packet, const char** name, int32_t* name_length,
                                const char** value, int32_t* value_length) KIV_NOEXCEPT {
  if (!packet || packet->cursor >= packet->count) return 0;
  return give_parameter(*packet, packet->cursor++, name, name_length, value, value_length);
}

int KIV_CALL kiv_proto_GetFirst(kiv_proto* packet, char* name, int32_t name_size, char* value,
                                int32_t value_size) KIV_NOEXCEPT {
  return copy_first(packet, name, name_size, value, value_size);
}

int KIV_CALL kiv_proto_GetNext(kiv_proto* packet, char* name, int32_t name_size, char* value,
                               int32_t value_size) KIV_NOEXCEPT {
  // deliberate: the first one every time; programs were written against it, and walk with kivx_.
  return copy_first(packet, name, name_size, value, value_size);
}

int KIV_CALL kiv_proto_print(kiv_proto* packet) KIV_NOEXCEPT {
  if (!packet) return 0;
  if (packet->packet_length < 1 || packet->packet_length > kMaxPacket) {
    packet->packet[0] = packet->command[0] = 0;
  }
  std::printf("packet:\n%s\n", packet->packet);
  std::printf("strlen(packet):%d\n", text_length(packet->packet));
  std::printf("packet_len:%d\n", packet->packet_length);
  std::printf("cmd:%s\n", packet->command);
  std::printf("cmd_len:%d\n", packet->command_length);
  std::printf("cmd_start_pos:%d\n", packet->command_start);
  std::printf("cmd_end_pos:%d\n", packet->command_end);
  std::printf("num_fields:%d\n", packet->count);
  std::printf("current_pos:%d\n\n", packet->cursor);
  for (int32_t i = 0; i < packet->count; ++i) print_parameter(*packet, i);
  return 1;
}
