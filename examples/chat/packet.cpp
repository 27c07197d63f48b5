#include "packet.h"

#include <array>

namespace chat {
namespace {

constexpr std::size_t kMaxPacket = 10240;

}  // namespace

std::string Packet::make(const char* command,
                         std::initializer_list<std::pair<const char*, std::string>> parameters) {
  kiv_proto_PackCmd(record_.get(), command);
  for (const auto& [name, value] : parameters) {
    kiv_proto_PackPara(record_.get(), name, value.c_str());
  }
  const char* bytes = nullptr;
  int32_t length = 0;
  kiv_proto_GetPacket(record_.get(), &bytes, &length);
  return std::string(bytes, static_cast<std::size_t>(length));
}

bool Packet::parse(std::string_view bytes) {
  return kiv_proto_ParsePacket(record_.get(), bytes.data(), static_cast<int32_t>(bytes.size())) ==
         1;
}

std::string Packet::command() const {
  const char* command = nullptr;
  return kivx_proto_GetCmd(record_.get(), &command, nullptr) == 1 ? command : "";
}

std::string Packet::value(const char* name) const {
  const char *at = nullptr, *value = nullptr;
  int more = kivx_proto_GetFirst(record_.get(), &at, nullptr, &value, nullptr);
  for (; more == 1; more = kivx_proto_GetNext(record_.get(), &at, nullptr, &value, nullptr)) {
    if (std::string_view(at) == name) return value;
  }
  return {};
}

std::string PacketStream::next() {
  std::array<char, kMaxPacket> buffer;
  int32_t length = 0;
  kiv_parse_pool_get(pool_.get(), buffer.data(), static_cast<int32_t>(buffer.size()), &length);
  return std::string(buffer.data(), static_cast<std::size_t>(length));
}

}  // namespace chat
