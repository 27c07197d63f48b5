// What travels, encrypted or as it is.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "kiv_base/protocol.h"

namespace uvc_ping {

inline constexpr std::size_t kBlock = 8;
inline constexpr std::size_t kMaxKey = 64;  // bytes that the library makes a key of

// Datagrams get lost, come twice and in another order, so that each is encrypted for itself. The
// cipher tells no forged bytes from true ones: the reader looks for marks in the text (message.h).
class Cipher {
 public:
  // Without a key, bytes stay as they are.
  explicit Cipher(const std::string& key);

  bool is_ready() const { return !has_key_ || cipher_ != nullptr; }

  std::string encipher(std::string text);
  // With a key, the text has up to 7 zeros after it. Nothing when these are no whole blocks.
  std::optional<std::string> decipher(std::string_view bytes);

 private:
  bool has_key_;
  std::unique_ptr<kiv_cipher, void (*)(kiv_cipher*)> cipher_;
};

}  // namespace uvc_ping
