// The packets that native clients and the host send each other, zero-terminated:
//
//   to the host                      from the host
//   login user="ann"                 welcome user="ann"  or  refused reason="..."
//   say text="hello"                 said from="ann" text="hello" [marked="yes"]
//   who                              people count="2" names="ann<line feed>bob"
//   leave                            (the host closes the connection)
//                                    joined user="bob", left user="bob"
//                                    error reason="..."
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

#include "kiv_base/cpp/packet.hpp"

namespace chat {

// One record, used again for every packet.
class Packet {
 public:
  // The packet's bytes with its zero. Values are at most 5120 bytes long.
  std::string make(const char* command,
                   std::initializer_list<std::pair<const char*, std::string>> parameters);

  // Returns false for an invalid packet.
  bool parse(std::string_view bytes) { return record_.parse(bytes); }
  std::string command() const { return std::string(record_.command().view()); }
  std::string value(const char* name) const;  // empty when it is missing

 private:
  kiv::Packet record_ = kiv::Packet::make();
};

// Cuts what was received into packets.
class PacketStream {
 public:
  // False when there is no room for the bytes.
  bool put(std::string_view bytes) { return pool_.write(bytes); }
  // The next whole packet; empty: none.
  std::string next();
  // Bytes of a packet that is not whole yet.
  int32_t waiting() const { return pool_.size(); }

 private:
  kiv::PacketStream pool_ = kiv::PacketStream::make();
};

}  // namespace chat
