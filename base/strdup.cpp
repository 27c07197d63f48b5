// Texts in new memory.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "base/str.h"
#include "kiv_base/base.h"

namespace kiv::base {
namespace {

// Room for `length` bytes and a terminator, which is set.
RawStorage<char> make_text(std::uint64_t length) noexcept {
  if (length >= INT32_MAX) return {};
  auto text = RawStorage<char>::allocate(static_cast<std::size_t>(length) + 1);
  if (text) text[static_cast<std::size_t>(length)] = '\0';
  return text;
}

}  // namespace

RawStorage<char> copy_text(const char* text, std::size_t length) noexcept {
  auto copy = make_text(length);
  if (copy) std::memcpy(copy.get(), text, length);
  return copy;
}

RawStorage<char> copy_text(const char* text) noexcept {
  return text == nullptr ? RawStorage<char>() : copy_text(text, std::strlen(text));
}

RawStorage<char> join(std::initializer_list<const char*> parts) noexcept {
  std::uint64_t length = 0;  // one long text given three times is beyond 32 bits
  for (const char* part : parts) {
    if (part == nullptr) return {};
    length += std::strlen(part);
  }
  auto joined = make_text(length);
  if (!joined) return joined;
  char* end = joined.get();
  for (const char* part : parts) {
    const std::size_t part_length = std::strlen(part);
    std::memcpy(end, part, part_length);
    end += part_length;
  }
  return joined;
}

}  // namespace kiv::base

using namespace kiv::base;

char* KIV_CALL zu_strdup(const char* text) KIV_NOEXCEPT {
  return copy_text(text).release();
}

char* KIV_CALL zu_strndup(const char* text, int32_t n) KIV_NOEXCEPT {
  if (text == nullptr || n < 0) return nullptr;
  auto copy = make_text(static_cast<std::size_t>(n));
  if (copy) copy_within(copy.get(), static_cast<std::size_t>(n) + 1, text);
  return copy.release();
}

char* KIV_CALL zu_strdup2(const char* a, const char* b) KIV_NOEXCEPT {
  return join({a, b}).release();
}

char* KIV_CALL zu_strdup3(const char* a, const char* b, const char* c) KIV_NOEXCEPT {
  return join({a, b, c}).release();
}

void* KIV_CALL zu_memdup(const void* bytes, int32_t length) KIV_NOEXCEPT {
  if (bytes == nullptr || length < 0) return nullptr;
  return copy_text(static_cast<const char*>(bytes), static_cast<std::size_t>(length)).release();
}

char* KIV_CALL zu_strreverse(const char* text, int32_t n) KIV_NOEXCEPT {
  if (text == nullptr || n < 1 || *text == '\0') return nullptr;
  const std::size_t length = ::strnlen(text, static_cast<std::size_t>(n));
  auto reversed = make_text(length);
  if (reversed) std::reverse_copy(text, text + length, reversed.get());
  return reversed.release();
}

char* KIV_CALL zu_GetFilenameFromPath(const char* path) KIV_NOEXCEPT {
  if (path == nullptr) return nullptr;
  const char* name = path;
  for (const char* at = path; *at != '\0'; ++at) {
    if (*at == '/' || *at == '\\') name = at + 1;
  }
  return *name == '\0' ? nullptr : copy_text(name).release();
}
