// A static file server on kiv_base: shows a folder to the browsers of this machine, or with
// --public of the network.
//
//   http_files [--port N] [--public] [--log FILE] [--idle SECONDS] [FOLDER]
//
// The library delivers a request when it is complete, including its body. So a body costs memory
// until then, although nothing here wants one, and only the idle time bounds it; and a request that
// is half there looks like none.
//
// Ctrl-C ends it with exit status 0; what keeps it from starting is told in one line and gives 2.
#include <cstdio>
#include <memory>
#include <string>

#include "folder.h"
#include "options.h"
#include "run_until_signal.h"
#include "server.h"

namespace {

using namespace http_files;

constexpr int kCannotStart = 2;

int fail(const std::string& why) {
  std::fprintf(stderr, "http_files: %s\n", why.c_str());
  return kCannotStart;
}

int serve(const Options& options) {
  const auto folder = Folder::open(options.folder);
  if (!folder) return fail("there is no folder '" + options.folder + "'");
  std::unique_ptr<zu_log, void (*)(zu_log*)> log(
      options.log_file.empty() ? nullptr : zu_log_malloc(options.log_file.c_str()),
      [](zu_log* old) { zu_log_free(old); });
  if (!options.log_file.empty() && !log) {
    return fail("the log file '" + options.log_file + "' cannot be written");
  }
  kiv_box* box = kiv_box_new();
  if (box == nullptr) return fail("no event loop: out of memory or of ports on 127.0.0.1");
  kivx_box_SetFairRounds(box, 1);
  Server server(box, *folder, log.get(), options.server);
  if (!server.listen()) {
    kiv_box_free(box);
    return fail("port " + std::to_string(options.server.port) +
                " cannot be opened: it is in use, or permission is missing");
  }
  const int port = options.server.port;
  std::printf(
      "serving %s to %s: open http://127.0.0.1:%d/ or type curl http://127.0.0.1:%d/ (Ctrl-C "
      "ends)\n",
      to_utf8(folder->path()).c_str(), options.server.is_public ? "everyone" : "this machine", port,
      port);
  std::fflush(stdout);
  run_until_signal(box);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  const std::string wrong = parse_options(argc, argv, options);
  if (!wrong.empty()) return fail(wrong + "; " + kUsage);
  if (options.wants_help) {
    std::puts(kUsage);
    return 0;
  }
  kiv_Setup();
  const int status = serve(options);
  kiv_Shutdown();
  return status;
}
