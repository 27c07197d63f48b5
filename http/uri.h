// A URI text parsed, and records made from the parts.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "http/text.h"
#include "kiv_base/http.h"

namespace kiv::http {

using OwnedUri = std::unique_ptr<kiv_uri, FreedBy<kiv_uri_free>>;

// The parts of a text as they stand in it, backslashes and escapes included. A part that is not
// there has no data(), one that is there may be empty.
struct UriParts {
  std::string_view scheme, opaque, authority, user, host, path, query, fragment;
  std::int32_t port = 0;
  bool plain = true;  // no backslash and no escape in any of them
};

// False for anything but a URI reference. Flags as in kiv_uri.
bool parse_uri(const char* text, std::int32_t flags, UriParts& parts) noexcept;

inline bool is_uri(const char* text) noexcept {
  UriParts parts;
  return parse_uri(text, 0, parts);
}

// A new record; null if out of memory.
OwnedUri make_uri(const UriParts& parts, std::int32_t flags) noexcept;

// The default port of a scheme in any case; 0 for null and for unknown schemes.
std::int32_t default_port(const char* scheme) noexcept;

}  // namespace kiv::http
