// A chat host on kiv_base: native clients on the threads of a big box, browsers on an HTTP box of
// the main thread, all in one room; and a folder of files beside it.
//
//   chat [--port N] [--chat-port N] [--public] [--words FILE] [--log FILE] [FOLDER]
//
// Browsers open http://127.0.0.1:N/, files are at /files/, and chat_client talks to the chat port,
// which is one above. Ctrl-C ends it with exit status 0; what keeps it from starting is told in one
// line and gives 2.
#include <cstdio>
#include <memory>
#include <string>

#include "../http_files/folder.h"
#include "../http_files/run_until_signal.h"
#include "native_server.h"
#include "options.h"
#include "web.h"

namespace {

using namespace chat;

constexpr int kCannotStart = 2;

int fail(const std::string& why) {
  std::fprintf(stderr, "chat: %s\n", why.c_str());
  return kCannotStart;
}

std::string port_trouble(int port) {
  return "port " + std::to_string(port) + " cannot be had: it is in use, or needs other rights";
}

int serve(const Options& options) {
  const auto folder = http_files::Folder::open(options.folder);
  if (!folder) return fail("there is no folder '" + options.folder + "'");
  std::unique_ptr<zu_log, void (*)(zu_log*)> log(
      options.log_file.empty() ? nullptr : zu_log_malloc(options.log_file.c_str()),
      [](zu_log* old) { zu_log_free(old); });
  if (!options.log_file.empty() && !log) {
    return fail("the log file '" + options.log_file + "' cannot be written");
  }
  WordList words;
  if (!options.words_file.empty() && !words.load(options.words_file)) {
    return fail("the words of '" + options.words_file + "' cannot be read");
  }

  kiv_box* const box = kiv_box_new();
  if (box == nullptr) return fail("no event loop: memory or ports of 127.0.0.1 have run out");
  // In this order: the last goes first, and none of them is called once it is gone.
  Room room(std::move(words));
  Web web(room, box, options.http.is_public);
  http_files::Server http(box, *folder, log.get(), options.http, &web);
  web.use(http);
  NativeServer native(room, log.get(), options.limits);
  const bool has_http = http.listen();
  if (!has_http || !native.listen(options.native_port, options.http.is_public)) {
    kiv_box_free(box);
    return fail(port_trouble(has_http ? options.native_port : options.http.port));
  }
  std::printf(
      "chat: open http://127.0.0.1:%d/ (files at /files/) or type chat_client --port %d ann "
      "(Ctrl-C ends)\n",
      options.http.port, options.native_port);
  std::fflush(stdout);
  http_files::run_until_signal(box);
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
