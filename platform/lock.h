// Recursive locks in storage of the caller: a critical section on Windows, a recursive mutex
// elsewhere. `zu_sem` embeds the storage; its size is asserted by the implementation.
#pragma once

#include <cstddef>

namespace kiv::platform {

inline constexpr std::size_t kLockBytes = sizeof(void*) == 4 ? 24 : 40;

void lock_init(void* storage) noexcept;
void lock_destroy(void* storage) noexcept;
void lock_acquire(void* storage) noexcept;
void lock_release(void* storage) noexcept;

}  // namespace kiv::platform
