// What the system wants of a service. Handlers of signals, and of the system's threads, ask for it.
#pragma once

#include <atomic>

#include "platform/service.h"

namespace kiv::platform {

class ServiceWish {
 public:
  void begin() { state_ = ServiceState::running; }
  // Once the end has been asked for, nothing else is.
  void ask(ServiceState state) {
    ServiceState before = state_;
    while ((before == ServiceState::running || before == ServiceState::paused) &&
           !state_.compare_exchange_weak(before, state)) {
    }
  }
  void end() { state_ = ServiceState::stopped; }
  ServiceState now() const { return state_; }

 private:
  std::atomic<ServiceState> state_{ServiceState::running};
  static_assert(std::atomic<ServiceState>::is_always_lock_free);
};

}  // namespace kiv::platform
