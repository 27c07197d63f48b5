#include "message.h"

#include <algorithm>

#include "cipher.h"

namespace uvc_ping {
namespace {

constexpr std::string_view kPing = "ping", kPong = "pong";

template <typename Number>
void append(std::string& out, Number number) {
  for (std::size_t i = 0; i < sizeof number; ++i) out += static_cast<char>(number >> 8 * i & 0xff);
}

template <typename Number>
Number number_at(std::string_view text, std::size_t at) {
  Number number = 0;
  for (std::size_t i = 0; i < sizeof number; ++i) {
    number |= static_cast<Number>(static_cast<unsigned char>(text[at + i])) << 8 * i;
  }
  return number;
}

// A damaged text, or one put together from blocks of others, is told by its other bytes.
bool is_whole(const Message& message, std::string_view text) {
  const std::string right = to_text(message);
  const std::string_view rest = text.substr(right.size());
  return text.starts_with(right) && std::ranges::all_of(rest, [](char c) { return c == '\0'; });
}

}  // namespace

std::string to_text(const Message& message) {
  std::string text(message.kind == Message::Kind::ping ? kPing : kPong);
  text.reserve(message.size + kBlock);
  append(text, message.number);
  append(text, message.run);
  append(text, message.size);
  for (std::uint32_t i = 0; text.size() < message.size; ++i) {
    text += static_cast<char>((message.number + i) & 0xff);
  }
  return text;
}

std::optional<Message> parse_message(std::string_view text) {
  if (text.size() < kMinSize) return std::nullopt;
  Message message;
  message.kind = text.starts_with(kPing) ? Message::Kind::ping : Message::Kind::pong;
  message.number = number_at<std::uint32_t>(text, 4);
  message.run = number_at<std::uint64_t>(text, 8);
  message.size = number_at<std::uint32_t>(text, 16);
  const bool fits = message.size >= kMinSize && message.size <= text.size() &&
                    text.size() - message.size < kBlock;
  if (!fits || !is_whole(message, text)) return std::nullopt;
  return message;
}

}  // namespace uvc_ping
