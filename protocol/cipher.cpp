// The packet cipher: encrypts a buffer in one call, and decrypts a stream of which it holds a part.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "base/md5.h"
#include "base/owned.h"
#include "kiv_base/protocol.h"
#include "protocol/xtea.h"

using kiv::base::RawStorage;
using kiv::protocol::kXteaBlock;
using kiv::protocol::kXteaKey;
using kiv::protocol::Xtea;

namespace {
constexpr std::int32_t kMaxHeld = 20496;
}

struct kiv_cipher {
  std::int32_t mode;
  std::int32_t held;   // received bytes that were not taken yet
  std::int32_t start;  // of the held bytes, so that what is taken moves nothing
  Xtea xtea;           // of the key, in mode KIV_CIPHER_XTEA alone
  std::uint8_t bytes[kMaxHeld];
};

namespace {

bool is_mode(int mode) {
  return mode >= KIV_CIPHER_NONE && mode <= KIV_CIPHER_XTEA;
}

bool is_key(const void* key, int32_t length) {
  return length == 0 || (key && length > 0);
}

void set_up(kiv_cipher& cipher, int mode, const void* key, int32_t length) {
  cipher.mode = mode;
  cipher.held = cipher.start = 0;
  if (mode != KIV_CIPHER_XTEA) return;
  std::uint8_t padded[kXteaKey] = {};
  if (length > 0) std::memcpy(padded, key, std::min(static_cast<std::size_t>(length), kXteaKey));
  cipher.xtea = Xtea(padded);
}

// Rotates each byte to the left: words of bytes in groups, of a size that compilers do well with,
// and the bytes left over.
template <int Bits>
void rotate_bytes(std::uint8_t* out, const std::uint8_t* in, std::size_t count) {
  using Word = std::size_t;
  constexpr Word kHigh = ~Word{0} / 0xff * (0xff << Bits & 0xff), kLow = ~kHigh;
  Word group[sizeof(Word)];
  for (; count >= sizeof group; count -= sizeof group) {
    std::memcpy(group, in, sizeof group);
    for (Word& word : group) word = (word << Bits & kHigh) | (word >> (8 - Bits) & kLow);
    std::memcpy(out, group, sizeof group);
    in += sizeof group;
    out += sizeof group;
  }
  for (; count > 0; --count, ++in, ++out) {
    *out = static_cast<std::uint8_t>(*in << Bits | *in >> (8 - Bits));
  }
}

// Returns the number of bytes written.
// deliberate: nothing marks the zeros that fill the last block; readers have the length from their
// own framing.
std::size_t encrypt_blocks(const kiv_cipher& cipher, std::uint8_t* out, std::size_t capacity,
                           const std::uint8_t* in, std::size_t length) {
  const std::size_t room = capacity / kXteaBlock, whole = std::min(length / kXteaBlock, room);
  const std::size_t done = whole * kXteaBlock;
  cipher.xtea.encrypt(out, in, whole);
  if (done == length || whole == room) return done;
  std::uint8_t last[kXteaBlock] = {};
  std::memcpy(last, in + done, length - done);
  cipher.xtea.encrypt(out + done, last, 1);
  return done + kXteaBlock;
}

std::size_t encrypt(const kiv_cipher& cipher, std::uint8_t* out, std::size_t capacity,
                    const std::uint8_t* in, std::size_t length) {
  if (cipher.mode == KIV_CIPHER_XTEA) return encrypt_blocks(cipher, out, capacity, in, length);
  const std::size_t count = std::min(capacity, length);
  if (cipher.mode == KIV_CIPHER_ROTATION) {
    rotate_bytes<2>(out, in, count);
  } else {
    std::memmove(out, in, count);
  }
  return count;
}

void decrypt(const kiv_cipher& cipher, std::uint8_t* out, std::size_t count) {
  const std::uint8_t* const in = cipher.bytes + cipher.start;
  switch (cipher.mode) {
    case KIV_CIPHER_XTEA:
      return cipher.xtea.decrypt(out, in, count / kXteaBlock);
    case KIV_CIPHER_ROTATION:
      return rotate_bytes<6>(out, in, count);
    default:
      std::memcpy(out, in, count);
  }
}

void move_to_front(kiv_cipher& cipher) {
  std::memmove(cipher.bytes, cipher.bytes + cipher.start, static_cast<std::size_t>(cipher.held));
  cipher.start = 0;
}

}  // namespace

