// What is fetched.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace http_fetch {

struct Target {
  std::string url;        // with its scheme
  std::string authority;  // host, and the port when it is not 80
  std::string host;
  std::uint16_t port = 0;
  std::string request;  // for the request line
  std::string name;     // for a file: what follows the last slash
};

// Nothing for anything but an http URL. "host/path" is taken for one.
std::optional<Target> parse_target(const std::string& text);

// Where a redirection leads to, as a text; empty when it is no URL.
std::string resolve(const std::string& location, const Target& from);

}  // namespace http_fetch
