// Base64 after RFC 4648.
#include "base/base64.h"

#include <cstdlib>

#include "kiv_base/http.h"

using namespace kiv;

int32_t KIV_CALL zu_base64_encode(char* out, const void* bytes, int32_t length) KIV_NOEXCEPT {
  if (out == nullptr || bytes == nullptr || length < 1) return -1;
  const std::int64_t encoded = base::base64_length(length);
  if (encoded >= INT32_MAX) return -1;
  base::base64_encode(out, bytes, length);
  return static_cast<int32_t>(encoded);
}

int32_t KIV_CALL zu_base64_encode00(char** out, const void* bytes, int32_t length) KIV_NOEXCEPT {
  if (out == nullptr) return -1;
  *out = nullptr;
  if (bytes == nullptr || length < 1 || base::base64_length(length) >= INT32_MAX) return -1;
  // deliberate: malloc and not _zu_malloc; callers release the text with free().
  *out = static_cast<char*>(std::malloc(static_cast<std::size_t>(base::base64_length(length)) + 1));
  return zu_base64_encode(*out, bytes, length);
}

int32_t KIV_CALL zu_base64_decode(void* out, const char* text, int32_t capacity) KIV_NOEXCEPT {
  if (out == nullptr || text == nullptr || capacity < 1) return -1;
  return base::base64_decode(out, text, capacity);
}
