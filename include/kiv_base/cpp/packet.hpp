// Command packets and their framing, the keyword filter and the packet cipher
// (kiv_base/protocol.h). Use each object from one thread.
#ifndef KIV_BASE_CPP_PACKET_HPP
#define KIV_BASE_CPP_PACKET_HPP

#include <cstdint>
#include <optional>

#include "kiv_base/cpp/text.hpp"
#include "kiv_base/protocol.h"

namespace kiv {

// ---- Command packets ----------------------------------------------------------------------------
//
//   auto packet = kiv::Packet::make();
//   packet.start("login") && packet.add("user", "ann");
//   box.write(socket, packet.bytes());

class PacketRef;
using Packet = Owner<PacketRef, kiv_proto_free>;

struct Parameter {
  TextRef name, value;
};

// False where C returns 0; a rejected edit leaves the packet unchanged. Strings are owned by the
// record until its next change.
class PacketRef : public Ref<kiv_proto> {
 public:
  using Ref::Ref;
  // Returns null if out of memory.
  static Packet make() noexcept { return Packet(kiv_proto_new()); }
  Packet clone() const noexcept { return Packet(kiv_proto_clone(object_)); }

  bool parse(Data bytes) const noexcept {
    return kiv_proto_ParsePacket(object_, bytes.data(), bytes.size()) == 1;
  }
  static bool would_parse(Data bytes) noexcept {
    return kiv_proto_CheckPacket(nullptr, bytes.data(), bytes.size()) == 1;
  }

  bool start(TextRef command) const noexcept {
    return kiv_proto_PackCmd(object_, command.c_str()) == 1;
  }
  bool add(TextRef name, TextRef value) const noexcept {
    return kiv_proto_PackPara(object_, name.c_str(), value.c_str()) == 1;
  }
  bool change_command(TextRef command) const noexcept {
    return kiv_proto_ModifyCmd(object_, command.c_str()) == 1;
  }
  // Afterwards value() may return the escaped text: parse the packet again to read it.
  bool change(TextRef name, TextRef value) const noexcept {
    return kiv_proto_ModifyPara(object_, name.c_str(), value.c_str()) == 1;
  }
  bool remove(TextRef name) const noexcept {
    return kiv_proto_DeletePara(object_, name.c_str()) == 1;
  }
  bool add_custom_data(Data bytes) const noexcept {
    return kivx_proto_PackCustomData(object_, bytes.data(), bytes.size()) == 1;
  }
  // Returns the bytes that fit the buffer; nothing if there are none.
  std::optional<Data> custom_data(Buffer to) const noexcept {
    std::int32_t length = 0;
    if (kivx_proto_GetCustomData(object_, to.data(), to.size(), &length) != 1) return {};
    return Data(to.data(), length);
  }

  // Includes the zero; empty without a packet.
  Data bytes() const noexcept {
    const char* text = nullptr;
    std::int32_t length = 0;
    kiv_proto_GetPacket(object_, &text, &length);
    return {text, length};
  }
  // Returns null if there is none; a missing parameter prints a line.
  TextRef command() const noexcept {
    const char* text = nullptr;
    kivx_proto_GetCmd(object_, &text, nullptr);
    return text;
  }
  TextRef value(TextRef name) const noexcept {
    const char* text = nullptr;
    kivx_proto_GetPara(object_, name.c_str(), &text, nullptr);
    return text;
  }
  std::int32_t parameter_count() const noexcept { return kiv_proto_NumPara(object_); }

  // Iterates over the parameters: returns nothing at the end.
  void rewind() const noexcept { kiv_proto_rewind(object_); }
  std::optional<Parameter> next() const noexcept {
    const char *name = nullptr, *value = nullptr;
    if (kivx_proto_GetNext(object_, &name, nullptr, &value, nullptr) != 1) return {};
    return Parameter{name, value};
  }
};

// ---- Framing of a stream into packets -----------------------------------------------------------

class PacketStreamRef;
using PacketStream = Owner<PacketStreamRef, kiv_parse_pool_free>;

class PacketStreamRef : public Ref<kiv_parse_pool> {
 public:
  using Ref::Ref;
  static constexpr std::int32_t kMaxPacket = 10240;

