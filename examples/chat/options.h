// What the host is told: by its command line, and by the file that this names.
#pragma once

#include <cstdint>
#include <string>

#include "../http_files/server.h"
#include "native_client.h"

namespace chat {

// A file's path, and where it comes from: "FILE: [group] key: ", or empty for the command line.
struct Path {
  std::string text;
  std::string origin;
};

struct Options {
  http_files::ServerOptions http;
  std::uint16_t native_port = 0;  // 0: one above that of HTTP
  NativeLimits limits;
  Path folder{".", {}};
  Path words;  // empty: no word marks a message
  Path log;    // empty: no log
  Path pid;    // empty: no such file
  std::string config_file;
  std::string service;  // what --service asks for
  bool wants_help = false;
};

inline constexpr const char* kUsage =
    "usage: chat [--config FILE] [--port N] [--chat-port N] [--public] [--words FILE] [--log FILE] "
    "[--service install|remove|start|stop|query|run] [FOLDER]";

// A port, or what is wrong with it.
std::string take_port(std::uint16_t& port, const std::string& value);

// Empty, or one line that says what is wrong with the arguments. What they do not mention stays.
std::string parse_options(int argc, char** argv, Options& options);

}  // namespace chat
