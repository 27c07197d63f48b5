// What the set-up and the shut-down of the library do here.
#include "base/setup.h"

#include "event/bigbox.h"
#include "event/kiv_box.h"
#include "event/read_pool.h"

namespace kiv::event {
namespace {

void set_up() {
  zu_sock_startup();
}

void shut_down() {
  bigboxes().forget_all();
  read_pool_shutdown();
  boxes().forget_all();
  zu_sock_cleanup();
}

base::Service sockets_and_boxes(set_up, shut_down);

}  // namespace
}  // namespace kiv::event
