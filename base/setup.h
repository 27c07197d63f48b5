// What kiv_Setup and kiv_Shutdown do for the layers above.
#pragma once

namespace kiv::base {

// In static storage; registers itself when the library is loaded.
class Service {
 public:
  Service(void (*setup)(), void (*shutdown)()) noexcept;

  void (*const setup)();
  void (*const shutdown)();
  Service* const next;
};

}  // namespace kiv::base
