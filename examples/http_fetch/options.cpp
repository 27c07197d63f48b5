#include "options.h"

#include <charconv>

namespace http_fetch {
namespace {

// Cuts a text at its last or first separator; false without one.
bool cut(const std::string& text, std::size_t at, std::string& before, std::string& after) {
  if (at == std::string::npos) return false;
  before = text.substr(0, at);
  after = text.substr(at + 1);
  return true;
}

bool take_proxy(const std::string& text, Settings& settings) {
  std::string port;
  if (!cut(text, text.rfind(':'), settings.proxy_host, port)) return false;
  const char* const end = port.data() + port.size();
  const auto read = std::from_chars(port.data(), end, settings.proxy_port);
  return !settings.proxy_host.empty() && read.ec == std::errc() && read.ptr == end;
}

// An option with a value. The result says what is wrong; empty: nothing.
std::string take_value(Options& options, const std::string& option, const std::string& value) {
  Settings& settings = options.settings;
  if (option == "-o") {
    if (!options.output.empty() || value.empty()) return "-o takes one file name";
    options.output = value;
  } else if (option == "-x") {
    if (!take_proxy(value, settings)) return "a proxy is HOST:PORT, not '" + value + "'";
  } else if (option == "--user") {
    cut(value, value.find(':'), settings.user, settings.password);
    if (settings.user.empty()) return "a user is NAME:PASSWORD, not '" + value + "'";
  } else {
    FormField field;
    cut(value, value.find('='), field.name, field.value);
    if (field.name.empty()) return "a form field is NAME=VALUE, not '" + value + "'";
    settings.form.push_back(field);
  }
  return {};
}

std::string contradiction(const Options& options) {
  if (options.wants_help) return {};
  if (options.urls.empty()) return "a URL is missing";
  if (!options.output.empty() && options.urls.size() > 1) return "-o goes with one URL";
  if (!options.settings.user.empty() && options.settings.proxy_host.empty()) {
    return "--user is for a proxy and goes with -x";
  }
  const Settings& settings = options.settings;  // longer ones would be cut by the library
  if (settings.proxy_host.size() > 128 || settings.user.size() > 64 ||
      settings.password.size() > 64) {
    return "a proxy's host has 128 characters at most, user and password 64";
  }
  return {};
}

}  // namespace

std::string parse_options(int argc, char** argv, Options& options) {
  bool options_ended = false;  // by "--"
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (options_ended || argument.size() < 2 || argument[0] != '-') {
      options.urls.push_back(argument);
    } else if (argument == "--") {
      options_ended = true;
    } else if (argument == "--help" || argument == "-h") {
      options.wants_help = true;
    } else if (argument == "-L") {
      options.settings.follow = true;
    } else if (argument == "-o" || argument == "-x" || argument == "--user" || argument == "-d") {
      if (++i == argc) return argument + " needs a value";
      std::string wrong = take_value(options, argument, argv[i]);
      if (!wrong.empty()) return wrong;
    } else {
      return "there is no option '" + argument + "'";
    }
  }
  return contradiction(options);
}

}  // namespace http_fetch
