#include "text.h"

#include <charconv>

namespace http_files {
namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

int hex_value(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  c = lower(c);
  return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

bool is_unreserved(char c) {
  const char l = lower(c);
  return (l >= 'a' && l <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.' || c == '_' ||
         c == '~';
}

void append_hex(std::string& out, const char* prefix, char c) {
  const auto byte = static_cast<unsigned char>(c);
  out += prefix;
  out += kHexDigits[byte >> 4];
  out += kHexDigits[byte & 15];
}

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

}  // namespace

std::size_t utf8_length(std::string_view text) {
  const auto at = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned lead = at(0);
  if (lead < 0x80) return 1;
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((at(i) & 0xC0) != 0x80) return 0;
  }
  // Overlong forms, surrogates, and what lies beyond U+10FFFF.
  const unsigned second = at(1);
  const bool wrong = (lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
                     (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F);
  return wrong ? 0 : length;
}

char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

bool equal_ignoring_case(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (lower(a[i]) != lower(b[i])) return false;
  }
  return true;
}

bool has_token(std::string_view list, std::string_view token) {
  while (!list.empty()) {
    const auto comma = list.find(',');
    if (equal_ignoring_case(trimmed(list.substr(0, comma)), token)) return true;
    if (comma == std::string_view::npos) break;
    list.remove_prefix(comma + 1);
  }
  return false;
}

std::optional<unsigned long long> parse_number(std::string_view digits) {
  unsigned long long value = 0;
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, value);
  if (digits.empty() || stop != end || error != std::errc()) return std::nullopt;
  return value;
}

std::optional<std::string> percent_decode(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      out += text[i];
      continue;
    }
    if (text.size() - i < 3) return std::nullopt;
    const int high = hex_value(text[i + 1]);
    const int low = hex_value(text[i + 2]);
    if (high < 0 || low < 0) return std::nullopt;
    out += static_cast<char>(high * 16 + low);
    i += 2;
  }
  return out;
}

void append_percent_encoded(std::string& out, std::string_view segment) {
  for (const char c : segment) {
    if (is_unreserved(c)) {
      out += c;
    } else {
      append_hex(out, "%", c);
    }
  }
}

void append_html(std::string& out, std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = utf8_length(text);
    switch (text[0]) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&#39;";
        break;
      default:
        if (length == 0) {
          out += "\xEF\xBF\xBD";
        } else {
          out += text.substr(0, length);
        }
    }
    text.remove_prefix(length == 0 ? 1 : length);
  }
}

void append_log_text(std::string& out, std::string_view text) {
  for (const char c : text) {
    if (c >= ' ' && c <= '~' && c != '"' && c != '\\') {
      out += c;
    } else {
      append_hex(out, "\\x", c);
    }
  }
}

}  // namespace http_files
