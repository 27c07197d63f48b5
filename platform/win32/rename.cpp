// A rename has the file open until it is over, and is rejected over one that is open: two at a time
// over one path would hinder each other, so they take turns, those of other processes as well.
#include "platform/win32/rename.h"

#include <windows.h>

namespace kiv::platform {

namespace {

constexpr wchar_t kName[] = L"Local\\kiv_base.rename";
constexpr DWORD kPatienceMs = 10000;  // with another process, which may be stopped in its turn

class Turn {
 public:
  Turn() : mutex_(CreateMutexW(nullptr, FALSE, kName)) {
    const DWORD result = mutex_ == nullptr ? WAIT_FAILED : WaitForSingleObject(mutex_, kPatienceMs);
    is_held_ = result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
  }
  ~Turn() {
    const DWORD error = GetLastError();
    if (is_held_) ReleaseMutex(mutex_);
    if (mutex_ != nullptr) CloseHandle(mutex_);
    SetLastError(error);
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

 private:
  HANDLE mutex_;
  bool is_held_ = false;
};

}  // namespace

bool rename_over(const wchar_t* from, const wchar_t* to) noexcept {
  const Turn turn;
  return MoveFileExW(from, to, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != FALSE;
}

}  // namespace kiv::platform
