// Boxes that live on a thread of their own.
#include <cstdio>

#include "event/kiv_box.h"
#include "platform/thread.h"

namespace kiv::event {
namespace {

constexpr std::uint32_t kStackBytes = 0x30000;

// Lies with the creator, who waits until `made` is set.
struct Birth {
  platform::Event made;
  kiv_box* box = nullptr;
};

void live(void* birth_of_box) {
  auto* birth = static_cast<Birth*>(birth_of_box);
  kiv_box* const box = kiv_box_new();
  // In its loop before anybody knows it: who ends it and shuts the library down at once leaves a
  // loop that no longer finds the handle, but frees the box.
  if (box != nullptr) {
    const base::Guard guard(box->lock);
    box->loop_thread = platform::current_thread_id();
  }
  birth->box = box;
  birth->made.set();
  if (box != nullptr) loop_and_free(box);
}

}  // namespace
}  // namespace kiv::event

using namespace kiv;
using namespace kiv::event;

kiv_box* KIV_CALL kivx_ThreadBox_create(void) KIV_NOEXCEPT {
  Birth birth;
  if (!birth.made) {
    std::printf("kivx_ThreadBox_create()->CreateEvent() error!\n");
    return nullptr;
  }
  if (platform::start_thread(live, &birth, kStackBytes)) {
    birth.made.wait();
  } else {
    // deliberate: no line end; the text is known as it is.
    std::printf("error: kivx_ThreadBox_create()->CreateThread() error!");
  }
  return birth.box;
}

void KIV_CALL kivx_ThreadBox_destroy(kiv_box* box) KIV_NOEXCEPT {
  on_live_box(box, 0, Wake::always("ThreadBox_destroy"), [](kiv_box& live_box) {
    // deliberate: this sends a wake of its own, so that two arrive.
    kiv_box_BreakLoop(&live_box);
    return 1;
  });
}
