// Named shared memory: the system's block is the handle.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "base/ascii.h"
#include "kiv_base/system.h"
#include "platform/mapping.h"

using namespace kiv;

namespace {

constexpr std::size_t kLongestName = 100;
constexpr std::int64_t kOwnUse = 65536;  // what the system or its layer may put around a block

platform::SharedBlock* block_of(zu_shm* handle) {
  return reinterpret_cast<platform::SharedBlock*>(handle);
}

zu_shm* handle_of(platform::SharedBlock* block) {
  return reinterpret_cast<zu_shm*>(block);
}

bool is_name(const char* name, const char* function) {
  if (name == nullptr) return false;
  const std::size_t length = std::strlen(name);
  const bool good =
      length > 0 && length <= kLongestName && std::all_of(name, name + length, [](char c) {
        return base::is_alnum(c) || c == '.' || c == '_' || c == '-';
      });
  if (!good) std::printf("error: name(%.100s) error in %s()!\n", name, function);
  return good;
}

bool is_size(std::int64_t size) {
  const auto most = static_cast<std::uint64_t>(PTRDIFF_MAX) - kOwnUse;
  const bool good = size > 0 && static_cast<std::uint64_t>(size) <= most;
  if (!good) {
    std::printf("error: size(%lld) error in zu_shm_create()!\n", static_cast<long long>(size));
  }
  return good;
}

}  // namespace

zu_shm* KIV_CALL zu_shm_create(const char* name, int64_t size) KIV_NOEXCEPT {
  if (!is_name(name, "zu_shm_create") || !is_size(size)) return nullptr;
  return handle_of(platform::create_shared(name, static_cast<std::size_t>(size)));
}

zu_shm* KIV_CALL zu_shm_open(const char* name) KIV_NOEXCEPT {
  return is_name(name, "zu_shm_open") ? handle_of(platform::open_shared(name)) : nullptr;
}

void KIV_CALL zu_shm_close(zu_shm* block) KIV_NOEXCEPT {
  if (block != nullptr) platform::close_shared(block_of(block));
}

int KIV_CALL zu_shm_remove(const char* name) KIV_NOEXCEPT {
  return is_name(name, "zu_shm_remove") && platform::remove_shared(name);
}

void* KIV_CALL zu_shm_GetAddress(zu_shm* block) KIV_NOEXCEPT {
  return block == nullptr ? nullptr : platform::shared_address(block_of(block));
}

int64_t KIV_CALL zu_shm_GetSize(zu_shm* block) KIV_NOEXCEPT {
  return block == nullptr ? -1 : static_cast<int64_t>(platform::shared_size(block_of(block)));
}

int KIV_CALL zu_shm_lock(zu_shm* block) KIV_NOEXCEPT {
  return block != nullptr && platform::lock_shared(block_of(block), true);
}

int KIV_CALL zu_shm_TryLock(zu_shm* block) KIV_NOEXCEPT {
  return block != nullptr && platform::lock_shared(block_of(block), false);
}

int KIV_CALL zu_shm_unlock(zu_shm* block) KIV_NOEXCEPT {
  return block != nullptr && platform::unlock_shared(block_of(block));
}
