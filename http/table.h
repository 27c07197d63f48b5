// The message head behind kiv_http_table.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "http/text.h"
#include "kiv_base/http.h"

namespace kiv::http {

// A string of a table: in a block of its own, or in the block of the head that was parsed.
struct TableText {
  char* text = nullptr;
  OwnedText own;  // empty in the second case

  // Copies a string, which may be the old one; false, with the old one kept, if out of memory.
  bool set(const char* from, std::size_t length) noexcept;
  void reset() noexcept {
    text = nullptr;
    own.reset();
  }
};

struct Field {
  TableText name, value;
};

struct Form {
  OwnedText name, escaped, raw;
};

// One of a table's two lists, with the cursor that walks it. The cursor counts entries: it stays
// where it is when one in front of it is removed.
template <typename Entry>
class Entries {
 public:
  Entries() noexcept = default;
  ~Entries() { clear(); }
  Entries(const Entries&) = delete;
  Entries& operator=(const Entries&) = delete;

  Entry* begin() const noexcept { return first_; }
  Entry* end() const noexcept { return first_ + count_; }
  bool is_empty() const noexcept { return count_ == 0; }

  // A new entry at the end; null if out of memory.
  Entry* add() noexcept {
    return count_ < room_ || grow() ? new (first_ + count_++) Entry : nullptr;
  }

  void remove(Entry* entry) noexcept {
    std::move(entry + 1, end(), entry);
    std::destroy_at(first_ + --count_);
  }

  // The entry at the cursor, which moves on; null at the end.
  Entry* next() noexcept { return cursor_ < count_ ? first_ + cursor_++ : nullptr; }
  void rewind() noexcept { cursor_ = 0; }

  void clear() noexcept {
    std::destroy_n(first_, count_);
    base::deallocate(first_);
    first_ = nullptr;
    count_ = room_ = cursor_ = 0;
  }

 private:
  static constexpr std::size_t kFirstRoom = 16;

  bool grow() noexcept {
    const std::size_t room = std::max(kFirstRoom, room_ * 2);
    Entry* const moved = base::RawStorage<Entry>::allocate(room).release();
    if (moved == nullptr) return false;
    std::uninitialized_move_n(first_, count_, moved);
    std::destroy_n(first_, count_);
    base::deallocate(first_);
    first_ = moved;
    room_ = room;
    return true;
  }

  Entry* first_ = nullptr;
  std::size_t count_ = 0, room_ = 0, cursor_ = 0;
};

}  // namespace kiv::http

struct kiv_http_table {
  kiv::http::TableText method, version, status, request;
  std::int32_t status_value = -1;
  kiv::http::Entries<kiv::http::Field> fields;
  kiv::http::Entries<kiv::http::Form> forms;
  std::int32_t form_length = 0;
  kiv::http::OwnedText head;  // the block of a parsed head

  void clear() noexcept;

  // The status line and the value it begins with.
  bool set_status(const char* line, std::size_t length) noexcept;

  // The first entry of a name, null if there is none.
  kiv::http::Field* find_field(const char* name) const noexcept;
  kiv::http::Form* find_form(const char* name) const noexcept;
  const char* field(const char* name) const noexcept;

  // False, with the table unchanged, if out of memory.
  bool set_field(const char* name, const char* value) noexcept;
  bool set_form(const char* name, const char* raw_value) noexcept;
  void remove_form(kiv::http::Form* form) noexcept;
  void clear_forms() noexcept;

  // Add an entry at the end, whether or not the name is there. The form entry takes its strings
  // over and counts for the form length.
  bool append_field(const char* name, const char* value) noexcept;
  bool append_form(kiv::http::Form form) noexcept;

  // Length of the form as text.
  std::int32_t form_text_length() const noexcept;

  // The head and the form as text; empty if there is none, as stated for the exported functions.
  kiv::http::OwnedText head_text() noexcept;
  kiv::http::OwnedText form_text() const noexcept;

 private:
  void add_form_length(std::size_t plus, std::size_t minus) noexcept;
};

namespace kiv::http {

using OwnedTable = std::unique_ptr<kiv_http_table, FreedBy<kiv_http_table_free>>;

// Are two names equal but for the case of ASCII letters?
bool same_name(const char* a, const char* b) noexcept;

// An empty table; null if out of memory.
OwnedTable make_table() noexcept;

OwnedTable clone(const kiv_http_table& table) noexcept;

// Parses the head in [text, end), which ends early at a zero byte. Null, with a message, for what
// is no head.
OwnedTable parse_header(const char* text, const char* end) noexcept;

}  // namespace kiv::http
