// Dates of header fields, such as "Sun, 06 Nov 1994 08:49:37 GMT" (RFC 7231, 7.1.1.1).
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace http_files {

// Appends the 29 characters of a time in the years 0 to 9999.
void append_http_date(std::string& out, std::chrono::sys_seconds time);

// The preferred form alone: a date in one of the two obsolete forms is read as none, which costs
// its sender nothing but a full answer.
std::optional<std::chrono::sys_seconds> parse_http_date(std::string_view text);

}  // namespace http_files
