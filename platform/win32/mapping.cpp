#include "platform/mapping.h"

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <cwchar>
#include <new>

#include "platform/heap.h"
#include "platform/win32/wide.h"

namespace kiv::platform {

namespace {

// In front of a shared block, which the system knows by whole pages alone. The counters are changed
// by all its processes.
struct alignas(64) Head {
  std::atomic<std::uint64_t> size;  // 0 while the block is being made
  std::atomic<std::uint32_t> removed;
  std::atomic<std::uint32_t> held;  // under the mutex: somebody has it
};
static_assert(sizeof(Head) == 64 && std::atomic<std::uint64_t>::is_always_lock_free);

constexpr std::size_t kNameRoom = 128;

struct ObjectName {
  wchar_t text[kNameRoom] = L"Local\\";
  ObjectName(const wchar_t* kind, const char* name) {
    const Wide wide(name);
    // Without a name, an object would be nobody else's.
    if (wide) std::wcscat(std::wcscat(text, kind), wide.get());
    made = static_cast<bool>(wide);
  }
  bool made;
};

Head* view_of(HANDLE memory) {
  return static_cast<Head*>(MapViewOfFile(memory, FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, 0));
}

// The room after the head, in the whole pages that a view has.
std::size_t room_viewed(const Head* head) {
  MEMORY_BASIC_INFORMATION found;
  return VirtualQuery(head, &found, sizeof found) == 0 ? 0 : found.RegionSize - sizeof(Head);
}

bool is_whole(const Head* head) {
  const std::uint64_t size = head->size;
  return size > 0 && head->removed == 0 && size <= room_viewed(head);
}

}  // namespace

struct SharedBlock {
  HANDLE memory;
  HANDLE mutex;
  Head* head;
  std::atomic<DWORD> owner;  // a thread's id, 0 without
};

namespace {

// Takes over the memory and the view.
SharedBlock* block_of(HANDLE memory, Head* head, const char* name) {
  const ObjectName mutex_name(L"zu_shm_lock.", name);
  const HANDLE mutex = mutex_name.made ? CreateMutexW(nullptr, FALSE, mutex_name.text) : nullptr;
  void* block = mutex == nullptr ? nullptr : heap_alloc(sizeof(SharedBlock));
  if (block != nullptr) return new (block) SharedBlock{memory, mutex, head, 0};
  if (mutex != nullptr) CloseHandle(mutex);
  UnmapViewOfFile(head);
  CloseHandle(memory);
  return nullptr;
}

// The block of a name, as long as a handle or the caller has it.
HANDLE find_shared(const char* name, Head** head) {
  const ObjectName object(L"zu_shm.", name);
  if (!object.made) return nullptr;
  const HANDLE memory = OpenFileMappingW(FILE_MAP_READ | FILE_MAP_WRITE, FALSE, object.text);
  *head = memory == nullptr ? nullptr : view_of(memory);
  if (*head != nullptr && is_whole(*head)) return memory;
  if (*head != nullptr) UnmapViewOfFile(*head);
  if (memory != nullptr) CloseHandle(memory);
  return nullptr;
}

}  // namespace

void* map_file(File file, std::size_t size, bool writable) noexcept {
  const HANDLE mapping =
      CreateFileMappingW(reinterpret_cast<HANDLE>(file), nullptr,
                         writable ? PAGE_READWRITE : PAGE_READONLY, 0, 0, nullptr);
  if (mapping == nullptr) return nullptr;
  const DWORD access = FILE_MAP_READ | (writable ? FILE_MAP_WRITE : 0);
  void* address = MapViewOfFile(mapping, access, 0, 0, size);
  CloseHandle(mapping);
  return address;
}

void unmap_file(void* address, std::size_t) noexcept {
  UnmapViewOfFile(address);
}

bool flush_mapped(void* address, std::size_t size) noexcept {
  return FlushViewOfFile(address, size);
}

SharedBlock* create_shared(const char* name, std::size_t size) noexcept {
  const std::uint64_t whole = std::uint64_t{size} + sizeof(Head);
  const ObjectName object(L"zu_shm.", name);
  if (!object.made) return nullptr;
  const HANDLE memory =
      CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE,
                         static_cast<DWORD>(whole >> 32), static_cast<DWORD>(whole), object.text);
  if (memory == nullptr) return nullptr;
  Head* head = GetLastError() == ERROR_ALREADY_EXISTS ? nullptr : view_of(memory);
  if (head == nullptr) {
    CloseHandle(memory);
    return nullptr;
  }
  head->size = size;
  return block_of(memory, head, name);
}

SharedBlock* open_shared(const char* name) noexcept {
  Head* head = nullptr;
  const HANDLE memory = find_shared(name, &head);
  return memory == nullptr ? nullptr : block_of(memory, head, name);
}

// The system has no way to take a name away, so the block itself says that it is gone.
bool remove_shared(const char* name) noexcept {
  Head* head = nullptr;
  const HANDLE memory = find_shared(name, &head);
  if (memory == nullptr) return false;
  const bool first = head->removed.exchange(1) == 0;
  UnmapViewOfFile(head);
  CloseHandle(memory);
  return first;
}

void* shared_address(const SharedBlock* block) noexcept {
  return block->head + 1;
}

std::size_t shared_size(const SharedBlock* block) noexcept {
  return static_cast<std::size_t>(block->head->size);
}

bool lock_shared(SharedBlock* block, bool wait) noexcept {
  const DWORD result = WaitForSingleObject(block->mutex, wait ? INFINITE : 0);
  if (result != WAIT_OBJECT_0 && result != WAIT_ABANDONED) return false;
  // The system lets a thread have its own mutex twice.
  if (result == WAIT_OBJECT_0 && block->head->held != 0) {
    ReleaseMutex(block->mutex);
    return false;
  }
  block->head->held = 1;
  block->owner = GetCurrentThreadId();
  return true;
}

bool unlock_shared(SharedBlock* block) noexcept {
  if (block->owner != GetCurrentThreadId()) return false;
  block->owner = 0;
  block->head->held = 0;
  return ReleaseMutex(block->mutex);
}

void close_shared(SharedBlock* block) noexcept {
  unlock_shared(block);
  UnmapViewOfFile(block->head);
  CloseHandle(block->mutex);
  CloseHandle(block->memory);
  heap_free(block);
}

}  // namespace kiv::platform
