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
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "kiv_base/protocol.h"

namespace chat {

// One record, used again for every packet.
class Packet {
 public:
  Packet() : record_(kiv_proto_new()) {}

  // The packet's bytes with its zero. Values are at most 5120 bytes long.
  std::string make(const char* command,
                   std::initializer_list<std::pair<const char*, std::string>> parameters);

  // False for what is no packet.
  bool parse(std::string_view bytes);
  std::string command() const;
  std::string value(const char* name) const;  // empty when it is missing

 private:
  struct Free {
    void operator()(kiv_proto* record) const { kiv_proto_free(record); }
  };
  std::unique_ptr<kiv_proto, Free> record_;
};

// Cuts what was received into packets.
class PacketStream {
 public:
  PacketStream() : pool_(kiv_parse_pool_malloc()) {}

  // False when there is no room for the bytes.
  bool put(std::string_view bytes) {
    return kiv_parse_pool_input(pool_.get(), bytes.data(), static_cast<int32_t>(bytes.size())) == 1;
  }
  // The next whole packet; empty: none.
  std::string next();
  // Bytes of a packet that is not whole yet.
  int32_t waiting() const { return kiv_parse_pool_GetLen(pool_.get()); }

 private:
  struct Free {
    void operator()(kiv_parse_pool* pool) const { kiv_parse_pool_free(pool); }
  };
  std::unique_ptr<kiv_parse_pool, Free> pool_;
};

}  // namespace chat
