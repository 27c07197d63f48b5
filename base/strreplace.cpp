// Replacement within a text or a buffer, in place.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "kiv_base/base.h"

void KIV_CALL zu_strreplace(char* text, int32_t position, int32_t old_length,
                            const char* replacement, int32_t replacement_length) KIV_NOEXCEPT {
  if (text == nullptr || position < 0 || old_length < 0 || replacement_length < 0) return;
  if (replacement == nullptr && replacement_length > 0) return;
  const std::size_t length = std::strlen(text);
  const std::size_t end = static_cast<std::size_t>(position) + static_cast<std::size_t>(old_length);
  if (end > length) return;
  char* gap = text + position;
  std::memmove(gap + replacement_length, text + end, length - end + 1);
  if (replacement_length > 0) {
    std::memcpy(gap, replacement, static_cast<std::size_t>(replacement_length));
  }
}

void KIV_CALL zu_strreplace1(char* text, int32_t position, int32_t old_length,
                             const char* replacement) KIV_NOEXCEPT {
  const std::size_t length = replacement == nullptr ? 0 : std::strlen(replacement);
  if (length > static_cast<std::size_t>(INT32_MAX)) return;
  zu_strreplace(text, position, old_length, replacement, static_cast<int32_t>(length));
}

int32_t KIV_CALL zu_memreplace(void* buffer, int32_t length, int32_t start, int32_t end,
                               const void* replacement, int32_t replacement_length) KIV_NOEXCEPT {
  if (buffer == nullptr || replacement == nullptr || replacement_length < 1) return 0;
  if (length < 0 || start < 0) return 0;
  start = std::min(start, length);
  end = std::clamp(end, start, length);
  const std::int64_t growth = std::int64_t{replacement_length} - (end - start);
  if (length + growth > INT32_MAX) return 0;

  auto* bytes = static_cast<unsigned char*>(buffer);
  // deliberate: on growth the byte after the data moves too; it is the terminator of callers that
  // keep a text there.
  const std::int64_t tail = std::int64_t{length} - end + (growth > 0 ? 1 : 0);
  std::memmove(bytes + end + growth, bytes + end, static_cast<std::size_t>(tail));
  std::memcpy(bytes + start, replacement, static_cast<std::size_t>(replacement_length));
  return replacement_length;
}
