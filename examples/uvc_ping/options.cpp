#include "options.h"

#include <string_view>

#include "../http_files/text.h"
#include "cipher.h"
#include "message.h"

namespace uvc_ping {
namespace {

// The result says what is wrong; empty: nothing.
template <typename Number>
std::string take_number(Number& out, std::uint32_t min, std::uint32_t max, std::string_view option,
                        const std::string& value) {
  const auto number = http_files::parse_number(value);
  if (number && *number >= min && *number <= max) {
    out = static_cast<Number>(*number);
    return {};
  }
  return std::string(option) + " takes a number from " + std::to_string(min) + " to " +
         std::to_string(max) + ", not '" + value + "'";
}

std::string take_key(std::string& key, const std::string& value) {
  if (value.empty() || value.size() > kMaxKey) {
    return "--key takes a string of 1 to " + std::to_string(kMaxKey) + " bytes";
  }
  key = value;
  return {};
}

std::string take_value(Options& options, std::string_view option, const std::string& value) {
  // Virtual connections have no ports below 3.
  if (option == "--port") return take_number(options.port, 3, 65535, option, value);
  if (option == "--key") return take_key(options.key, value);
  if (option == "--count") return take_number(options.count, 1, 1'000'000'000, option, value);
  if (option == "--size") return take_number(options.size, kMinSize, kMaxSize, option, value);
  return take_number(options.interval_ms, 10, 3'600'000, option, value);
}

bool has_value(Options::Mode mode, std::string_view option) {
  if (option == "--port" || option == "--key") return true;
  return mode == Options::Mode::ping &&
         (option == "--count" || option == "--interval" || option == "--size");
}

}  // namespace

std::string parse_options(int argc, char** argv, Options& options) {
  const std::string_view mode = argc > 1 ? argv[1] : "";
  options.wants_help = mode == "--help" || mode == "-h";
  if (options.wants_help) return {};
  if (mode != "serve" && mode != "ping") return "it either serves or pings";
  options.mode = mode == "serve" ? Options::Mode::serve : Options::Mode::ping;
  for (int i = 2; i < argc; ++i) {
    const std::string argument = argv[i];
    if (has_value(options.mode, argument)) {
      if (++i == argc) return argument + " needs a value";
      std::string wrong = take_value(options, argument, argv[i]);
      if (!wrong.empty()) return wrong;
    } else if (argument.empty() || argument[0] == '-') {
      return "there is no option '" + argument + "' here";
    } else if (options.mode == Options::Mode::serve || !options.host.empty()) {
      return "'" + argument + "' is one argument too many";
    } else {
      options.host = argument;
    }
  }
  if (options.mode == Options::Mode::ping && options.host.empty()) return "ping needs a host";
  return {};
}

}  // namespace uvc_ping
