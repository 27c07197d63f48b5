// Succeeds when a timer fires.
#include <kiv_base.hpp>

int main() {
  int32_t fired = 0;
  kiv::Box box = kiv::Box::make();
  auto on_timer = [&](kiv::BoxRef at, kiv::TimerId, int32_t times) {
    fired = times;
    at.break_loop();
  };
  if (box.once(1, on_timer) < 0) return 2;
  box.loop();
  return fired == 1 ? 0 : 1;
}
