// A chat host on kiv_base: native clients on the threads of a big box, browsers on an HTTP box of
// the main thread, all in one room; and a folder of files beside it.
//
//   chat [--config FILE] [--port N] [--chat-port N] [--public] [--words FILE] [--log FILE]
//        [--service install|remove|start|stop|query|run] [FOLDER]
//
// Browsers open http://127.0.0.1:N/, files are at /files/, and chat_client talks to the chat port,
// which is one above. Ctrl-C ends it with exit status 0; what keeps it from starting is told in one
// line and gives 2, or 1 when it is something in the configuration file (chat.conf is a sample).
//
//   chat --config /etc/chat.conf --service install     as a service that starts with the system
//   chat --service start                               right now; stop, query, remove
#include <cstdio>
#include <string>

#include "host.h"
#include "kiv_base/cpp/process.hpp"
#include "kiv_base/cpp/runtime.hpp"
#include "service.h"
#include "settings.h"

namespace {

using namespace chat;

enum Status { kFine = 0, kWrongSetting = 1, kCannotStart = 2 };

int fail(const std::string& why, Status status) {
  std::fprintf(stderr, "chat: %s\n", why.c_str());
  return status;
}

// What the library calls.
struct Run {
  explicit Run(const Options& options) : host(options), is_service(!options.service.empty()) {}

  Host host;
  bool is_service;
  int status = kFine;

  bool start() {
    const Trouble trouble = host.start();
    if (trouble.why.empty()) return true;
    status = fail(trouble.why, trouble.is_in_file ? kWrongSetting : kCannotStart);
    // Nobody may see the standard error of a service.
    if (is_service) zu_service_log(kService, ZU_SERVICE_ERROR, trouble.why.c_str());
    return false;
  }
  void work() { host.run(); }
  void stop() { host.stop(); }
};

int serve(const Options& options) {
  Run run(options);
  if (kiv::run_service(kService, run) || run.status != kFine) return run.status;
  return kCannotStart;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  std::string wrong = parse_options(argc, argv, options);
  if (wrong.empty() && !options.config_file.empty() && !options.wants_help) {
    wrong = read_settings(options.config_file, options);
    if (!wrong.empty()) return fail(wrong, kWrongSetting);
    wrong = parse_options(argc, argv, options);  // again: it goes before the file
  }
  if (!wrong.empty()) return fail(wrong + "; " + kUsage, kCannotStart);
  if (options.wants_help) {
    std::puts(kUsage);
    return kFine;
  }
  if (!options.service.empty() && options.service != "run") return manage_service(options);
  const kiv::Library library;
  return serve(options);
}
