// Texts in new memory.
#include <cstdint>
#include <cstring>
#include <initializer_list>

#include "base/owned.h"
#include "kiv_base/base.h"

using namespace kiv;

namespace {

// Room for `length` bytes and a terminator, which is set.
char* make_text(std::uint64_t length) {
  if (length >= INT32_MAX) return nullptr;
  auto* text = static_cast<char*>(_zu_malloc(static_cast<std::int32_t>(length + 1)));
  if (text != nullptr) text[length] = '\0';
  return text;
}

char* join(std::initializer_list<const char*> parts) {
  std::uint64_t length = 0;  // one long text given three times is beyond 32 bits
  for (const char* part : parts) {
    if (part == nullptr) return nullptr;
    length += std::strlen(part);
  }
  char* joined = make_text(length);
  if (joined == nullptr) return nullptr;
  char* end = joined;
  for (const char* part : parts) {
    const std::size_t part_length = std::strlen(part);
    std::memcpy(end, part, part_length);
    end += part_length;
  }
  return joined;
}

}  // namespace

char* KIV_CALL zu_strdup(const char* text) KIV_NOEXCEPT {
  return text == nullptr ? nullptr : base::copy_text(text, std::strlen(text)).release();
}

char* KIV_CALL zu_strndup(const char* text, int32_t n) KIV_NOEXCEPT {
  if (text == nullptr || n < 0) return nullptr;
  char* copy = make_text(static_cast<std::size_t>(n));
  if (copy != nullptr) zu_strncpy(copy, text, n);
  return copy;
}

char* KIV_CALL zu_strdup2(const char* a, const char* b) KIV_NOEXCEPT {
  return join({a, b});
}

char* KIV_CALL zu_strdup3(const char* a, const char* b, const char* c) KIV_NOEXCEPT {
  return join({a, b, c});
}

void* KIV_CALL zu_memdup(const void* bytes, int32_t length) KIV_NOEXCEPT {
  if (bytes == nullptr || length < 0) return nullptr;
  return base::copy_text(static_cast<const char*>(bytes), static_cast<std::size_t>(length))
      .release();
}

char* KIV_CALL zu_strreverse(const char* text, int32_t n) KIV_NOEXCEPT {
  if (text == nullptr || n < 1 || *text == '\0') return nullptr;
  const std::size_t length = ::strnlen(text, static_cast<std::size_t>(n));
  char* reversed = make_text(length);
  for (std::size_t i = 0; reversed != nullptr && i < length; ++i) {
    reversed[i] = text[length - 1 - i];
  }
  return reversed;
}

char* KIV_CALL zu_GetFilenameFromPath(const char* path) KIV_NOEXCEPT {
  if (path == nullptr) return nullptr;
  const char* name = path;
  for (const char* at = path; *at != '\0'; ++at) {
    if (*at == '/' || *at == '\\') name = at + 1;
  }
  return *name == '\0' ? nullptr : zu_strdup(name);
}
