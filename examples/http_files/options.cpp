#include "options.h"

#include <optional>
#include <string_view>

#include "text.h"

namespace http_files {
namespace {

constexpr unsigned long long kMaxPort = 65535;
constexpr unsigned long long kMaxIdleSeconds = 24 * 60 * 60;

std::optional<unsigned long long> number_up_to(unsigned long long max, std::string_view text) {
  const auto number = parse_number(text);
  return number && *number >= 1 && *number <= max ? number : std::nullopt;
}

// An option with a value. The result says what is wrong; empty: nothing.
std::string take_value(Options& options, std::string_view option, std::string_view value) {
  if (option == "--log") {
    options.log_file = value;
    return {};
  }
  const bool is_port = option == "--port";
  const auto number = number_up_to(is_port ? kMaxPort : kMaxIdleSeconds, value);
  if (!number) {
    return (is_port ? "the port is a number from 1 to 65535, not '"
                    : "the idle time is a number of seconds from 1 to 86400, not '") +
           std::string(value) + "'";
  }
  if (is_port) {
    options.server.port = static_cast<std::uint16_t>(*number);
  } else {
    options.server.idle = std::chrono::seconds(*number);
  }
  return {};
}

}  // namespace

std::string parse_options(int argc, char** argv, Options& options) {
  bool has_folder = false;
  bool options_ended = false;  // by "--"
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    const bool is_option = !options_ended && argument.size() > 1 && argument[0] == '-';
    if (!is_option) {
      if (has_folder) return "only one folder can be served, not '" + argument + "' as well";
      options.folder = argument;
      has_folder = true;
    } else if (argument == "--") {
      options_ended = true;
    } else if (argument == "--help" || argument == "-h") {
      options.wants_help = true;
    } else if (argument == "--public") {
      options.server.is_public = true;
    } else if (argument == "--port" || argument == "--idle" || argument == "--log") {
      if (++i == argc) return argument + " needs a value";
      std::string wrong = take_value(options, argument, argv[i]);
      if (!wrong.empty()) return wrong;
    } else {
      return "there is no option '" + argument + "'";
    }
  }
  return {};
}

}  // namespace http_files
