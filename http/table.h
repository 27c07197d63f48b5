// The message head behind kiv_http_table.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "http/text.h"
#include "kiv_base/http.h"

namespace kiv::http {

// What a list needs beside its first node so that neither appending nor walking searches it.
struct ListEnds {
  zu_list* last;
  zu_list* walked;  // the node the cursor has just passed, null when it has to be looked up
};

// A header field. The block holds the name, and the value until a longer one replaces it.
struct Field {
  char* name;
  char* value;
  bool value_apart;  // the value has a block of its own
};

// A form field. The block holds the name.
struct Form {
  char* name;
  char* escaped;
  char* raw;
};

}  // namespace kiv::http

struct kiv_http_table {
  char* method;
  char* version;
  std::int32_t status_value;
  char* status;
  char* request;
  zu_list* fields;
  std::int32_t field_cursor;
  zu_list* forms;
  std::int32_t form_cursor;
  std::int32_t form_length;
  kiv::http::ListEnds field_ends;
  kiv::http::ListEnds form_ends;
};

namespace kiv::http {

using OwnedTable = std::unique_ptr<kiv_http_table, FreedBy<kiv_http_table_free>>;

// Are two names equal but for the case of ASCII letters?
bool same_name(const char* a, const char* b) noexcept;

// Puts a copy in the place of an owned text; false, with the old text kept, without memory.
bool replace_text(char*& slot, const char* text, std::size_t length) noexcept;

// Sets the status line and the value it begins with.
bool set_status(kiv_http_table& table, const char* line, std::size_t length) noexcept;

// Add an entry at the end, whether or not the name is there. The form entry takes both values over
// and counts for the form length.
bool append_field(kiv_http_table& table, const char* name, std::size_t name_length,
                  const char* value, std::size_t value_length) noexcept;
bool append_form(kiv_http_table& table, const char* name, std::size_t name_length,
                 OwnedText escaped, OwnedText raw) noexcept;

// Parses the head in [text, end), which ends early at a zero byte.
OwnedTable parse_header(const char* text, const char* end) noexcept;

}  // namespace kiv::http
