// The command line.
#pragma once

#include <string>

#include "server.h"

namespace http_files {

struct Options {
  ServerOptions server;
  std::string folder = ".";
  std::string log_file;  // empty: no log
  bool wants_help = false;
};

inline constexpr const char* kUsage =
    "usage: http_files [--port N] [--public] [--log FILE] [--idle SECONDS] [FOLDER]";

// Empty, or one line that says what is wrong with the arguments.
std::string parse_options(int argc, char** argv, Options& options);

}  // namespace http_files
