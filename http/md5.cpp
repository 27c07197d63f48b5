// The MD5 message digest.
#include "base/md5.h"

#include <cstring>

#include "kiv_base/http.h"

int KIV_CALL zu_md5_encode(char* out33, const char* text) KIV_NOEXCEPT {
  if (out33 == nullptr || text == nullptr) return 0;
  kiv::base::md5_hex(out33, text, std::strlen(text));
  return 1;
}
