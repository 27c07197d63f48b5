// Fetches URLs into files of this folder, all at once on one box: a client of kiv_base.
//
//   http_fetch [-o FILE] [-x HOST:PORT] [--user U:P] [-d NAME=VALUE]... [-L] URL...
//
// -x goes through the tunnel of a proxy, -d posts a form, -L follows up to 10 redirections. A file
// gets its name when it is complete; nothing of a failed one stays. On a terminal each URL has a
// bar. Exit status 0 when all are there, 1 when some failed, each told in one line, 2 when the
// command line is wrong.
#include <cstdio>
#include <set>

#include "kiv_base/base.h"
#include "options.h"
#include "progress.h"

namespace {

using namespace http_fetch;

constexpr int kSomeFailed = 1, kCannotStart = 2;
constexpr std::uint32_t kTickMs = 200;

int fail(const std::string& why) {
  std::fprintf(stderr, "http_fetch: %s\n", why.c_str());
  return kCannotStart;
}

class Fetch {
 public:
  explicit Fetch(const Options& options) {
    for (const std::string& url : options.urls) {
      transfers_.push_back(
          std::make_unique<Transfer>(url, options.output, options.settings, [this] { tick(); }));
    }
  }

  // Runs the loop, which takes the box with it. The number of URLs that failed.
  std::size_t run(kiv_box* box) {
    box_ = box;
    std::set<std::string> names;
    for (const auto& transfer : transfers_) {
      const std::string& name = transfer->file_name();
      const bool is_free = names.insert(name).second && names.insert(name + ".part").second;
      if (is_free || name.empty()) {
        transfer->start(box);
      } else {
        transfer->fail("another URL goes to the file '" + name + "'");
      }
    }
    // Timers wait while sockets are busy: the transfers tick too.
    if (kiv_box_NewLoopTimer(box, kTickMs, on_tick, this) == -1) kiv_box_BreakLoop(box);
    kiv_box_loop(box);
    for (const auto& transfer : transfers_) {
      if (!transfer->is_over()) transfer->fail("the event loop ended before it");
      report(*transfer);
    }
    progress_.draw(true);
    return failures_;
  }

 private:
  static void KIV_CALL on_tick(void*, void* self, std::int32_t, std::int32_t) {
    static_cast<Fetch*>(self)->tick();
  }

  void tick() {
    const auto now = Clock::now();
    std::size_t over = 0;
    for (const auto& transfer : transfers_) {
      transfer->check_idle(now);
      over += transfer->is_over();
      report(*transfer);
    }
    progress_.draw();
    if (over == transfers_.size()) kiv_box_BreakLoop(box_);
  }

  void report(const Transfer& transfer) {
    if (transfer.why().empty() || !reported_.insert(&transfer).second) return;
    progress_.say("http_fetch: " + transfer.url() + ": " + transfer.why());
    ++failures_;
  }

  kiv_box* box_ = nullptr;
  std::vector<std::unique_ptr<Transfer>> transfers_;
  Progress progress_{transfers_};
  std::set<const Transfer*> reported_;
  std::size_t failures_ = 0;
};

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
  kiv_box* box = kiv_box_new();
  if (box == nullptr) return fail("no event loop: out of memory or of ports on 127.0.0.1");
  const std::size_t failures = Fetch(options).run(box);
  kiv_Shutdown();
  return failures == 0 ? 0 : kSomeFailed;
}
