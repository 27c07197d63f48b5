// Heads of answers, and the small pages that carry a status.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace http_files {

struct Head {
  int status = 200;
  std::string_view type;  // none for an answer without a body, as 304 is
  std::uint64_t length = 0;
  std::optional<std::chrono::sys_seconds> last_modified;
  std::string content_range;  // "bytes 0-9/10"
  std::string location;
  bool accepts_ranges = false;
  bool keep_alive = true;
  bool says_keep_alive = false;
  std::string_view more;  // further fields, "A: b\r\nC: d"
};

// Appends status line, fields and the blank line that ends them.
void append_head(std::string& out, const Head& head);

// Appends a head and, unless the request was HEAD, a page that shows the status.
void append_status_page(std::string& out, Head head, bool is_head_request);

}  // namespace http_files
