// Text as it travels in URLs, pages and header fields.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace http_files {

// ASCII only, whatever the locale.
char lower(char c);
bool equal_ignoring_case(std::string_view a, std::string_view b);

// True when a comma-separated field value ("keep-alive, Upgrade") holds the token.
bool has_token(std::string_view list, std::string_view token);

// Digits only, and no more than fit.
std::optional<unsigned long long> parse_number(std::string_view digits);

// Length of the UTF-8 sequence that the text begins with, 0 when it begins with none (RFC 3629).
std::size_t utf8_length(std::string_view text);

// Nothing when a "%" is not followed by two hexadecimal digits.
std::optional<std::string> percent_decode(std::string_view text);

// Appends one path segment; everything but letters, digits, "-._~" is escaped.
void append_percent_encoded(std::string& out, std::string_view segment);

// Appends text for an HTML page or a quoted attribute. Bytes that are not UTF-8, as file names
// may hold, become the replacement character.
void append_html(std::string& out, std::string_view text);

// Appends text for one line of a log: nothing in it can end the line or the quotes around it.
void append_log_text(std::string& out, std::string_view text);

}  // namespace http_files
