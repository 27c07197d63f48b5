// A configuration text as the list of its tokens, in order. Put together again they are the text.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/owned.h"

namespace kiv::system {

enum class Kind : std::uint8_t {
  byte_order_mark,
  line_end,
  blank,
  comment,
  header,
  key,
  equals,
  value
};

// A token does not own its text: that stands in the text that was read, or belongs to the group or
// entry that the token is part of.
struct Token {
  Token* prev;
  Token* next;
  const char* text;  // of a header, the name only; of a line end or blank, the whole run
  std::uint32_t length;
  Kind kind;
  bool open;  // a header or comment whose closing mark is missing, which can only be the last token
  bool added = false;  // a header that came with the line end before it
};

// Room for tokens, in blocks, each larger than the one before: a walk over them is a walk through
// memory. Blocks are given back with the pool alone.
class TokenPool {
 public:
  TokenPool() = default;
  ~TokenPool();
  TokenPool(const TokenPool&) = delete;
  TokenPool& operator=(const TokenPool&) = delete;

  // Null without memory.
  Token* take();
  void give_back(Token* token) {
    token->next = free_;
    free_ = token;
  }

 private:
  Token* blocks_ = nullptr;  // the first token of each only links to the next block
  std::size_t room_ = 0;     // of the first block
  std::size_t used_ = 0;
  Token* free_ = nullptr;
};

// The pool outlives its lists.
class TokenList {
 public:
  explicit TokenList(TokenPool& pool) : pool_(pool) {}
  ~TokenList();
  TokenList(const TokenList&) = delete;
  TokenList& operator=(const TokenList&) = delete;

  Token* last() const { return last_; }
  bool ends_with_line_end() const { return last_ != nullptr && last_->kind == Kind::line_end; }

  // Adds a token at the end; null without memory.
  Token* append(Kind kind, const char* text, std::size_t length, bool open = false);

  // Moves all tokens of `other`, of the same pool, behind `place`, to the front when that is null.
  void splice_after(Token* place, TokenList& other);

  // Take a token out and give the next one.
  Token* remove(Token* token);

  // The same for a key, with what follows it: "=", value, blanks between them, and the run of line
  // ends. Stops where the tokens are other ones.
  Token* remove_key(Token* key);

  // The same for a header or key as a line of its own: with the blank before it, and leaving the
  // blank lines behind it.
  Token* remove_header_line(Token* header);
  Token* remove_key_line(Token* key);

  // Removes one line end from the end of the text, if it ends with one.
  void remove_last_line_end();

  // The text, terminated, and its length; empty when it is too long or memory runs out.
  base::Owned<char> print(std::size_t& length) const;

 private:
  void remove_indent(const Token* token);
  Token* remove_first_line_end(Token* line_end);

  TokenPool& pool_;
  Token* first_ = nullptr;
  Token* last_ = nullptr;
};

}  // namespace kiv::system