  // Returns null if out of memory.
  static PacketStream make() noexcept { return PacketStream(kiv_parse_pool_malloc()); }

  // Stores all the bytes, or none if there is no room or if out of memory.
  bool write(Data bytes) const noexcept {
    return kiv_parse_pool_input(object_, bytes.data(), bytes.size()) == 1;
  }
  // Returns the next packet with its zero, in the buffer, which should hold kMaxPacket bytes: a
  // packet that does not fit is dropped. Empty while none is complete.
  Data next(Buffer to) const noexcept {
    std::int32_t length = 0;
    kiv_parse_pool_get(object_, to.data(), to.size(), &length);
    return {to.data(), length};
  }
  std::int32_t size() const noexcept { return kiv_parse_pool_GetLen(object_); }
  std::int32_t room() const noexcept { return kiv_parse_pool_GetAvailableLen(object_); }
};

// ---- Keyword filter -----------------------------------------------------------------------------

class KeywordFilterRef;
using KeywordFilter = Owner<KeywordFilterRef, kiv_filter_free>;

class KeywordFilterRef : public Ref<kiv_filter> {
 public:
  using Ref::Ref;
  struct Hit {
    TextRef keyword, text;  // the filter's own
    std::int32_t tag = 0;
  };

  // Returns null if out of memory.
  static KeywordFilter make() noexcept { return KeywordFilter(kiv_filter_malloc()); }

  bool insert(TextRef keyword, TextRef text = "", std::int32_t tag = 0) const noexcept {
    return kivx_filter_insert(object_, keyword.c_str(), text.c_str(), tag) == 1;
  }
  bool hits(TextRef text) const noexcept { return kiv_filter_IsHit(object_, text.c_str()) == 1; }
  std::optional<Hit> find(TextRef text) const noexcept {
    const char *keyword = nullptr, *keyword_text = nullptr;
    std::int32_t tag = 0;
    if (kivx_filter_IsHit(object_, text.c_str(), &keyword, &keyword_text, &tag) != 1) return {};
    return Hit{keyword, keyword_text, tag};
  }
};

// ---- Packet cipher ------------------------------------------------------------------------------

class CipherRef;
using Cipher = Owner<CipherRef, kiv_cipher_free>;

// Modes are the KIV_CIPHER_ constants. Counts are -1 where C returns 0.
class CipherRef : public Ref<kiv_cipher> {
 public:
  using Ref::Ref;
  // Returns null for an unknown mode, a missing key, or if out of memory.
  static Cipher make(int mode, Data key = {}) noexcept {
    return Cipher(kiv_cipher_malloc(mode, key.data(), key.size()));
  }
  bool restart(int mode, Data key = {}) const noexcept {
    return kiv_cipher_reset(object_, mode, key.data(), key.size()) == 1;
  }
  // Returns the number of bytes written; bytes that do not fit are dropped.
  std::int32_t encipher(Buffer to, Data bytes) const noexcept {
    std::int32_t written = 0;
    const int done =
        kiv_encipher(object_, to.data(), to.size(), &written, bytes.data(), bytes.size());
    return done == 1 ? written : -1;
  }
  // Stores all the bytes or none.
  bool write(Data bytes) const noexcept {
    return kiv_cipher_input(object_, bytes.data(), bytes.size()) == 1;
  }
  // Returns -1 if nothing whole is held, 0 if nothing fits.
  std::int32_t read(Buffer to) const noexcept {
    std::int32_t written = 0;
    return kiv_cipher_get(object_, to.data(), to.size(), &written) == 1 ? written : -1;
  }
  static bool make_key(Buffer to, TextRef first, TextRef second) noexcept {
    return kiv_cipher_key(to.data(), to.size(), first.c_str(), second.c_str()) == 1;
  }
};

}  // namespace kiv

#endif
