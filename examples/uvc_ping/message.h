// The two messages: a ping, and the pong that answers it.
//
//   0   4 bytes  "ping" or "pong"
//   4   4        its number, counted up from 1
//   8   8        what the sender of the ping has drawn, so that a stranger cannot guess an answer
//   16  4        length of all this; the bytes after it are zeros of the cipher's last block
//   20           filler: the low bytes of number, number + 1, ...
//
// Numbers are little-endian. A text that is decrypted with another key has none of these marks.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace uvc_ping {

inline constexpr std::uint32_t kMinSize = 20;
inline constexpr std::uint32_t kMaxSize = 10232;  // whole blocks of the 10238 bytes of a datagram

struct Message {
  enum class Kind { ping, pong };

  Kind kind = Kind::ping;
  std::uint32_t number = 0;
  std::uint64_t run = 0;
  std::uint32_t size = kMinSize;
};

std::string to_text(const Message& message);

// Nothing for any other text.
std::optional<Message> parse_message(std::string_view text);

}  // namespace uvc_ping
