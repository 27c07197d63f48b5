// The command line of the host.
#pragma once

#include <cstdint>
#include <string>

#include "../http_files/server.h"
#include "native_client.h"

namespace chat {

struct Options {
  http_files::ServerOptions http;
  std::uint16_t native_port = 0;  // 0: one above that of HTTP
  NativeLimits limits;
  std::string folder = ".";
  std::string words_file;  // empty: no word marks a message
  std::string log_file;    // empty: no log
  bool wants_help = false;
};

inline constexpr const char* kUsage =
    "usage: chat [--port N] [--chat-port N] [--public] [--words FILE] [--log FILE] [FOLDER]";

// Empty, or one line that says what is wrong with the arguments.
std::string parse_options(int argc, char** argv, Options& options);

}  // namespace chat
