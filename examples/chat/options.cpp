#include "options.h"

#include <set>
#include <string_view>

#include "../http_files/text.h"

namespace chat {
namespace {

const std::set<std::string_view> kWithValue = {"--config", "--port", "--chat-port",
                                               "--words",  "--log",  "--service"};
const std::set<std::string_view> kOrders = {"install", "remove", "start", "stop", "query", "run"};

// An option with a value. The result says what is wrong; empty: nothing.
std::string take_value(Options& options, std::string_view option, const std::string& value) {
  if (option == "--port") return take_port(options.http.port, value);
  if (option == "--chat-port") return take_port(options.native_port, value);
  if (option == "--service") {
    if (!kOrders.contains(value)) return "there is no order '" + value + "'";
    options.service = value;
  } else if (option == "--config") {
    options.config_file = value;
  } else {
    (option == "--words" ? options.words : options.log) = {value, {}};
  }
  return {};
}

}  // namespace

std::string take_port(std::uint16_t& port, const std::string& value) {
  const auto number = http_files::parse_number(value);
  if (!number || *number < 1 || *number > 65535) {
    return "a port is a number from 1 to 65535, not '" + value + "'";
  }
  port = static_cast<std::uint16_t>(*number);
  return {};
}

std::string parse_options(int argc, char** argv, Options& options) {
  bool has_folder = false, options_ended = false;  // by "--"
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    const bool is_option = !options_ended && argument.size() > 1 && argument[0] == '-';
    if (!is_option) {
      if (has_folder) return "only one folder can be served, not '" + argument + "' as well";
      options.folder = {argument, {}};
      has_folder = true;
    } else if (argument == "--") {
      options_ended = true;
    } else if (argument == "--help" || argument == "-h") {
      options.wants_help = true;
    } else if (argument == "--public") {
      options.http.is_public = true;
    } else if (kWithValue.contains(argument)) {
      if (++i == argc) return argument + " needs a value";
      std::string wrong = take_value(options, argument, argv[i]);
      if (!wrong.empty()) return wrong;
    } else {
      return "there is no option '" + argument + "'";
    }
  }
  options.http.mount = "/files";
  return {};
}

}  // namespace chat
