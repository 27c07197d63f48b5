#include "response.h"

#include <charconv>

#include "http_date.h"
#include "kiv_base/http.h"
#include "text.h"

namespace http_files {
namespace {

void append_number(std::string& out, std::uint64_t value) {
  char digits[20];
  out.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

// "404 Not Found"
std::string_view status_line(int status) {
  for (const char* const* line = kiv_http_status_lines; *line != nullptr; ++line) {
    const std::string_view text = *line;
    if (parse_number(text.substr(0, 3)) == static_cast<unsigned>(status)) return text;
  }
  return "500 Internal Server Error";
}

}  // namespace

void append_head(std::string& out, const Head& head) {
  out += "HTTP/1.1 ";
  out += status_line(head.status);
  out += "\r\nServer: http_files\r\nDate: ";
  append_http_date(out, std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()));
  if (!head.type.empty()) {
    out += "\r\nContent-Type: ";
    out += head.type;
    out += "\r\nContent-Length: ";
    append_number(out, head.length);
    out += "\r\nX-Content-Type-Options: nosniff";
  }
  if (head.last_modified) {
    out += "\r\nLast-Modified: ";
    append_http_date(out, *head.last_modified);
  }
  if (head.accepts_ranges) out += "\r\nAccept-Ranges: bytes";
  if (!head.content_range.empty()) {
    out += "\r\nContent-Range: ";
    out += head.content_range;
  }
  if (!head.location.empty()) {
    out += "\r\nLocation: ";
    out += head.location;
  }
  if (!head.more.empty()) {
    out += "\r\n";
    out += head.more;
  }
  if (head.status == 405) out += "\r\nAllow: GET, HEAD";
  if (!head.keep_alive) {
    out += "\r\nConnection: close";
  } else if (head.says_keep_alive) {
    out += "\r\nConnection: keep-alive";
  }
  out += "\r\n\r\n";
}

void append_status_page(std::string& out, Head head, bool is_head_request) {
  const std::string title(status_line(head.status));
  const std::string page =
      "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
      "<title>" +
      title +
      "</title>\n"
      "<style>:root{color-scheme:light dark}body{font:1.1rem system-ui,sans-serif;"
      "margin:20vh auto;text-align:center}</style></head>\n"
      "<body><h1>" +
      title + "</h1></body></html>\n";
  head.type = "text/html; charset=utf-8";
  head.length = page.size();
  append_head(out, head);
  if (!is_head_request) out += page;
}

}  // namespace http_files
