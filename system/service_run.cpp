// A program as a service: its work on one thread, and on another one what the system wants of it.
#include <cstddef>
#include <cstdint>

#include "base/layout.h"
#include "kiv_base/system.h"
#include "platform/service.h"
#include "platform/thread.h"
#include "system/service.h"

using namespace kiv;
using platform::ServiceState;

namespace {

KIV_LAYOUT(zu_service_callbacks, 20, resume, 16);

constexpr std::uint32_t kStack = 256 * 1024;

class Run {
 public:
  Run(const char* name, const zu_service_callbacks& callbacks, void* argument)
      : name_(name), callbacks_(callbacks), argument_(argument) {}

  static bool body(void* run) { return static_cast<Run*>(run)->go(); }

 private:
  using Callback = void(KIV_CALL*)(void*);

  bool go();
  void follow();
  void stop();
  void call(Callback callback) {
    if (callback != nullptr) callback(argument_);
  }
  void reach(ServiceState state, const char* text,
             platform::Severity severity = platform::Severity::notice);

  const char* name_;
  zu_service_callbacks callbacks_;
  void* argument_;
  platform::Event set_up_, followed_;
  bool runs_ = false;
};

// Tells the manager of a state, and the log, which without a manager would be a stranger's.
void Run::reach(ServiceState state, const char* text, platform::Severity severity) {
  platform::service_report(state, false);
  platform::Why why;
  if (platform::service_has_manager()) {
    platform::service_log(name_, severity, text, &why);
  }
}

bool Run::go() {
  if (set_up_ && followed_ &&
      platform::start_thread([](void* run) { static_cast<Run*>(run)->follow(); }, this, kStack)) {
    runs_ = callbacks_.start == nullptr || callbacks_.start(argument_) == 1;
    if (runs_) reach(ServiceState::running, "started");
    set_up_.set();
    if (runs_) call(callbacks_.work);
    if (callbacks_.work != nullptr) platform::service_end_wait();
    followed_.wait();
  }
  if (runs_) {
    reach(ServiceState::stopping, "ended");
  } else {
    reach(ServiceState::stopping, "could not be started", platform::Severity::error);
  }
  platform::service_report(ServiceState::stopped, !runs_);
  return runs_;
}

// The other thread.
void Run::follow() {
  set_up_.wait();
  ServiceState now = runs_ ? ServiceState::running : ServiceState::stopped;
  while (now != ServiceState::stopped) {
    const ServiceState wanted = platform::service_wait();
    if (wanted == now) continue;
    now = wanted;
    if (wanted == ServiceState::paused) {
      call(callbacks_.pause);
      reach(wanted, "paused");
    } else if (wanted == ServiceState::running) {
      call(callbacks_.resume);
      reach(wanted, "resumed");
    } else {
      if (wanted == ServiceState::stopping) stop();
      now = ServiceState::stopped;
    }
  }
  followed_.set();
}

void Run::stop() {
  platform::service_report(ServiceState::stopping, false);
  call(callbacks_.stop);
}

}  // namespace

int KIV_CALL zu_service_run(const char* name, const zu_service_callbacks* callbacks,
                            void* argument) KIV_NOEXCEPT {
  if (callbacks == nullptr || !system::is_service_name(name, __func__)) return 0;
  const bool pauses = callbacks->pause != nullptr && callbacks->resume != nullptr;
  Run run(name, *callbacks, argument);
  platform::Why why{};
  if (platform::service_host(name, pauses, Run::body, &run, &why)) return 1;
  // A `start` that failed has said why.
  return *why.text == '\0' ? 0 : system::service_failure(name, why.text, __func__);
}
