// The C library's functions for the environment may not meet. What reads or changes it, or hands it
// on, local time included, holds this lock meanwhile.
#pragma once

namespace kiv::platform {

class EnvironmentLock {
 public:
  EnvironmentLock() noexcept;
  ~EnvironmentLock();
  EnvironmentLock(const EnvironmentLock&) = delete;
  EnvironmentLock& operator=(const EnvironmentLock&) = delete;
};

}  // namespace kiv::platform
