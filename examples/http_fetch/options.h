// The command line.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace http_fetch {

struct FormField {
  std::string name, value;
};

// How every URL is fetched.
struct Settings {
  std::string proxy_host;  // empty: straight to the server
  std::uint16_t proxy_port = 0;
  std::string user, password;
  std::vector<FormField> form;  // not empty: sent by POST
  bool follow = false;
};

struct Options {
  Settings settings;
  std::string output;  // empty: named after the URL
  std::vector<std::string> urls;
  bool wants_help = false;
};

inline constexpr const char* kUsage =
    "usage: http_fetch [-o FILE] [-x HOST:PORT] [--user U:P] [-d NAME=VALUE]... [-L] URL...";

// Empty, or one line that says what is wrong with the arguments.
std::string parse_options(int argc, char** argv, Options& options);

}  // namespace http_fetch
