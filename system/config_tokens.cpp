#include "system/config_tokens.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <utility>

namespace kiv::system {

namespace {

constexpr std::size_t kFirstRoom = 32;
constexpr std::size_t kMostRoom = 2048;

bool is(const Token* token, Kind kind) {
  return token != nullptr && token->kind == kind;
}

// What is written behind a token's text. A mark that the text lacks is only needed once something
// follows.
const char* closing_mark(const Token& token) {
  if (token.open && token.next == nullptr) return "";
  if (token.kind == Kind::header) return "]";
  return token.open ? "*/" : "";
}

char* put(char* out, const char* text, std::size_t length) {
  std::memcpy(out, text, length);
  return out + length;
}

}  // namespace

TokenPool::~TokenPool() {
  while (blocks_ != nullptr) _zu_free(std::exchange(blocks_, blocks_->next));
}

Token* TokenPool::take() {
  if (free_ != nullptr) return std::exchange(free_, free_->next);
  if (used_ == room_) {
    const std::size_t room = std::clamp(room_ * 2, kFirstRoom, kMostRoom);
    auto block = base::Owned<Token>::allocate(room);
    if (!block) return nullptr;
    block->next = blocks_;
    blocks_ = block.release();
    room_ = room;
    used_ = 1;
  }
  return &blocks_[used_++];
}

TokenList::~TokenList() {
  for (Token* token = first_; token != nullptr;) token = remove(token);
}

Token* TokenList::append(Kind kind, const char* text, std::size_t length, bool open) {
  Token* const token = pool_.take();
  if (token == nullptr) return nullptr;
  *token = {last_, nullptr, text, static_cast<std::uint32_t>(length), kind, open};
  (last_ != nullptr ? last_->next : first_) = token;
  return last_ = token;
}

void TokenList::splice_after(Token* place, TokenList& other) {
  if (other.first_ == nullptr) return;
  Token*& before = place != nullptr ? place->next : first_;
  Token*& after = before != nullptr ? before->prev : last_;
  other.first_->prev = place;
  other.last_->next = before;
  before = other.first_;
  after = other.last_;
  other.first_ = other.last_ = nullptr;
}

Token* TokenList::remove(Token* token) {
  Token* const next = token->next;
  (token->prev != nullptr ? token->prev->next : first_) = next;
  (next != nullptr ? next->prev : last_) = token->prev;
  pool_.give_back(token);
  return next;
}

Token* TokenList::remove_key(Token* key) {
  Token* token = remove(key);
  for (Kind part :
       {Kind::blank, Kind::equals, Kind::blank, Kind::value, Kind::blank, Kind::line_end}) {
    if (is(token, part)) {
      token = remove(token);
    } else if (part != Kind::blank) {
      break;
    }
  }
  return token;
}

Token* TokenList::remove_key_line(Token* key) {
  remove_indent(key);
  Token* token = remove(key);
  while (is(token, Kind::blank) || is(token, Kind::equals) || is(token, Kind::value)) {
    token = remove(token);
  }
  return is(token, Kind::line_end) ? remove_first_line_end(token) : token;
}

Token* TokenList::remove_header_line(Token* header) {
  remove_indent(header);
  Token* const after = remove(header);
  Token* const line_end = is(after, Kind::blank) ? after->next : after;
  if (line_end != nullptr && line_end->kind != Kind::line_end) return after;  // the line goes on
  if (after != line_end) remove(after);
  return line_end != nullptr ? remove_first_line_end(line_end) : nullptr;
}

void TokenList::remove_indent(const Token* token) {
  Token* const indent = token->prev;
  if (!is(indent, Kind::blank)) return;
  const Token* const before = indent->prev;
  if (before == nullptr || is(before, Kind::line_end) || is(before, Kind::byte_order_mark)) {
    remove(indent);
  }
}

Token* TokenList::remove_first_line_end(Token* line_end) {
  const bool pair = line_end->length > 1 && std::memcmp(line_end->text, "\r\n", 2) == 0;
  const std::uint32_t length = pair ? 2 : 1;
  if (line_end->length == length) return remove(line_end);
  line_end->text += length;
  line_end->length -= length;
  return line_end->next;
}

void TokenList::remove_last_line_end() {
  if (!ends_with_line_end()) return;
  const std::uint32_t length = last_->length;
  const bool pair = length > 1 && std::memcmp(last_->text + length - 2, "\r\n", 2) == 0;
  last_->length -= pair ? 2 : 1;
  if (last_->length == 0) remove(last_);
}

base::Owned<char> TokenList::print(std::size_t& length) const {
  std::uint64_t total = 0;
  for (const Token* token = first_; token != nullptr; token = token->next) {
    total += token->length + (token->kind == Kind::header) + std::strlen(closing_mark(*token));
  }
  if (total >= INT32_MAX) return {};
  length = static_cast<std::size_t>(total);
  auto text = base::Owned<char>::allocate(length + 1);
  if (!text) return text;
  char* out = text.get();
  for (const Token* token = first_; token != nullptr; token = token->next) {
    if (token->kind == Kind::header) *out++ = '[';
    out = put(out, token->text, token->length);
    out = put(out, closing_mark(*token), std::strlen(closing_mark(*token)));
  }
  *out = '\0';
  return text;
}

}  // namespace kiv::system
