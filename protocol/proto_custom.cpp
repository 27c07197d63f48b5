// Bytes of any kind as a parameter, in base64.
#include <algorithm>
#include <cstring>

#include "base/base64.h"
#include "protocol/proto.h"

using namespace kiv::protocol;

namespace {
constexpr char kCustomData[] = "__custom_switch_data__";
}

int KIV_CALL kivx_proto_PackCustomData(kiv_proto* packet, const void* bytes,
                                       int32_t length) KIV_NOEXCEPT {
  if (!packet || !bytes || length < 1) return 0;
  const int64_t quarters = int64_t{length} * 4 / 3;
  if (quarters + quarters % 4 > kMaxValue) return 0;
  char text[kMaxValue + 1];
  kiv::base::base64_encode(text, bytes, length);
  return pack_parameter(*packet, kCustomData, text) ? 1 : 0;
}

int KIV_CALL kivx_proto_GetCustomData(kiv_proto* packet, void* buffer, int32_t capacity,
                                      int32_t* length) KIV_NOEXCEPT {
  if (!packet || !buffer || capacity < 1) return 0;
  const int32_t i = find_or_print(*packet, kCustomData);
  if (i < 0) return 0;
  const int32_t decoded =
      kiv::base::base64_decode(packet->scratch, packet->values[i], kPacketStorage);
  if (decoded < 1) return 0;
  const int32_t copied = std::min(decoded, capacity);
  std::memcpy(buffer, packet->scratch, static_cast<std::size_t>(copied));
  if (length) *length = copied;
  return 1;
}
