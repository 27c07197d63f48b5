// Set-up and shut-down of the process-wide services.
#include "base/setup.h"

#include "base/kiv_sem.h"

namespace kiv::base {
namespace {

constinit Service* first_service = nullptr;

}  // namespace

Service::Service(void (*set_up)(), void (*shut_down)()) noexcept
    : setup(set_up), shutdown(shut_down), next(first_service) {
  first_service = this;
}

}  // namespace kiv::base

using namespace kiv::base;

int32_t KIV_CALL kivx_Version(void) KIV_NOEXCEPT {
  return KIV_BASE_VERSION;
}

int KIV_CALL kiv_Setup(void) KIV_NOEXCEPT {
  for (const Service* service = first_service; service; service = service->next) service->setup();
  zu_console_Setup(nullptr);
  objects().setup();
  // deliberate: a step that failed is not reported; every service sets itself up when it is used.
  return 1;
}

int KIV_CALL kiv_Shutdown(void) KIV_NOEXCEPT {
  objects().shutdown();
  for (const Service* service = first_service; service; service = service->next) {
    service->shutdown();
  }
  return zu_console_Shutdown();
}
