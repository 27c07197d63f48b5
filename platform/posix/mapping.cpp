#include "platform/mapping.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <new>

#include "platform/heap.h"
#include "platform/thread.h"

namespace kiv::platform {

// The system's lock of the object is held by the handle, whichever thread took it; between those of
// a handle, a mutex decides.
struct SharedBlock {
  int fd;
  void* address;
  std::size_t size;
  pthread_mutex_t threads;
  std::atomic<std::int32_t> owner;  // a thread's id, 0 without
};

namespace {

constexpr std::size_t kNameRoom = 128;
constexpr mode_t kPrivate = S_IRUSR | S_IWUSR;

struct ObjectName {
  char text[kNameRoom];
  explicit ObjectName(const char* name) { std::snprintf(text, sizeof text, "/zu_shm.%s", name); }
};

void init_mutex(pthread_mutex_t* mutex) {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
  pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
  pthread_mutex_init(mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
}

// Takes over the descriptor.
SharedBlock* block_of(int fd, std::size_t size) {
  void* memory = heap_alloc(sizeof(SharedBlock));
  void* address = memory == nullptr ? nullptr : map_file(fd, size, true);
  if (address == nullptr) {
    heap_free(memory);
    close(fd);
    return nullptr;
  }
  auto* block = new (memory) SharedBlock{fd, address, size, {}, 0};
  init_mutex(&block->threads);
  return block;
}

bool is_held_now(int result, pthread_mutex_t* mutex) {
  if (result == EOWNERDEAD) return pthread_mutex_consistent(mutex) == 0;
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
  // Without its memory a block would fail its user at some access later on.
  int error;
  do {
    error = posix_fallocate(fd, 0, static_cast<off_t>(size));
  } while (error == EINTR);
  SharedBlock* block = nullptr;
  if (error == 0) {
    block = block_of(fd, size);
  } else {
    close(fd);
  }
  if (block == nullptr) shm_unlink(object.text);
  return block;
}

SharedBlock* open_shared(const char* name) noexcept {
  const int fd = shm_open(ObjectName(name).text, O_RDWR, 0);
  if (fd < 0) return nullptr;
  struct stat status;
  // One of another user may be a trap; one without a size is still being made.
  const bool good = fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0 &&
                    (status.st_uid == geteuid() || status.st_uid == 0);
  if (good) return block_of(fd, static_cast<std::size_t>(status.st_size));
  close(fd);
  return nullptr;
}

bool remove_shared(const char* name) noexcept {
  return shm_unlink(ObjectName(name).text) == 0;
}

void* shared_address(const SharedBlock* block) noexcept {
  return block->address;
}

std::size_t shared_size(const SharedBlock* block) noexcept {
  return block->size;
}

bool lock_shared(SharedBlock* block, bool wait) noexcept {
  pthread_mutex_t* threads = &block->threads;
  const int result = wait ? pthread_mutex_lock(threads) : pthread_mutex_trylock(threads);
  if (!is_held_now(result, threads)) return false;
  if (lock_file(block->fd, wait) == FileLock::taken) {
    block->owner = current_thread_id();
    return true;
  }
  pthread_mutex_unlock(threads);
  return false;
}

bool unlock_shared(SharedBlock* block) noexcept {
  if (block->owner != current_thread_id()) return false;
  block->owner = 0;
  // The object's lock first: it would be the next thread's by then.
  const bool given_up = unlock_file(block->fd);
  return pthread_mutex_unlock(&block->threads) == 0 && given_up;
}

void close_shared(SharedBlock* block) noexcept {
  unlock_shared(block);
  pthread_mutex_destroy(&block->threads);
  unmap_file(block->address, block->size);
  close(block->fd);
  heap_free(block);
}

}  // namespace kiv::platform
