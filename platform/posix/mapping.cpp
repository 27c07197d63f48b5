#include "platform/mapping.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <new>

#include "platform/heap.h"
#include "platform/thread.h"

namespace kiv::platform {

namespace {

// Precedes a shared block. The lock lies in the memory itself: a lock of the open file would belong
// to a forked process and its parent alike.
struct alignas(64) Head {
  pthread_mutex_t lock;
  std::atomic<std::uint64_t> size;  // 0 until the lock can be used
};
static_assert(sizeof(Head) == 64 && std::atomic<std::uint64_t>::is_always_lock_free);

}  // namespace

struct SharedBlock {
  int fd;
  Head* head;
  std::size_t mapped;
  std::atomic<std::int64_t> owner;  // the thread that has it through this handle, 0: none
};

namespace {

constexpr std::size_t kNameRoom = 128;
constexpr mode_t kPrivate = S_IRUSR | S_IWUSR;

struct ObjectName {
  char text[kNameRoom];
  explicit ObjectName(const char* name) { std::snprintf(text, sizeof text, "/zu_shm.%s", name); }
};

// A forked process keeps its parent's thread id.
std::int64_t this_thread() {
  return std::int64_t{getpid()} << 32 | current_thread_id();
}

bool init_lock(pthread_mutex_t* lock) {
  pthread_mutexattr_t attributes;
  if (pthread_mutexattr_init(&attributes) != 0) return false;
  const bool good = pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK) == 0 &&
                    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED) == 0 &&
                    pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST) == 0 &&
                    pthread_mutex_init(lock, &attributes) == 0;
  pthread_mutexattr_destroy(&attributes);
  return good;
}

// Takes over the descriptor of an object of `mapped` bytes.
SharedBlock* block_of(int fd, std::size_t mapped) {
  void* memory = heap_alloc(sizeof(SharedBlock));
  void* address = memory == nullptr ? nullptr : map_file(fd, mapped, true);
  if (address != nullptr)
    return new (memory) SharedBlock{fd, static_cast<Head*>(address), mapped, 0};
  heap_free(memory);
  close(fd);
  return nullptr;
}

// A thread or process that died with the lock leaves it to the next.
bool is_held_now(int result, pthread_mutex_t* lock) {
  if (result == EOWNERDEAD) return pthread_mutex_consistent(lock) == 0;
  return result == 0;
}

}  // namespace

void* map_file(File file, std::size_t size, bool writable) noexcept {
  const int access = PROT_READ | (writable ? PROT_WRITE : 0);
  void* address = mmap(nullptr, size, access, MAP_SHARED, static_cast<int>(file), 0);
  return address == MAP_FAILED ? nullptr : address;
}

void unmap_file(void* address, std::size_t size) noexcept {
  munmap(address, size);
}

bool flush_mapped(void* address, std::size_t size) noexcept {
  return msync(address, size, MS_SYNC) == 0;
}

SharedBlock* create_shared(const char* name, std::size_t size) noexcept {
  const ObjectName object(name);
  const int fd = shm_open(object.text, O_RDWR | O_CREAT | O_EXCL, kPrivate);
  if (fd < 0) return nullptr;
  const std::size_t mapped = sizeof(Head) + size;
  // Without its memory a block would fail its user at some access later on.
  int error;
  do {
    error = posix_fallocate(fd, 0, static_cast<off_t>(mapped));
  } while (error == EINTR);
  SharedBlock* block = nullptr;
  if (error == 0) {
    block = block_of(fd, mapped);
  } else {
    close(fd);
  }
  if (block != nullptr && init_lock(&block->head->lock)) {
    block->head->size = size;
    return block;
  }
  if (block != nullptr) close_shared(block);
  shm_unlink(object.text);
  return nullptr;
}

SharedBlock* open_shared(const char* name) noexcept {
  const int fd = shm_open(ObjectName(name).text, O_RDWR, 0);
  if (fd < 0) return nullptr;
  struct stat status;
  // One of another user may be a trap.
  const bool good = fstat(fd, &status) == 0 && S_ISREG(status.st_mode) &&
                    status.st_size > static_cast<off_t>(sizeof(Head)) &&
                    (status.st_uid == geteuid() || status.st_uid == 0);
  if (!good) {
    close(fd);
    return nullptr;
  }
  SharedBlock* block = block_of(fd, static_cast<std::size_t>(status.st_size));
  if (block == nullptr || block->head->size == block->mapped - sizeof(Head)) return block;
  close_shared(block);
  return nullptr;
}

bool remove_shared(const char* name) noexcept {
  return shm_unlink(ObjectName(name).text) == 0;
}

void* shared_address(const SharedBlock* block) noexcept {
  return block->head + 1;
}

std::size_t shared_size(const SharedBlock* block) noexcept {
  return block->mapped - sizeof(Head);
}

bool lock_shared(SharedBlock* block, bool wait) noexcept {
  pthread_mutex_t* lock = &block->head->lock;
  const int result = wait ? pthread_mutex_lock(lock) : pthread_mutex_trylock(lock);
  if (!is_held_now(result, lock)) return false;
  block->owner = this_thread();
  return true;
}

bool unlock_shared(SharedBlock* block) noexcept {
  if (block->owner != this_thread()) return false;
  block->owner = 0;
  return pthread_mutex_unlock(&block->head->lock) == 0;
}

void close_shared(SharedBlock* block) noexcept {
  unlock_shared(block);
  unmap_file(block->head, block->mapped);
  close(block->fd);
  heap_free(block);
}

}  // namespace kiv::platform
