#include "run_until_signal.h"

#include <atomic>
#include <csignal>
#include <thread>

namespace http_files {
namespace {

enum Stop { kRunning, kAsked, kEnded };
std::atomic<int> stop{kRunning};
static_assert(std::atomic<int>::is_always_lock_free);

extern "C" void on_signal(int) {
  stop = kAsked;
  stop.notify_one();
}

}  // namespace

// A signal can break into any step of the loop's own thread, so that the box is told by another
// one, which also wakes the loop.
void run_until_signal(kiv_box* box, const std::function<void()>& farewell) {
  std::signal(SIGINT, on_signal);
  std::signal(SIGTERM, on_signal);
  std::thread breaker([box, &farewell] {
    stop.wait(kRunning);
    if (stop == kAsked && farewell) farewell();
    kiv_box_BreakLoop(box);
  });
  kiv_box_loop(box);
  stop = kEnded;
  stop.notify_one();
  breaker.join();
}

}  // namespace http_files
