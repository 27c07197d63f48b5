#include "http/message.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "base/ascii.h"
#include "http/char_class.h"

namespace kiv::http {
namespace {

constexpr std::int32_t kMaxHead = 5120;
constexpr std::int32_t kMaxSizeLine = 1024;
constexpr std::int32_t kUntilCloseLength = 0x40000000;
constexpr std::int32_t kLastChunkLength = 5;  // of "0", its line end and the blank line

// The held bytes and the input after them as one text, cut at a limit.
struct Window {
  const char* text;
  std::int32_t length;
  std::int32_t held;  // how many of these bytes are not from the input
};

// Where nothing is held, the window is the input itself.
Window window(Message& message, const Input& in, std::int32_t limit) noexcept {
  const std::int32_t held = message.held_length;
  const std::int32_t taken = std::min(in.left(), limit - held);
  if (held == 0) return {in.at, taken, 0};
  std::memcpy(message.held + held, in.at, static_cast<std::size_t>(taken));
  return {message.held, held + taken, held};
}

// Keeps a window that ends where the input does, until there is more.
bool hold(Message& message, Input& in, const Window& seen) noexcept {
  if (message.held == nullptr) message.held = OwnedText::allocate(kMaxHead).release();
  if (message.held == nullptr) return false;
  if (seen.held == 0) std::memcpy(message.held, seen.text, static_cast<std::size_t>(seen.length));
  message.held_length = seen.length;
  in.at = in.end;
  return true;
}

// Uses the window's first bytes. Held bytes beyond them are the next message's.
void use(Message& message, Input& in, const Window& seen, std::int32_t count) noexcept {
  in.at += std::max(0, count - seen.held);
  message.held_length = std::max(0, seen.held - count);
  if (message.held_length == 0) return;
  std::memmove(message.held, message.held + count, static_cast<std::size_t>(message.held_length));
}

// Position of the first LF, from `from` on, directly after the other text; -1 when there is none.
template <std::int32_t Size>
std::int32_t find_newline(const Window& window, std::int32_t from,
                          const char (&before)[Size]) noexcept {
  from = std::max(from, Size - 1);
  while (from < window.length) {
    const char* const start = window.text + from;
    const void* const found =
        std::memchr(start, '\n', static_cast<std::size_t>(window.length - from));
    if (found == nullptr) return -1;
    const char* const at = static_cast<const char*>(found);
    from += static_cast<std::int32_t>(at - start);
    if (std::memcmp(at - (Size - 1), before, Size - 1) == 0) return from;
    ++from;
  }
  return -1;
}

// Length of the text up to and including the blank line, 0 when it has none. The first `seen`
// bytes are known to have none.
std::int32_t find_head_end(const Window& window, std::int32_t seen) noexcept {
  return find_newline(window, seen, "\r\n\r") + 1;
}

// Position of the first CR LF, -1 when there is none.
std::int32_t find_line_end(const Window& window) noexcept {
  // A waiting "0" line is examined again; of a longer text the held part has no line end.
  const std::int32_t newline =
      find_newline(window, window.held < kLastChunkLength ? 0 : window.held, "\r");
  return newline < 0 ? -1 : newline - 1;
}

// How the body of a response without Content-Length comes: the state to wait for it in.
std::int32_t response_body(Message& message, const char* head, std::int32_t head_length) noexcept {
  const kiv_http_table& table = *message.table;
  if (table.method.text != nullptr) return KIV_HTTP_COMPLETE;
  if (const char* coding = table.field("Transfer-Encoding")) {
    if (same_name(coding, "chunked")) return KIV_HTTP_CHUNKED;
    std::printf("error: not find 'chunked' in 'Transfer-Encoding' field in HTTP header(\n%.*s)!\n",
                static_cast<int>(head_length), head);
    return KIV_HTTP_BROKEN;
  }
  const char* const connection = table.field("Connection");
  if (connection != nullptr && same_name(connection, "close") && table.status_value == 200) {
    message.expected = kUntilCloseLength;
    return KIV_HTTP_UNTIL_CLOSE;
  }
  return KIV_HTTP_COMPLETE;
}

// The same for any message.
// deliberate: a length wins over a chunked coding, and a response with neither length, coding nor
// "close" ends with its head; peers are served so.
std::int32_t body(Message& message, Kind kind, const char* head, std::int32_t length) noexcept {
  const char* const announced = message.table->field("Content-Length");
  if (announced == nullptr) {
    return kind == Kind::request ? KIV_HTTP_COMPLETE : response_body(message, head, length);
  }
  const std::int64_t expected = leading_number(announced);
  if (expected > INT32_MAX) return KIV_HTTP_BROKEN;
  message.expected = static_cast<std::int32_t>(std::max(expected, std::int64_t{0}));
  return message.expected > 0 ? KIV_HTTP_BODY : KIV_HTTP_COMPLETE;
}

// Reads a complete head.
bool begin_message(Message& message, Kind kind, const char* head, std::int32_t length) noexcept {
  message.table = parse_header(head, head + length).release();
  if (message.table == nullptr) return false;
  if (kind == Kind::request && message.table->method.text == nullptr) return false;
  message.body = containers::new_jitter();
  if (message.body == nullptr) return false;
  message.state = body(message, kind, head, length);
  return message.state != KIV_HTTP_BROKEN;
}

// The hexadecimal number at the very start of a size line; 0 when there is none.
std::int64_t chunk_size(const char* line, std::int32_t length) noexcept {
  std::int64_t size = 0;
  for (std::int32_t i = 0; i < length; ++i) {
    const int digit = base::hex_value(line[i]);
    if (digit < 0) break;
    size = std::min(size * 16 + digit, kHugeNumber);
  }
  return size;
}

// A size line that says 0, or nothing readable.
bool take_last_chunk(Message& message, Input& in, const Window& seen,
                     std::int32_t line_length) noexcept {
  if (seen.length < kLastChunkLength) return hold(message, in, seen);
  if (seen.text[0] != '0') {
    std::printf("error: chunked header(%.*s:%d) error in __input_CheckStatus_chunked_content()!\n",
                static_cast<int>(seen.length), seen.text, static_cast<int>(seen.length));
    return false;
  }
  // The blank line after a plain "0" belongs to it. After any other spelling it is left to the
  // next head, which skips it.
  const bool blank_line =
      line_length == 1 && is(seen.text[3], kLineEnd) && is(seen.text[4], kLineEnd);
  use(message, in, seen, blank_line ? kLastChunkLength : line_length + 2);
  message.state = KIV_HTTP_COMPLETE;
  return true;
}

// Both counts start again with each chunk, so that chunks may come for ever.
void begin_chunk(Message& message, std::int64_t size) noexcept {
  message.expected = static_cast<std::int32_t>(size);
  message.received = 0;
}

// The usual size line, which stands in the input as a whole: a few digits and CR LF. False, with
// nothing used, for any other.
bool take_plain_size_line(Message& message, Input& in) noexcept {
  constexpr int kLongest = 7;  // digits that an int32 always holds
  if (in.left() < kLongest + 2) return false;
  const char* at = in.at;
  std::int32_t size = 0;
  for (int digit; at - in.at < kLongest && (digit = base::hex_value(*at)) >= 0; ++at) {
    size = size * 16 + digit;
  }
  if (size == 0 || at[0] != '\r' || at[1] != '\n') return false;
  in.at = at + 2;
  begin_chunk(message, size);
  return true;
}

bool take_size_line(Message& message, Input& in) noexcept {
  const Window seen = window(message, in, kMaxSizeLine);
  const std::int32_t line_length = find_line_end(seen);
  if (line_length < 0) {
    if (seen.length < kMaxSizeLine) return hold(message, in, seen);
    std::printf(
        "error: not find next chunked data(%.*s) in __input_CheckStatus_chunked_content()!\n",
        static_cast<int>(seen.length), seen.text);
    return false;
  }
  const std::int64_t size = chunk_size(seen.text, line_length);
  if (size > INT32_MAX) return false;
  if (size == 0) return take_last_chunk(message, in, seen, line_length);
  begin_chunk(message, size);
  use(message, in, seen, line_length + 2);
  return true;
}

}  // namespace

bool take_head(Message& message, Input& in, Kind kind) noexcept {
  const Window seen = window(message, in, kMaxHead);
  const std::int32_t length = find_head_end(seen, seen.held);
  if (length > 0) {
    if (!begin_message(message, kind, seen.text, length)) return false;
    use(message, in, seen, length);
    return true;
  }
  message.state = KIV_HTTP_HEAD;
  return seen.length < kMaxHead && hold(message, in, seen);
}

bool take_body(Message& message, Input& in) noexcept {
  const std::int32_t wanted = std::min(message.expected - message.received, in.left());
  const std::int32_t stored = message.body->put(in.at, wanted);
  if (stored != wanted) return false;  // no memory, or the body is full
  in.at += stored;
  message.received += stored;
  const bool all = message.received == message.expected;
  if (all && message.state != KIV_HTTP_CHUNKED) message.state = KIV_HTTP_COMPLETE;
  return true;
}

bool take_chunked(Message& message, Input& in) noexcept {
  while (in.left() > 0 && message.state == KIV_HTTP_CHUNKED) {
    if (message.received < message.expected) {
      if (!take_body(message, in)) return false;
      continue;
    }
    if (message.held_length > 0) return take_size_line(message, in);
    while (in.left() > 0 && is(*in.at, kLineEnd)) ++in.at;
    if (in.left() == 0 || take_plain_size_line(message, in)) continue;
    if (!take_size_line(message, in)) return false;
  }
  return true;
}

}  // namespace kiv::http
