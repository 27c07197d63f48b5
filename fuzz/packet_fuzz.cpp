// A stream framed and its packets parsed, read, edited and packed again. The first byte chooses the
// size of the pieces that the stream comes in; framing does not depend on it.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "kiv_base/protocol.h"

namespace {

// Editing leaves lengths stale on purpose; nothing may be read outside of the record for it.
void edit(kiv_proto* packet) {
  const char* name = nullptr;
  const char* value = nullptr;
  if (kivx_proto_GetFirst(packet, &name, nullptr, &value, nullptr) == 0) return;
  const std::string first = name;
  kiv_proto_ModifyPara(packet, first.c_str(), "two \"quotes\"");
  kiv_proto_ModifyCmd(packet, "another");
  kiv_proto_PackPara(packet, "added", value);
  kiv_proto_DeletePara(packet, first.c_str());
}

void try_packet(kiv_proto* packet, const char* bytes, std::int32_t length) {
  if (kiv_proto_ParsePacket(packet, bytes, length) != kiv_proto_CheckPacket(nullptr, bytes, length))
    std::abort();
  edit(packet);
  kiv_proto_print(packet);
  const char* text = nullptr;
  std::int32_t size = 0;
  if (kiv_proto_GetPacket(packet, &text, &size) == 0) return;
  if (text[size - 1] != 0 || std::memchr(text, 0, static_cast<std::size_t>(size)) == nullptr)
    std::abort();
  kiv_proto* copy = kiv_proto_clone(packet);
  kiv_proto_ParsePacket(copy, text, size);
  edit(copy);
  kiv_proto_free(copy);
}

// The packets of the stream, one after the other.
std::string framed(const char* bytes, std::size_t size, std::size_t piece, kiv_proto* packet) {
  kiv_parse_pool* pool = kiv_parse_pool_malloc();
  std::string all;
  char buffer[10240];
  for (std::size_t at = 0; at < size; at += piece) {
    const std::size_t count = piece < size - at ? piece : size - at;
    if (kiv_parse_pool_input(pool, bytes + at, static_cast<std::int32_t>(count)) == 0) std::abort();
    std::int32_t length = 0;
    while (kiv_parse_pool_get(pool, buffer, sizeof buffer, &length) == 1) {
      all.append(buffer, static_cast<std::size_t>(length));
      if (packet) try_packet(packet, buffer, length);
    }
  }
  kiv_parse_pool_free(pool);
  return all;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  return std::freopen("/dev/null", "w", stdout) == nullptr ? 1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
  if (size < 2) return 0;
  kiv_proto* packet = kiv_proto_new();
  const std::size_t piece = 1 + static_cast<unsigned char>(data[0]);
  const std::string in_pieces = framed(data + 1, size - 1, piece, packet);
  // Whoever drains later may lose what 10240 bytes without a zero drop; shorter streams agree.
  if (size < 10000 && framed(data + 1, size - 1, size - 1, nullptr) != in_pieces) std::abort();
  kiv_proto_free(packet);
  return 0;
}
