#include "system/config_text.h"

#include <cstring>

#include "system/config.h"

namespace kiv::system {

namespace {

bool is_kind(const Piece* piece, Kind kind) {
  return piece != nullptr && piece->kind == kind;
}

bool ends_line(const Piece* piece) {
  return is_kind(piece, Kind::byte_order_mark) || (piece != nullptr && piece->has_line_end());
}

char* put_bytes(char* out, const char* text, std::size_t length) {
  std::memcpy(out, text, length);
  return out + length;
}

// The position of the line ends after a piece, unless they were added.
const char* end_of(const Piece& piece) {
  if (piece.kind == Kind::key) return piece.pair.value + piece.value_length;
  const bool closed = piece.kind == Kind::header && !piece.open;
  return piece.pair.key + piece.length + (closed ? 1 : 0);
}

char line_end_at(const Piece& piece, std::size_t index) {
  if (index == 0) return piece.line_end;
  return piece.added_line_end ? '\n' : end_of(piece)[index];
}

bool is_pair_at(const Piece& piece, std::size_t index) {
  return line_end_at(piece, index) == '\r' && line_end_at(piece, index + 1) == '\n';
}

void add_line_end(Piece& piece) {
  piece.line_end = '\r';
  piece.line_end_length = 2;
  piece.added_line_end = true;
}

char* put_line_end(char* out, const Piece& piece) {
  if (!piece.has_line_end()) return out;
  *out++ = piece.line_end;
  if (piece.added_line_end) return put_bytes(out, "\n", 1);
  return put_bytes(out, end_of(piece) + 1, piece.line_end_length - 1);
}

// Copies a value with the line ends that are to follow it.
void put_value(char* out, const char* value, std::size_t length, const Piece* line_end) {
  char* const end = put_bytes(out, value, length);
  if (line_end != nullptr) *put_line_end(end, *line_end) = '\0';
  *end = '\0';
}

void free_blocks(const Piece& piece) {
  if (piece.own_text) base::deallocate(const_cast<char*>(piece.pair.key));
  if (piece.own_value) base::deallocate(const_cast<char*>(piece.pair.value));
}

// The bytes between key and value.
std::size_t separator_length(const Piece& key) {
  if (key.separator == '=') return 1;
  const char* const behind = key.pair.key + key.length;
  if (!key.own_value) return static_cast<std::size_t>(key.pair.value - behind);
  return std::strcspn(behind + 1, "=") + 2;
}

// A mark that the text lacks is only needed once something follows.
const char* closing_mark(const Piece& piece) {
  if (piece.open && piece.next == nullptr && !piece.has_line_end()) return "";
  if (piece.kind == Kind::header) return "]";
  return piece.open ? "*/" : "";
}

std::size_t name_length(const Piece& header) {
  return header.group != nullptr ? header.group->length : header.length;
}

std::size_t printed_length(const Piece& piece) {
  switch (piece.kind) {
    case Kind::key:
      return piece.length + separator_length(piece) + piece.value_length;
    case Kind::header:
      return 1 + name_length(piece) + std::strlen(closing_mark(piece));
    default:
      return piece.length + std::strlen(closing_mark(piece));
  }
}

char* put_key(char* out, const Piece& key) {
  const std::size_t separator = separator_length(key);
  char* const value = put_bytes(out, key.pair.key, key.length + separator);
  value[-static_cast<std::ptrdiff_t>(separator)] = key.separator;
  return put_bytes(value, key.pair.value, key.value_length);
}

char* put_piece(char* out, const Piece& piece) {
  if (piece.kind == Kind::key) return put_key(out, piece);
  const bool named = piece.kind == Kind::header && piece.group != nullptr;
  if (piece.kind == Kind::header) *out++ = '[';
  out = named ? put_bytes(out, piece.group->name(), piece.group->length)
              : put_bytes(out, piece.pair.key, piece.length);
  return put_bytes(out, closing_mark(piece), std::strlen(closing_mark(piece)));
}

}  // namespace

ConfigText::~ConfigText() {
  for (const Piece* piece = first_; piece != nullptr; piece = piece->next) free_blocks(*piece);
}

// ---- building ----

Piece* ConfigText::append(Kind kind, const char* text, std::size_t length) {
  Piece* const piece = pool_.take_record();
  if (piece == nullptr) return nullptr;
  piece->kind = kind;
  piece->pair.key = text;
  piece->length = static_cast<std::uint32_t>(length);
  link_behind(last_, piece);
  return piece;
}

bool ConfigText::append_line_end(const char* text, std::size_t length) {
  if ((last_ == nullptr || last_->has_line_end()) && !append(Kind::empty, text, 0)) return false;
  last_->line_end = *text;
  last_->line_end_length = static_cast<std::uint32_t>(length);
  return true;
}

Piece* ConfigText::make_key(const char* key, const char* value, const Piece* header) {
  const std::size_t length = std::strlen(key);
  const std::size_t value_length = std::strlen(value);
  const std::uint32_t line_end_length = header != nullptr ? header->line_end_length : 0;
  auto block = base::RawStorage<char>::allocate(length + 1 + value_length + line_end_length + 1);
  Piece* const made = block ? pool_.take_record() : nullptr;
  if (made == nullptr) return nullptr;
  std::memcpy(block.get(), key, length + 1);
  char* const own_value = block.get() + length + 1;
  put_value(own_value, value, value_length, header);
  made->kind = Kind::key;
  made->own_text = true;
  made->pair = {block.release(), own_value};
  made->length = static_cast<std::uint32_t>(length);
  made->value_length = static_cast<std::uint32_t>(value_length);
  made->line_end_length = line_end_length;
  made->line_end = header != nullptr ? header->line_end : '\0';
  return made;
}

bool ConfigText::set_value(Piece* key, const char* value) {
  const std::size_t length = std::strlen(value);
  auto block = base::RawStorage<char>::allocate(length + key->line_end_length + 1);
  if (!block) return false;
  put_value(block.get(), value, length, key);
  if (key->own_value) base::deallocate(const_cast<char*>(key->pair.value));
  key->pair.value = block.release();
  key->value_length = static_cast<std::uint32_t>(length);
  key->own_value = true;
  key->added_line_end = false;
  return true;
}

void ConfigText::link_behind(Piece* place, Piece* piece) {
  Piece*& before = place != nullptr ? place->next : first_;
  Piece*& after = before != nullptr ? before->prev : last_;
  piece->prev = place;
  piece->next = before;
  before = after = piece;
}

void ConfigText::insert_below(Piece* header, Piece* key) {
  // Text after the header on its line would become part of the value.
  const Piece* const after = header->next;
  const bool line_goes_on =
      !header->has_line_end() && after != nullptr && !is_kind(after, Kind::empty);
  if (line_goes_on) add_line_end(*key);
  add_line_end(*header);
  link_behind(header, key);
}

Piece* ConfigText::append_header() {
  Piece* const header = pool_.take_record();
  if (header == nullptr) return nullptr;
  if ((last_ == nullptr || last_->has_line_end()) && !append(Kind::empty, "", 0)) {
    pool_.give_back(header);
    return nullptr;
  }
  add_line_end(*last_);
  header->kind = Kind::header;
  header->added = true;
  link_behind(last_, header);
  return header;
}

// ---- removing ----

Piece* ConfigText::remove(Piece* piece) {
  Piece* const next = piece->next;
  (piece->prev != nullptr ? piece->prev->next : first_) = next;
  (next != nullptr ? next->prev : last_) = piece->prev;
  release(piece);
  return next;
}

void ConfigText::release(Piece* piece) {
  free_blocks(*piece);
  piece->removed = true;
  if (!piece->pending) pool_.give_back(piece);
}

Piece* ConfigText::remove_key(Piece* key) {
  const bool had_line_end = key->has_line_end();
  Piece* const next = remove(key);
  return !had_line_end && is_kind(next, Kind::empty) ? remove(next) : next;
}

Piece* ConfigText::remove_key_line(Piece* key) {
  remove_indent(key);
  if (key->has_line_end()) return cut_line(key);
  Piece* const next = remove(key);
  return is_kind(next, Kind::empty) ? cut_line(next) : next;
}

Piece* ConfigText::remove_header_line(Piece* header) {
  remove_indent(header);
  if (header->has_line_end()) return cut_line(header);
  Piece* const after = remove(header);
  if (is_kind(after, Kind::empty)) return cut_line(after);
  if (!is_kind(after, Kind::blank)) return after;
  if (after->has_line_end()) return cut_line(after);
  if (after->next != nullptr && !is_kind(after->next, Kind::empty))
    return after;  // the line goes on
  Piece* const line_end = remove(after);
  return line_end != nullptr ? cut_line(line_end) : nullptr;
}

void ConfigText::remove_indent(const Piece* piece) {
  Piece* const indent = piece->prev;
  if (!is_kind(indent, Kind::blank) || indent->has_line_end()) return;
  if (indent->prev == nullptr || ends_line(indent->prev)) remove(indent);
}

// Removes a piece and the first of its line ends. What is left of them becomes an empty piece.
Piece* ConfigText::cut_line(Piece* piece) {
  const std::uint32_t cut = piece->line_end_length > 1 && is_pair_at(*piece, 0) ? 2 : 1;
  if (piece->line_end_length == cut) return remove(piece);
  const char* const rest = end_of(*piece) + cut;
  if (piece->own_text) {
    // The block that the rest lies in is kept as the value.
    char* const text = const_cast<char*>(piece->pair.key);
    if (piece->own_value) {
      base::deallocate(text);
    } else {
      piece->pair.value = text;
    }
    piece->own_text = false;
    piece->own_value = true;
  }
  piece->kind = Kind::empty;
  piece->pair.key = rest;
  piece->length = 0;
  piece->line_end = *rest;
  piece->line_end_length -= cut;
  return piece->next;
}

void ConfigText::remove_last_line_end() {
  if (!ends_with_line_end()) return;
  const std::uint32_t length = last_->line_end_length;
  const std::uint32_t cut = length > 1 && is_pair_at(*last_, length - 2) ? 2 : 1;
  last_->line_end_length = length - cut;
  if (length > cut) return;
  last_->added_line_end = false;
  if (is_kind(last_, Kind::empty)) remove(last_);
}

// ---- printing ----

base::RawStorage<char> ConfigText::print(std::size_t& length) const {
  std::uint64_t total = 0;
  for (const Piece* piece = first_; piece != nullptr; piece = piece->next) {
    total += printed_length(*piece) + piece->line_end_length;
  }
  if (total >= INT32_MAX) return {};
  length = static_cast<std::size_t>(total);
  auto text = base::RawStorage<char>::allocate(length + 1);
  if (!text) return text;
  char* out = text.get();
  for (const Piece* piece = first_; piece != nullptr; piece = piece->next) {
    out = put_line_end(put_piece(out, *piece), *piece);
  }
  *out = '\0';
  return text;
}

}  // namespace kiv::system
