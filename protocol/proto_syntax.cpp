#include "protocol/proto_syntax.h"

#include <cstdio>
#include <cstring>

#include "protocol/proto.h"

namespace kiv::protocol {

const WordMessages kCommandMessages = {
    "error: command string header is [%c]!\n",
    "error: command string include [%c]!\n",
    "error: command string length is [>=%d or <1]!\n",
    "error: command string length is [%d]!\n",
};
const WordMessages kNameMessages = {
    "error: parameter string header is [%c]!\n",
    "error: parameter string include [%c]!\n",
    "error: parameter string length is [>=%d or <1]!\n",
    "error: parameter string length is [%d]!\n",
};
const ItemMessages kParseMessages = {
    "info: packet parameter error!\n",
    "info: packet '=' error!\n",
    "info: packet content error!\n",
};
const ItemMessages kCheckMessages = {
    "info: packet have error parameter!\n",
    "info: packet have error '='!\n",
    "info: packet have error content!\n",
};

bool is_packable(const WordMessages& messages, const char* word, std::int32_t length) {
  if (length > 0 && !is_word_start(word[0])) {
    std::printf(messages.header, word[0]);
    return false;
  }
  for (std::int32_t i = 1; i < length; ++i) {
    if (is_word_part(word[i])) continue;
    std::printf(messages.inside, word[i]);
    return false;
  }
  if (length >= 1 && length <= kMaxName) return true;
  std::printf(messages.packed_length, length);
  return false;
}

bool is_framed(const char* bytes, std::int32_t length) {
  if (!bytes || length < 1 || length > kMaxPacket) return false;
  if (bytes[length - 1] == 0) return true;
  std::printf("warn: packet tail error[%c]!\n", bytes[length - 1]);
  return false;
}

void PacketReader::skip_separators() {
  while (is_separator(bytes_[at_])) ++at_;
}

void PacketReader::skip_zeros() {
  while (at_ < last_ && bytes_[at_] == 0) ++at_;
}

// A word ends before a separator or before `end`.
bool PacketReader::word(const WordMessages& messages, char end, Span* out) {
  skip_separators();
  const std::int32_t start = at_;
  if (!is_word_start(bytes_[at_])) {
    std::printf(messages.header, bytes_[at_]);
    return false;
  }
  while (is_word_part(bytes_[at_])) ++at_;
  if (bytes_[at_] != end && !is_separator(bytes_[at_])) {
    std::printf(messages.inside, bytes_[at_]);
    return false;
  }
  *out = {start, at_};
  if (out->length() <= kMaxName) return true;
  std::printf(messages.received_length, out->length());
  return false;
}

bool PacketReader::command(Span* out) {
  if (!word(kCommandMessages, '\0', out)) return false;
  skip_separators();
  skip_zeros();
  return true;
}

bool PacketReader::equals_sign() {
  skip_separators();
  if (bytes_[at_] != '=') {
    std::printf("error: '='[%c] syntax error!\n", bytes_[at_]);
    return false;
  }
  ++at_;
  return true;
}

bool PacketReader::content(Value* out) {
  skip_separators();
  if (bytes_[at_] != '"') {
    std::printf("error: content string header is [%c]!\n", bytes_[at_]);
    return false;
  }
  *out = {{++at_, 0}, 0};
  for (;; ++out->doubled, at_ += 2) {
    while (bytes_[at_] != '"' && bytes_[at_] != 0) ++at_;
    if (bytes_[at_] == 0) {
      std::printf("error: content string tail is [%c]!\n", bytes_[at_]);
      return false;
    }
    if (bytes_[at_ + 1] != '"') break;
  }
  out->text.end = at_++;
  const std::int32_t length = out->text.length() - out->doubled;
  if (length > kMaxValue) {
    std::printf("error: content string length is [>%d]!\n", length);
    return false;
  }
  skip_separators();
  return true;
}

bool PacketReader::parameter(Span* name, Value* value) {
  const char* refused = nullptr;
  if (!word(kNameMessages, '=', name)) {
    refused = messages_.parameter;
  } else if (!equals_sign()) {
    refused = messages_.equals;
  } else if (!content(value)) {
    refused = messages_.content;
  }
  if (refused) {
    std::fputs(refused, stdout);
    return false;
  }
  skip_zeros();
  // deliberate: the 64th parameter is rejected, although 64 can be packed; receivers have never
  // taken more than 63.
  if (++parameters_ < kMaxParameters) return true;
  std::printf("error: parameter too many(%d)!\n", kMaxParameters);
  return false;
}

}  // namespace kiv::protocol
