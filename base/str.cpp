// Texts that may be NULL: copying, comparing, searching.
#include "base/str.h"

#include <cstdint>
#include <cstring>

#include "base/ascii.h"
#include "kiv_base/base.h"

using namespace kiv;

namespace {

// An order for arguments that need no look at their bytes: 0 for the same pointer, NULL first.
bool ordered_by_pointer(const char* a, const char* b, int* order) {
  if (a == b) {
    *order = 0;
  } else if (a == nullptr) {
    *order = -1;
  } else if (b == nullptr) {
    *order = 1;
  } else {
    return false;
  }
  return true;
}

unsigned char folded(char c) {
  return static_cast<unsigned char>(base::to_lower(c));
}

int compare_folded(const char* a, const char* b, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) {
    const unsigned char left = folded(a[i]);
    const unsigned char right = folded(b[i]);
    if (left != right) return left < right ? -1 : 1;
    if (left == 0) break;
  }
  return 0;
}

std::size_t length_of(std::int32_t n) {
  return n > 0 ? static_cast<std::size_t>(n) : 0;
}

}  // namespace

void base::copy_within(char* out, std::size_t size, const char* text) noexcept {
  const std::size_t length = text == nullptr ? 0 : ::strnlen(text, size - 1);
  if (length > 0) std::memmove(out, text, length);
  out[length] = '\0';
}

int base::compare(const char* a, const char* b) noexcept {
  int order;
  if (ordered_by_pointer(a, b, &order)) return order;
  order = std::strcmp(a, b);
  return (order > 0) - (order < 0);
}

void KIV_CALL zu_strncpy(char* destination, const char* source, int32_t n) KIV_NOEXCEPT {
  // deliberate: n bytes fit beside the terminator, which may become byte n + 1; callers size their
  // fields for that.
  if (destination != nullptr) base::copy_within(destination, length_of(n) + 1, source);
}

uint32_t KIV_CALL zu_strlen(const char* text) KIV_NOEXCEPT {
  return text == nullptr ? 0 : static_cast<uint32_t>(std::strlen(text));
}

int KIV_CALL zu_strcmp(const char* a, const char* b) KIV_NOEXCEPT {
  return base::compare(a, b);
}

int KIV_CALL zu_stricmp(const char* a, const char* b) KIV_NOEXCEPT {
  int order;
  return ordered_by_pointer(a, b, &order) ? order : compare_folded(a, b, SIZE_MAX);
}

int KIV_CALL zu_strncmp(const char* a, const char* b, int32_t n) KIV_NOEXCEPT {
  int order;
  return ordered_by_pointer(a, b, &order) ? order : std::strncmp(a, b, length_of(n));
}

int KIV_CALL zu_strnicmp(const char* a, const char* b, int32_t n) KIV_NOEXCEPT {
  int order;
  return ordered_by_pointer(a, b, &order) ? order : compare_folded(a, b, length_of(n));
}

char* KIV_CALL zu_strchr(const char* text, int character) KIV_NOEXCEPT {
  const auto wanted = static_cast<char>(character);
  if (text == nullptr || wanted == '\0') return nullptr;
  return const_cast<char*>(std::strchr(text, wanted));
}

char* KIV_CALL zu_strichr(const char* text, int character) KIV_NOEXCEPT {
  const char wanted = base::to_lower(static_cast<char>(character));
  if (text == nullptr || wanted == '\0') return nullptr;
  for (; *text != '\0'; ++text) {
    if (base::to_lower(*text) == wanted) return const_cast<char*>(text);
  }
  return nullptr;
}

char* KIV_CALL zu_strstr(const char* haystack, const char* needle) KIV_NOEXCEPT {
  if (haystack == nullptr || needle == nullptr) return nullptr;
  return const_cast<char*>(std::strstr(haystack, needle));
}

char* KIV_CALL zu_stristr(const char* haystack, const char* needle) KIV_NOEXCEPT {
  if (haystack == nullptr || needle == nullptr) return nullptr;
  if (*needle == '\0') return const_cast<char*>(haystack);
  const std::size_t length = std::strlen(needle);
  for (const char* at = zu_strichr(haystack, *needle); at != nullptr;
       at = zu_strichr(at + 1, *needle)) {
    if (compare_folded(at, needle, length) == 0) return const_cast<char*>(at);
  }
  return nullptr;
}

int32_t KIV_CALL zu_FindKey(const char* key, const char* text) KIV_NOEXCEPT {
  // deliberate: an empty key is found nowhere, unlike an empty needle of zu_strstr.
  if (key == nullptr || *key == '\0') return -1;
  const char* found = zu_strstr(text, key);
  if (found == nullptr || found - text > INT32_MAX) return -1;
  return static_cast<int32_t>(found - text);
}

int KIV_CALL zu_isGB2312(const char* text) KIV_NOEXCEPT {
  (void)text;
  return 0;
}
