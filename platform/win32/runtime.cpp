// The one part of the C++ run-time library that the library needs: the first use of a local
// variable that is static. The compiler's own brings exceptions, a thread library and a printer of
// type names along, 270 KB that nothing here calls.
#include <windows.h>

#include <atomic>
#include <cstdint>

namespace {

SRWLOCK lock = SRWLOCK_INIT;
CONDITION_VARIABLE over = CONDITION_VARIABLE_INIT;

// The compiler's eight bytes, of which its own code reads the first.
struct Guard {
  std::uint8_t is_initialized;
  std::uint8_t is_busy;
};

Guard& guard_of(long long* bytes) {
  return *reinterpret_cast<Guard*>(bytes);
}

}  // namespace

extern "C" {

// Returns 1 if the caller is to initialize the variable, 0 once it is initialized.
int __cxa_guard_acquire(long long* bytes) {
  Guard& guard = guard_of(bytes);
  AcquireSRWLockExclusive(&lock);
  while (guard.is_busy != 0) SleepConditionVariableSRW(&over, &lock, INFINITE, 0);
  const bool ours = guard.is_initialized == 0;
  if (ours) guard.is_busy = 1;
  ReleaseSRWLockExclusive(&lock);
  return ours ? 1 : 0;
}

void __cxa_guard_release(long long* bytes) {
  Guard& guard = guard_of(bytes);
  AcquireSRWLockExclusive(&lock);
  std::atomic_ref(guard.is_initialized).store(1, std::memory_order_release);
  guard.is_busy = 0;
  ReleaseSRWLockExclusive(&lock);
  WakeAllConditionVariable(&over);
}
}
