// Timers of a box.
//
//   timers_box raw|checked COUNT      a zu_box without a lock, a kiv_box
#include <cstring>

#include "bench/event/timers_load.h"
#include "kiv_base/base.h"
#include "kiv_base/event.h"

namespace {

class Raw {
 public:
  using Id = std::int32_t;
  explicit Raw(bench::Firing* firing) : firing_(firing) {}
  ~Raw() { zu_box_free(box_); }
  Raw(const Raw&) = delete;
  Raw& operator=(const Raw&) = delete;

  Id add(std::uint32_t milliseconds) {
    return zu_box_timer_AddOnceTimer(box_, milliseconds, on_timer, firing_);
  }
  void remove(Id id) { zu_box_timer_Delete(box_, id); }
  void run() { zu_box_StartLoop(box_); }

 private:
  static void KIV_CALL on_timer(void* box, void* firing, std::int32_t timer, std::int32_t) {
    zu_box_timer_Delete(static_cast<zu_box*>(box), timer);
    static_cast<bench::Firing*>(firing)->fired();
  }
  bench::Firing* firing_;
  zu_box* box_ = zu_box_malloc();
};

class Checked {
 public:
  using Id = std::int32_t;
  explicit Checked(bench::Firing* firing) : firing_(firing) {}
  ~Checked() { kiv_box_free(box_); }
  Checked(const Checked&) = delete;
  Checked& operator=(const Checked&) = delete;

  Id add(std::uint32_t milliseconds) {
    return kiv_box_NewOnceTimer(box_, milliseconds, on_timer, firing_);
  }
  void remove(Id id) { kiv_box_DeleteTimer(box_, id); }
  void run() { kiv_box_loop(box_); }

 private:
  static void KIV_CALL on_timer(void* box_, void* firing, std::int32_t timer, std::int32_t) {
    auto* box = static_cast<kiv_box*>(box_);
    kiv_box_DeleteTimer(box, timer);
    if (static_cast<bench::Firing*>(firing)->fired()) kiv_box_BreakLoop(box);
  }
  bench::Firing* firing_;
  kiv_box* box_ = kiv_box_new();
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  kiv_Setup();
  const auto count = static_cast<std::size_t>(std::atoi(argv[2]));
  std::strcmp(argv[1], "raw") == 0 ? bench::measure_timers<Raw>(count)
                                   : bench::measure_timers<Checked>(count);
}
