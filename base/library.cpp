// Set-up and shut-down of the process-wide services. The one place in this folder that reaches up.
#include "event/bigbox.h"
#include "event/kiv_box.h"
#include "event/read_pool.h"
#include "kiv_base/base.h"
#include "kiv_base/event.h"

using namespace kiv;

int KIV_CALL kiv_Setup(void) KIV_NOEXCEPT {
  zu_sock_startup();
  zu_console_Setup(nullptr);
  kiv_sem_Setup();
  // deliberate: a step that failed is not reported; every service sets itself up when it is used.
  return 1;
}

int KIV_CALL kiv_Shutdown(void) KIV_NOEXCEPT {
  kiv_sem_Shutdown();
  event::bigboxes().forget_all();
  event::read_pool_shutdown();
  event::boxes().forget_all();
  zu_sock_cleanup();
  return zu_console_Shutdown();
}
