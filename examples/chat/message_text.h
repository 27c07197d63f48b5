// What people type, made fit to be shown to others.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace chat {

// Valid UTF-8 of at most `most` bytes: control characters, which a terminal would obey, become
// blanks, bytes that are no UTF-8 the replacement character, and blanks at both ends go.
std::string clean_text(std::string_view text, std::size_t most);

// The same for a name: blanks inside become "_".
std::string clean_name(std::string_view name, std::size_t most);

// Appends a clean text as a JSON string, quotes included.
void append_json(std::string& out, std::string_view text);

}  // namespace chat
