// The command line.
#pragma once

#include <cstdint>
#include <string>

namespace uvc_ping {

struct Options {
  enum class Mode { serve, ping };

  Mode mode = Mode::serve;
  std::string host;
  std::uint16_t port = 7008;
  std::string key;          // empty: nothing is encrypted
  std::uint32_t count = 0;  // 0: until Ctrl-C
  std::uint32_t interval_ms = 1000;
  std::uint32_t size = 64;  // of what is sent, before it is encrypted
  bool wants_help = false;
};

inline constexpr const char* kUsage =
    "usage: uvc_ping serve [--port N] [--key TEXT] | uvc_ping ping HOST [--port N] [--key TEXT] "
    "[--count N] [--interval MS] [--size BYTES]";

// Empty, or one line that says what is wrong with the arguments.
std::string parse_options(int argc, char** argv, Options& options);

}  // namespace uvc_ping
