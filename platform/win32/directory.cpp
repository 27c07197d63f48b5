// Directories by path, each held open so that none can be swapped for a link meanwhile.
#include <windows.h>

#include <cwchar>
#include <new>
#include <utility>

#include "platform/fs.h"
#include "platform/heap.h"
#include "platform/win32/reparse.h"
#include "platform/win32/wide_path.h"

namespace kiv::platform {

struct Directory {
  Wide path;
  HANDLE held;
  HANDLE find = INVALID_HANDLE_VALUE;
  char* last_name = nullptr;
  WIN32_FIND_DATAW last{};
};

namespace {

// Opens it so that it can be neither renamed nor removed.
HANDLE hold(const wchar_t* path, bool follow) {
  const DWORD flags = FILE_FLAG_BACKUP_SEMANTICS | (follow ? 0 : FILE_FLAG_OPEN_REPARSE_POINT);
  const HANDLE held = CreateFileW(path, FILE_LIST_DIRECTORY, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                  nullptr, OPEN_EXISTING, flags, nullptr);
  if (held == INVALID_HANDLE_VALUE) return held;
  FILE_ATTRIBUTE_TAG_INFO found{};
  const bool known = GetFileInformationByHandleEx(held, FileAttributeTagInfo, &found, sizeof found);
  const bool link = !follow && found.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT &&
                    is_link_tag(found.ReparseTag);
  if (known && !link && found.FileAttributes & FILE_ATTRIBUTE_DIRECTORY) return held;
  CloseHandle(held);
  return INVALID_HANDLE_VALUE;
}

Directory* directory_at(Wide path, bool follow) {
  if (!path) return nullptr;
  if (!follow) {
    const DWORD attributes = GetFileAttributesW(path.get());
    if (attributes == INVALID_FILE_ATTRIBUTES || is_link(path.get(), attributes)) return nullptr;
  }
  void* memory = heap_alloc(sizeof(Directory));
  const HANDLE held = memory == nullptr ? INVALID_HANDLE_VALUE : hold(path.get(), follow);
  if (held != INVALID_HANDLE_VALUE) return new (memory) Directory{std::move(path), held};
  heap_free(memory);
  return nullptr;
}

bool is_self_or_parent(const wchar_t* name) {
  return std::wcscmp(name, L".") == 0 || std::wcscmp(name, L"..") == 0;
}

// 1, 0 at the end, -1 on failure.
int find_next(Directory& directory) {
  if (directory.find != INVALID_HANDLE_VALUE) {
    if (FindNextFileW(directory.find, &directory.last)) return 1;
    return GetLastError() == ERROR_NO_MORE_FILES ? 0 : -1;
  }
  const Wide pattern = joined_path(directory.path.get(), L"*");
  if (!pattern) return -1;
  directory.find = FindFirstFileW(pattern.get(), &directory.last);
  if (directory.find != INVALID_HANDLE_VALUE) return 1;
  return GetLastError() == ERROR_FILE_NOT_FOUND ? 0 : -1;  // so is the empty root of a volume
}

Kind kind_of(const WIN32_FIND_DATAW& found) {
  if (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT && is_link_tag(found.dwReserved0)) {
    return Kind::link;
  }
  return found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY ? Kind::directory : Kind::file;
}

// Calls for the length of a text with its end, then for the text.
template <typename Get>
Wide text_from(Get get) {
  const DWORD room = get(0, nullptr);
  Wide text = Wide::with_room(room);
  if (text && (room == 0 || get(room, text.get()) > room)) heap_free(text.release());
  return text;
}

}  // namespace

Directory* open_directory(const char* path, bool follow) noexcept {
  return directory_at(wide_path(path, true), follow);
}

Directory* open_last_entry(Directory* above) noexcept {
  return directory_at(joined_path(above->path.get(), above->last.cFileName), false);
}

void close_directory(Directory* directory) noexcept {
  if (directory == nullptr) return;
  if (directory->find != INVALID_HANDLE_VALUE) FindClose(directory->find);
  CloseHandle(directory->held);
  heap_free(directory->last_name);
  directory->~Directory();
  heap_free(directory);
}

int next_entry(Directory* directory, DirectoryEntry* entry) noexcept {
  int found;
  do {
    found = find_next(*directory);
    if (found != 1) return found;
  } while (is_self_or_parent(directory->last.cFileName));
  heap_free(directory->last_name);
  directory->last_name = utf8_of(directory->last.cFileName);
  if (directory->last_name == nullptr) return -1;
  entry->name = directory->last_name;
  entry->kind = kind_of(directory->last);
  entry->size = 0;
  if (entry->kind == Kind::file) {
    entry->size = static_cast<std::int64_t>(std::uint64_t{directory->last.nFileSizeHigh} << 32 |
                                            directory->last.nFileSizeLow);
  }
  return 1;
}

bool last_entry_is_directory(Directory* directory) noexcept {
  const Wide path = joined_path(directory->path.get(), directory->last.cFileName);
  if (!path) return true;
  const DWORD attributes = GetFileAttributesW(path.get());
  if (attributes == INVALID_FILE_ATTRIBUTES) return GetLastError() != ERROR_FILE_NOT_FOUND;
  return attributes & FILE_ATTRIBUTE_DIRECTORY && !is_link(path.get(), attributes);
}

bool remove_last_entry(Directory* directory) noexcept {
  // A system that does not tell a link's tag (Wine) removes what the link leads to.
  const WIN32_FIND_DATAW& last = directory->last;
  if (kind_of(last) == Kind::link && last.dwReserved0 == 0) return false;
  const Wide path = joined_path(directory->path.get(), last.cFileName);
  return path && remove_found(path.get(), last.dwFileAttributes);
}

char* current_directory() noexcept {
  const Wide text = text_from(GetCurrentDirectoryW);
  return text ? utf8_of(text.get()) : nullptr;
}

char* temporary_directory() noexcept {
  const Wide text = text_from(GetTempPathW);
  return text ? utf8_of(text.get()) : nullptr;
}

bool set_current_directory(const char* path) noexcept {
  const Wide wide = wide_path(path);
  return wide && SetCurrentDirectoryW(wide.get());
}

bool is_separator(char c) noexcept {
  return c == '/' || c == '\\';
}

}  // namespace kiv::platform
