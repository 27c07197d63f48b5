#include "settings.h"

#include <filesystem>
#include <functional>
#include <map>

#include "../http_files/text.h"
#include "kiv_base/cpp/config.hpp"

namespace chat {
namespace {

// Takes a value, or says what is wrong with it.
using Take = std::function<std::string(const std::string& value)>;
using Takers = std::map<std::string, std::map<std::string, Take>>;  // by group and key

constexpr unsigned kMostClients = 4000;  // what the boxes of four threads have room for

std::string take_yes_no(bool& flag, const std::string& value) {
  if (value != "yes" && value != "no") return "this is yes or no, not '" + value + "'";
  flag = value == "yes";
  return {};
}

std::string take_count(std::int32_t& count, const std::string& value) {
  const auto number = http_files::parse_number(value);
  if (!number || *number < 1 || *number > kMostClients) {
    return "this is a number from 1 to " + std::to_string(kMostClients) + ", not '" + value + "'";
  }
  count = static_cast<std::int32_t>(*number);
  return {};
}

std::string origin(const std::string& file, const std::string& group, const std::string& key) {
  return file + ": [" + group + "] " + key + ": ";
}

Takers takers(const std::string& file, Options& options) {
  const auto path = [&file](const char* group, const char* key, Path& to) -> Take {
    return [&file, group, key, &to](const std::string& value) -> std::string {
      if (value.empty()) return "a path is missing";
      to.text = (std::filesystem::path(file).parent_path() / value).string();
      to.origin = origin(file, group, key);
      return {};
    };
  };
  const auto port = [](std::uint16_t& to) -> Take {
    return [&to](const std::string& value) { return take_port(to, value); };
  };
  return {
      {"web",
       {{"port", port(options.http.port)},
        {"public", [&](auto& value) { return take_yes_no(options.http.is_public, value); }},
        {"folder", path("web", "folder", options.folder)}}},
      {"native",
       {{"port", port(options.native_port)},
        {"clients", [&](auto& value) { return take_count(options.limits.clients, value); }}}},
      {"room", {{"words", path("room", "words", options.words)}}},
      {"process",
       {{"log", path("process", "log", options.log)},
        {"pid_file", path("process", "pid_file", options.pid)}}},
  };
}

// A value without the blanks around it, or what it has in quotes.
std::string plain(kiv::TextRef value) {
  std::string text(kiv::ConfigRef::unquoted(value).view());
  if (value.view().find('"') != std::string_view::npos) return text;
  const auto first = text.find_first_not_of(" \t\r");
  return first == std::string::npos
             ? ""
             : text.substr(first, text.find_last_not_of(" \t\r") + 1 - first);
}

}  // namespace

// Walks the file and not the takers, so that a misspelt name is found, too.
std::string read_settings(const std::string& file, Options& options) {
  const kiv::Config config = kiv::Config::open(file);
  if (!config) return file + ": it cannot be read";
  const Takers known = takers(file, options);
  config.rewind_groups();
  while (const kiv::TextRef group = config.next_group()) {
    const auto keys = known.find(group.c_str());
    if (keys == known.end()) return file + ": [" + group.c_str() + "]: there is no such group";
    config.rewind_keys(group);
    while (const auto entry = config.next_key()) {
      const auto take = keys->second.find(entry->key.c_str());
      const std::string wrong =
          take == keys->second.end() ? "there is no such key" : take->second(plain(entry->value));
      if (!wrong.empty()) return origin(file, group.c_str(), entry->key.c_str()) + wrong;
    }
  }
  return {};
}

}  // namespace chat
