// Whole files, as configurations and callers read them.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "kiv_base/base.h"
#include "platform/fs.h"
#include "system/file.h"

namespace kiv::system {

namespace {

using base::RawStorage;
using platform::File;

constexpr std::size_t kFirstRead = 16384;
constexpr std::size_t kLongestRead = INT32_MAX;  // as much as is ever allocated, the zero included

// Room for what the file seems to have and, so that its end shows, a byte more; a size that is not
// to be trusted is only where reading starts.
std::size_t first_room(File file) {
  const std::int64_t size = platform::file_size(file);
  if (size <= 0) return kFirstRead;
  return static_cast<std::size_t>(std::min<std::int64_t>(size, kLongestRead - 2)) + 2;
}

// Makes room for more; false when there can be none, and nothing changed.
bool grow(RawStorage<char>& text, std::size_t& room) {
  if (room >= kLongestRead) return false;
  const std::size_t larger = std::min(room * 2, kLongestRead);
  if (!text.resize(larger)) return false;
  room = larger;
  return true;
}

}  // namespace

RawStorage<char> read_whole_file(const char* path, bool narrow, std::size_t& length) {
  const OwnedFile file(
      platform::open_file(path, {.read = true, .regular = true, .narrow = narrow}));
  if (!file) return {};
  std::size_t room = first_room(file.get()), used = 0;
  auto text = RawStorage<char>::allocate(room);
  if (!text) return {};
  for (;;) {
    const std::int64_t got = platform::read_file(file.get(), text.get() + used, room - used - 1);
    if (got < 0) return {};
    if (got == 0) break;
    used += static_cast<std::size_t>(got);
    if (used + 1 == room && !grow(text, room)) return {};
  }
  text[used] = '\0';
  length = used;
  return text;
}

}  // namespace kiv::system
