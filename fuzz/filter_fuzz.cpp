// Feeds one stream whole, bytewise and in pieces: the outcomes are the same. The first two bytes
// choose the kind of filter and the size of the pieces.
#include <cstdio>
#include <cstdlib>

#include "tests/http/stream.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  return std::freopen("/dev/null", "w", stdout) == nullptr ? 1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
  using namespace kiv::test;
  if (size < 3) return 0;
  const Kind kind = (data[0] & 1) != 0 ? Kind::request : Kind::response;
  const std::string_view bytes(data + 2, size - 2);
  const std::string whole = outcome(kind, bytes, [&] { return bytes.size(); });
  for (int piece : {1, 2 + static_cast<unsigned char>(data[1])}) {
    for (bool drain_often : {false, true}) {
      if (outcome(
              kind, bytes, [&] { return piece; }, drain_often) != whole)
        std::abort();
    }
  }
  return 0;
}
