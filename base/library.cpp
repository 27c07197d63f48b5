// Set-up and shut-down of the process-wide services. The one place in this folder that reaches up.
#include "event/bigbox_registry.h"
#include "event/box_registry.h"
#include "kiv_base/base.h"
#include "kiv_base/event.h"

using namespace kiv;

int KIV_CALL kiv_Setup(void) KIV_NOEXCEPT {
  zu_sock_startup();
  zu_console_Setup(nullptr);
  event::box_registry_setup();
  kiv_sem_Setup();
  event::bigbox_registry_setup();
  // deliberate: a step that failed is not reported; every service sets itself up when it is used.
  return 1;
}

int KIV_CALL kiv_Shutdown(void) KIV_NOEXCEPT {
  kiv_sem_Shutdown();
  event::bigbox_registry_shutdown();
  event::box_registry_shutdown();
  zu_sock_cleanup();
  return zu_console_Shutdown();
}
