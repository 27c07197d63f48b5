// Pid files: the process that holds one is the running instance, whatever number it contains.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "base/ascii.h"
#include "base/owned.h"
#include "kiv_base/base.h"
#include "kiv_base/system.h"
#include "platform/locked_file.h"
#include "platform/process.h"

using namespace kiv;

struct zu_pidfile {
  platform::LockedFile file;
  std::int32_t process;
  char path[1];  // as long as it is
};

namespace {

constexpr std::size_t kLongestContent = 32;

// The number that `length` bytes of a file are, with white space around it: 0 when there is none,
// -1 when they are anything else.
std::int32_t number_in(const char* content, std::int32_t length) {
  if (length < 0 || length == std::int32_t{kLongestContent}) return -1;
  const char* const end = content + length;
  while (content != end && base::is_space(*content)) ++content;
  std::int64_t number = 0;
  for (; content != end && base::is_digit(*content); ++content) {
    number = number * 10 + (*content - '0');
    if (number > INT32_MAX) return -1;
  }
  while (content != end && base::is_space(*content)) ++content;
  return content == end ? static_cast<std::int32_t>(number) : -1;
}

std::int32_t peek_number(const char* path, bool* is_held) {
  char content[kLongestContent];
  return number_in(content, platform::locked_file_peek(path, content, sizeof content, is_held));
}

int fail(const char* path, const char* why) {
  std::printf("error: '%s': %s in zu_pidfile_make()!\n", path, why);
  return 0;
}

int fail_for_system(const char* path) {
  char why[256];
  platform::last_error_text(why, sizeof why);
  return fail(path, why);
}

int fail_for_holder(const char* path) {
  char why[64];
  bool is_held = false;
  const std::int32_t holder = peek_number(path, &is_held);
  std::snprintf(why, sizeof why, "process %d holds it", holder > 0 ? holder : 0);
  return fail(path, holder > 0 ? why : "another process holds it");
}

int write_number(const zu_pidfile& made) {
  char content[kLongestContent];
  // A path given by mistake may lead to something precious.
  if (number_in(content, platform::locked_file_read(made.file, content, sizeof content)) < 0) {
    return fail(made.path, "there is a file of another kind");
  }
  const int length = std::snprintf(content, sizeof content, "%d\n", made.process);
  if (platform::locked_file_write(made.file, content, static_cast<std::size_t>(length))) return 1;
  return fail_for_system(made.path);
}

int take_file(zu_pidfile& made) {
  switch (platform::locked_file_take(made.path, &made.file)) {
    case platform::Take::held:
      return fail_for_holder(made.path);
    case platform::Take::failed:
      return fail_for_system(made.path);
    case platform::Take::taken:
      break;
  }
  if (write_number(made)) return 1;
  platform::locked_file_close(made.file);
  return 0;
}

}  // namespace

zu_pidfile* KIV_CALL zu_pidfile_make(const char* path) KIV_NOEXCEPT {
  if (path == nullptr || *path == '\0') return nullptr;
  const std::size_t length = std::strlen(path);
  base::RawStorage<char> memory = base::RawStorage<char>::allocate(sizeof(zu_pidfile) + length);
  if (!memory) return nullptr;
  auto* made = reinterpret_cast<zu_pidfile*>(memory.get());
  made->process = platform::process_id();
  std::memcpy(made->path, path, length + 1);
  if (!take_file(*made)) return nullptr;
  (void)memory.release();
  return made;
}

int KIV_CALL zu_pidfile_free(zu_pidfile* file) KIV_NOEXCEPT {
  if (file == nullptr) return 0;
  const bool is_ours = file->process == platform::process_id();
  const bool removed = is_ours && platform::locked_file_remove(file->file, file->path);
  if (!is_ours) platform::locked_file_close(file->file);
  base::deallocate(file);
  return removed;
}

int32_t KIV_CALL zu_pidfile_read(const char* path) KIV_NOEXCEPT {
  if (path == nullptr) return -1;
  bool is_held = false;
  const std::int32_t number = peek_number(path, &is_held);
  if (number < 0 || (is_held && number == 0)) return -1;
  return is_held ? number : 0;
}
