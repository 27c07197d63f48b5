#include "packet.h"

#include <array>

namespace chat {

std::string Packet::make(const char* command,
                         std::initializer_list<std::pair<const char*, std::string>> parameters) {
  record_.start(command);
  for (const auto& [name, value] : parameters) record_.add(name, value);
  return std::string(record_.bytes().view());
}

// By hand, as the library prints a line for a parameter that is missing.
std::string Packet::value(const char* name) const {
  record_.rewind();
  while (const auto parameter = record_.next()) {
    if (parameter->name == name) return std::string(parameter->value.view());
  }
  return {};
}

std::string PacketStream::next() {
  std::array<char, kiv::PacketStream::kMaxPacket> buffer;
  return std::string(pool_.next(buffer).view());
}

}  // namespace chat
