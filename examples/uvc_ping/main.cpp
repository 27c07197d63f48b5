// Round-trip times over virtual connections (UDP), and the server that they are measured against.
//
//   uvc_ping serve [--port N] [--key TEXT]
//   uvc_ping ping HOST [--port N] [--key TEXT] [--count N] [--interval MS] [--size BYTES]
//
// With a key, both sides encipher what they send. Ctrl-C ends either, with a summary. Exit status
// 0 when answers came (serving: after Ctrl-C), 1 when none did, 2 for what keeps it from starting.
#include <unistd.h>

#include <cstdio>
#include <string>

#include "../http_files/run_until_signal.h"
#include "cipher.h"
#include "echo_server.h"
#include "kiv_base/base.h"
#include "options.h"
#include "ping.h"

namespace {

using namespace uvc_ping;

constexpr int kNoAnswer = 1, kCannotStart = 2;

int fail(const std::string& why) {
  std::fprintf(stderr, "uvc_ping: %s\n", why.c_str());
  return kCannotStart;
}

int serve(kiv_box* box, const Options& options, Cipher& cipher) {
  EchoServer server(cipher);
  if (!server.listen(box, options.port)) {
    kiv_box_free(box);
    return fail("port " + std::to_string(options.port) +
                " cannot be opened: it is in use, or permission is missing");
  }
  std::printf("answering pings on UDP port %d, %s (Ctrl-C ends)\n", options.port,
              options.key.empty() ? "unencrypted" : "encrypted");
  std::fflush(stdout);
  http_files::run_until_signal(box, [&server] { server.stop(); });
  std::printf("--- %s\n", server.summary().c_str());
  return 0;
}

int ping(kiv_box* box, const Options& options, Cipher& cipher) {
  Report report(isatty(STDOUT_FILENO) == 1);
  Ping ping(box, options, cipher, report);
  if (!ping.start()) {
    kiv_box_free(box);
    return fail("there is no host '" + options.host + "', or no way to it");
  }
  http_files::run_until_signal(box, [&ping] { ping.stop(); });
  report.summary(ping.name(), ping.tally(), ping.strange());
  return ping.tally().received() > 0 ? 0 : kNoAnswer;
}

int run(const Options& options) {
  Cipher cipher(options.key);
  kiv_box* const box = kiv_box_new();
  if (box == nullptr || !cipher.is_ready()) {
    return fail("out of memory or of ports on 127.0.0.1");
  }
  return options.mode == Options::Mode::serve ? serve(box, options, cipher)
                                              : ping(box, options, cipher);
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
  const int status = run(options);
  kiv_Shutdown();
  return status;
}
