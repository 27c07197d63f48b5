#include "host.h"

#include <cstdio>
#include <optional>

#include "../http_files/folder.h"
#include "kiv_base/cpp/process.hpp"
#include "kiv_base/cpp/runtime.hpp"
#include "native_server.h"
#include "web.h"

namespace chat {
namespace {

Trouble trouble_with(const Path& path, const std::string& why) {
  return {path.origin + why, !path.origin.empty()};
}

Trouble trouble_with_port(int port) {
  return {"port " + std::to_string(port) +
          " cannot be opened: it is in use, or permission is missing"};
}

}  // namespace

// What goes first was made last, and calls none of the others once it is gone.
struct Host::Parts {
  kiv::PidFile pid;
  kiv::Log log;
  std::optional<http_files::Folder> folder;
  std::optional<Room> room;
  std::optional<Web> web;
  std::optional<http_files::Server> http;
  std::optional<NativeServer> native;
};

Host::Host(const Options& options) : options_(options), parts_(std::make_unique<Parts>()) {
  if (options_.native_port == 0) {
    const int port = options_.http.port;
    options_.native_port = static_cast<std::uint16_t>(port == 65535 ? 65534 : port + 1);
  }
}

Host::~Host() = default;

Trouble Host::start() {
  Trouble trouble = set_up();
  if (trouble.why.empty()) {
    std::printf(
        "chat: open http://127.0.0.1:%d/ (files at /files/) or type chat_client --port %d ann "
        "(Ctrl-C ends)\n",
        options_.http.port, options_.native_port);
    std::fflush(stdout);
    return trouble;
  }
  parts_ = std::make_unique<Parts>();
  return trouble;
}

Trouble Host::set_up() {
  Parts& parts = *parts_;
  parts.folder = http_files::Folder::open(options_.folder.text);
  if (!parts.folder) {
    return trouble_with(options_.folder, "there is no folder '" + options_.folder.text + "'");
  }
  WordList words;
  if (!options_.words.text.empty() && !words.load(options_.words.text)) {
    return trouble_with(options_.words,
                        "the words of '" + options_.words.text + "' cannot be read");
  }
  if (!options_.log.text.empty()) parts.log = kiv::Log::open(options_.log.text);
  if (!options_.log.text.empty() && !parts.log) {
    return trouble_with(options_.log, "the log file '" + options_.log.text + "' cannot be written");
  }
  if (!options_.pid.text.empty()) {
    parts.pid = kiv::PidFile::make(http_files::to_utf8(std::filesystem::path(options_.pid.text)));
    if (!parts.pid) {
      return trouble_with(options_.pid,
                          "the pid file '" + options_.pid.text + "' cannot be created");
    }
  }

  kiv::Box box = kiv::Box::make();
  if (!box) return {"no event loop: out of memory or of ports on 127.0.0.1"};
  parts.room.emplace(std::move(words));
  parts.web.emplace(*parts.room, box, options_.http.is_public, options_.native_port);
  box.set_fair_rounds(true);
  parts.http.emplace(box.get(), *parts.folder, parts.log.get(), options_.http, &*parts.web);
  parts.web->use(*parts.http);
  parts.native.emplace(*parts.room, parts.log, options_.limits);
  if (!parts.http->listen()) return trouble_with_port(options_.http.port);
  if (!parts.native->listen(options_.native_port, options_.http.is_public)) {
    return trouble_with_port(options_.native_port);
  }
  box_ = box.release();
  return {};
}

void Host::run() {
  kiv_box_loop(box_);
  parts_.reset();
}

void Host::stop() {
  kiv_box_BreakLoop(box_);
}

}  // namespace chat
