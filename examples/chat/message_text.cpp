#include "message_text.h"

#include "../http_files/text.h"

namespace chat {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// C0, DEL, and C1, which UTF-8 writes as C2 80 to C2 9F.
bool is_control(std::string_view character) {
  const auto first = static_cast<unsigned char>(character[0]);
  if (character.size() == 1) return first < ' ' || first == 0x7F;
  return first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0;
}

}  // namespace

std::string clean_text(std::string_view text, std::size_t most) {
  std::string clean;
  while (!text.empty()) {
    const std::size_t length = http_files::utf8_length(text);
    const std::string_view character = length == 0 ? kReplacement : text.substr(0, length);
    if (clean.size() + character.size() > most) break;
    if (is_control(character)) {
      clean += ' ';
    } else {
      clean += character;
    }
    text.remove_prefix(length == 0 ? 1 : length);
  }
  const auto begin = clean.find_first_not_of(' ');
  if (begin == std::string::npos) return {};
  return clean.substr(begin, clean.find_last_not_of(' ') - begin + 1);
}

std::string clean_name(std::string_view name, std::size_t most) {
  std::string clean = clean_text(name, most);
  for (char& c : clean) {
    if (c == ' ') c = '_';
  }
  return clean;
}

void append_json(std::string& out, std::string_view text) {
  out += '"';
  for (const char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  out += '"';
}

}  // namespace chat
