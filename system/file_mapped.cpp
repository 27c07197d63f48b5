// Mapped files.
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "base/owned.h"
#include "kiv_base/system.h"
#include "platform/fs.h"
#include "platform/mapping.h"
#include "system/file.h"

using namespace kiv;

struct zu_file_mapped {
  platform::File file;
  void* address;  // null without bytes
  std::size_t size;
  bool writable;
};

namespace {

bool fits(std::int64_t size, const char* function) {
  if (size < 0) return false;
  if (static_cast<std::uint64_t>(size) <= static_cast<std::uint64_t>(PTRDIFF_MAX)) return true;
  std::printf("error: %lld bytes are more than the address space in %s()!\n",
              static_cast<long long>(size), function);
  return false;
}

void unmap(zu_file_mapped& mapped) {
  if (mapped.address != nullptr) platform::unmap_file(mapped.address, mapped.size);
  mapped.address = nullptr;
  mapped.size = 0;
}

// Maps what is not mapped yet; no bytes need no memory.
bool map(zu_file_mapped& mapped, std::size_t size) {
  void* address = size == 0 ? nullptr : platform::map_file(mapped.file, size, mapped.writable);
  if (size > 0 && address == nullptr) return false;
  mapped.address = address;
  mapped.size = size;
  return true;
}

bool extend(zu_file_mapped& mapped, std::size_t size) {
  const zu_file_mapped old = mapped;
  if (!platform::resize_file(mapped.file, static_cast<std::int64_t>(size))) return false;
  if (!map(mapped, size)) {
    platform::resize_file(mapped.file, static_cast<std::int64_t>(old.size));
    return false;
  }
  if (old.address != nullptr) platform::unmap_file(old.address, old.size);
  return true;
}

// Windows cuts off nothing that is mapped.
bool shorten(zu_file_mapped& mapped, std::size_t size) {
  const std::size_t old_size = mapped.size;
  unmap(mapped);
  const bool cut = platform::resize_file(mapped.file, static_cast<std::int64_t>(size));
  return map(mapped, cut ? size : old_size) && cut;
}

}  // namespace

zu_file_mapped* KIV_CALL zu_file_mapped_open(const char* path, int writable) KIV_NOEXCEPT {
  if (!system::is_path(path)) return nullptr;
  const bool changes = writable != 0;
  system::OwnedFile file(platform::open_file(
      path, {.read = true, .write = changes, .create = changes, .regular = true}));
  if (!file) return nullptr;
  const std::int64_t size = platform::file_size(file.get());
  auto made = base::make<zu_file_mapped>();
  if (!made || !fits(size, "zu_file_mapped_open")) return nullptr;
  *made = {file.get(), nullptr, 0, changes};
  if (!map(*made, static_cast<std::size_t>(size))) return nullptr;
  (void)file.release();
  return made.release();
}

void KIV_CALL zu_file_mapped_close(zu_file_mapped* file) KIV_NOEXCEPT {
  if (file == nullptr) return;
  unmap(*file);
  platform::close_file(file->file);
  base::destroy(file);
}

void* KIV_CALL zu_file_mapped_GetAddress(zu_file_mapped* file) KIV_NOEXCEPT {
  return file == nullptr ? nullptr : file->address;
}

int64_t KIV_CALL zu_file_mapped_GetSize(zu_file_mapped* file) KIV_NOEXCEPT {
  return file == nullptr ? -1 : static_cast<int64_t>(file->size);
}

int KIV_CALL zu_file_mapped_flush(zu_file_mapped* file) KIV_NOEXCEPT {
  if (file == nullptr) return 0;
  if (!file->writable) return 1;
  return (file->address == nullptr || platform::flush_mapped(file->address, file->size)) &&
         platform::flush_file(file->file);
}

int KIV_CALL zu_file_mapped_resize(zu_file_mapped* file, int64_t size) KIV_NOEXCEPT {
  if (file == nullptr || !file->writable || !fits(size, "zu_file_mapped_resize")) return 0;
  const auto wanted = static_cast<std::size_t>(size);
  if (wanted == file->size) return 1;
  return wanted > file->size ? extend(*file, wanted) : shorten(*file, wanted);
}