kiv_cipher* KIV_CALL kiv_cipher_malloc(int mode, const void* key, int32_t key_length) KIV_NOEXCEPT {
  if (!is_mode(mode) || !is_key(key, key_length)) return nullptr;
  auto cipher = RawStorage<kiv_cipher>::allocate();
  if (!cipher) return nullptr;
  set_up(*cipher, mode, key, key_length);
  return cipher.release();
}

void KIV_CALL kiv_cipher_free(kiv_cipher* cipher) KIV_NOEXCEPT {
  kiv::base::deallocate(cipher);
}

int KIV_CALL kiv_cipher_reset(kiv_cipher* cipher, int mode, const void* key,
                              int32_t key_length) KIV_NOEXCEPT {
  if (!cipher || !is_mode(mode) || !is_key(key, key_length)) return 0;
  set_up(*cipher, mode, key, key_length);
  return 1;
}

int KIV_CALL kiv_encipher(kiv_cipher* cipher, void* buffer, int32_t capacity, int32_t* written,
                          const void* bytes, int32_t length) KIV_NOEXCEPT {
  if (written) *written = 0;
  if (!cipher || !buffer || capacity < 0 || !bytes || length < 0) return 0;
  const std::size_t count =
      encrypt(*cipher, static_cast<std::uint8_t*>(buffer), static_cast<std::size_t>(capacity),
              static_cast<const std::uint8_t*>(bytes), static_cast<std::size_t>(length));
  if (written) *written = static_cast<int32_t>(count);
  return 1;
}

int KIV_CALL kiv_cipher_input(kiv_cipher* cipher, const void* bytes, int32_t length) KIV_NOEXCEPT {
  if (!cipher || !bytes || length < 0) return 0;
  if (length > kMaxHeld - cipher->held) return 0;
  if (length > kMaxHeld - cipher->held - cipher->start) move_to_front(*cipher);
  std::memcpy(cipher->bytes + cipher->start + cipher->held, bytes,
              static_cast<std::size_t>(length));
  cipher->held += length;
  return 1;
}

int KIV_CALL kiv_cipher_get(kiv_cipher* cipher, void* buffer, int32_t capacity,
                            int32_t* written) KIV_NOEXCEPT {
  if (written) *written = 0;
  if (!cipher || !buffer || capacity < 0) return 0;
  const int32_t unit = cipher->mode == KIV_CIPHER_XTEA ? int32_t{kXteaBlock} : 1;
  if (cipher->held < unit) return 0;
  const int32_t count = std::min(capacity, cipher->held) / unit * unit;
  decrypt(*cipher, static_cast<std::uint8_t*>(buffer), static_cast<std::size_t>(count));
  cipher->held -= count;
  cipher->start = cipher->held == 0 ? 0 : cipher->start + count;
  if (written) *written = count;
  return 1;
}

int KIV_CALL kiv_cipher_key(void* buffer, int32_t length, const char* first,
                            const char* second) KIV_NOEXCEPT {
  constexpr std::size_t kMaxText = 64;
  if (!buffer || length < 0 || !first || !second) return 0;
  char text[2 * kMaxText + 1] = {}, digest[33];
  std::strncat(text, first, kMaxText);
  std::strncat(text, second, kMaxText);
  kiv::base::md5_hex(digest, text, std::strlen(text));
  const auto size = static_cast<std::size_t>(length);
  std::memset(buffer, 0, size);
  std::memcpy(buffer, digest, std::min(size, kXteaKey));
  return 1;
}
