// A configuration text as the list of its pieces, in order. Put together again they are the text.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/str.h"
#include "kiv_base/system.h"
#include "system/config_records.h"

namespace kiv::system {

struct Group;

// A key has what follows it up to the end of its value. An empty piece is a line end alone.
enum class Kind : std::uint8_t { byte_order_mark, empty, blank, comment, header, key };

// A piece of the text with the run of line ends after it, if any. Its bytes lie together, in the
// text that was read or in a block of its own. Names and values there are terminated in their
// place, over a byte that is known or kept.
struct Piece {
  zu_config_entry pair{};  // of a key; of others, `key` is the piece's text
  Piece* prev = nullptr;
  Piece* next = nullptr;
  Piece* chain = nullptr;  // of a key, the index's; of a header, the next one of its group
  Piece* next_pending = nullptr;
  Group* group = nullptr;    // of a header or key that is indexed
  std::uint32_t length = 0;  // of the key or text; of a header, the name only
  std::uint32_t value_length = 0;
  std::uint32_t line_end_length = 0;
  Kind kind = Kind::empty;
  char separator = '=';             // the byte after the key
  char line_end = '\0';             // the first byte of the line ends
  bool open : 1 = false;            // a header or comment without its closing mark, at the end
  bool own_text : 1 = false;        // `key` is a block of its own, with the first value
  bool own_value : 1 = false;       // `value` is a block of its own
  bool added_line_end : 1 = false;  // CR LF that does not follow the text
  bool added : 1 = false;           // a header that came with the line end before it
  bool shadowed : 1 = false;        // a key with an equal one further down in its group
  bool pending : 1 = false;
  bool removed : 1 = false;

  const char* name() const { return pair.key; }
  bool is_listed() const { return kind == Kind::key; }  // what is left of a key may be empty
  std::size_t hash() const { return hash_of(pair.key, length, group); }
  bool has_line_end() const { return line_end_length != 0; }
};

class ConfigText {
 public:
  ConfigText() = default;
  ~ConfigText();
  ConfigText(const ConfigText&) = delete;
  ConfigText& operator=(const ConfigText&) = delete;

  Pool<Piece>& pool() { return pool_; }
  bool ends_with_line_end() const { return last_ != nullptr && last_->has_line_end(); }

  // Add a piece of the text that was read, or the run of line ends after the last one. Null and
  // false if out of memory.
  Piece* append(Kind kind, const char* text, std::size_t length);
  bool append_line_end(const char* text, std::size_t length);

  // Returns a key with a block of its own and the line end of the header that it is to follow, null
  // if out of memory.
  Piece* make_key(const char* key, const char* value, const Piece* header);
  // Stores the value of the key in a block of its own. False, with nothing changed, if out of
  // memory.
  bool set_value(Piece* key, const char* value);

  // Inserts a key as the line below a header.
  void insert_below(Piece* header, Piece* key);
  // Adds a header without a text of its own, as a line of its own. Null if out of memory.
  Piece* append_header();

  // Take a piece out, return the next one.
  Piece* remove(Piece* piece);
  // The same with all line ends after it.
  Piece* remove_key(Piece* key);
  // The same as a line of its own: with the space before it, and leaving the blank lines after it.
  Piece* remove_header_line(Piece* header);
  Piece* remove_key_line(Piece* key);

  // Removes one line end from the end of the text, if it ends with one.
  void remove_last_line_end();

  // Frees a piece that is not in the list.
  void release(Piece* piece);

  // Returns the text, terminated, and its length; empty if it is too long or out of memory.
  base::RawStorage<char> print(std::size_t& length) const;

 private:
  void link_behind(Piece* place, Piece* piece);
  void remove_indent(const Piece* piece);
  Piece* cut_line(Piece* piece);

  Pool<Piece> pool_;
  Piece* first_ = nullptr;
  Piece* last_ = nullptr;
};

}  // namespace kiv::system
