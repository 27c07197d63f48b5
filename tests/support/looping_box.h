// A box whose loop runs on a thread of its own, both gone when this is.
#pragma once

#include <future>
#include <thread>

#include "kiv_base/event.h"

namespace kiv::test {

struct LoopingBox {
  ~LoopingBox() {
    kiv_box_free(box);
    if (thread.joinable()) thread.join();
  }
  operator kiv_box*() const { return box; }

  std::promise<kiv_box*> made;
  std::thread thread{[this] {
    kiv_box* fresh = kiv_box_new();
    made.set_value(fresh);
    kiv_box_loop(fresh);
  }};
  kiv_box* box = made.get_future().get();
};

}  // namespace kiv::test
