// The packet cipher: one-shot enciphering, and deciphering of a stream that it holds.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "base/owned.h"
#include "kiv_base/http.h"
#include "kiv_base/protocol.h"
#include "protocol/xtea.h"

namespace {

using kiv::base::Owned;
using kiv::protocol::kXteaBlock;
using kiv::protocol::kXteaKey;
using kiv::protocol::Xtea;

constexpr std::int32_t kMaxHeld = 20496;

struct Input {
  std::uint8_t bytes[kMaxHeld + 1];
  std::int32_t held;
  std::uint8_t key[kXteaKey];
  std::int32_t key_length;
  std::int32_t start;  // of the held bytes, so that what is taken moves nothing
};
static_assert(offsetof(Input, held) == 20500 && offsetof(Input, start) == 20524);

}  // namespace

struct kiv_cipher {
  std::int32_t mode;
  std::int32_t reserved[2];
  std::uint8_t key[kXteaKey];
  std::int32_t key_length;
  Input* input;
};
static_assert(sizeof(void*) != 4 ||
              (sizeof(kiv_cipher) == 36 && offsetof(kiv_cipher, key) == 12 &&
               offsetof(kiv_cipher, key_length) == 28 && offsetof(kiv_cipher, input) == 32));

namespace {

bool is_mode(int mode) {
  return mode >= KIV_CIPHER_NONE && mode <= KIV_CIPHER_XTEA;
}

bool is_key(const void* key, int32_t length) {
  return length == 0 || (key && length > 0);
}

void set_up(kiv_cipher& cipher, int mode, const void* key, int32_t length) {
  Input* const input = cipher.input;
  cipher = {mode, {}, {}, kXteaKey, input};
  if (length > 0) {
    std::memcpy(cipher.key, key, std::min(static_cast<std::size_t>(length), kXteaKey));
  }
  input->held = input->start = 0;
  std::memcpy(input->key, cipher.key, kXteaKey);
  input->key_length = kXteaKey;
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

// Gives the number of bytes written.
// deliberate: nothing marks the zeros that fill the last block; readers have the length from their
// own framing.
std::size_t encipher_blocks(const kiv_cipher& cipher, std::uint8_t* out, std::size_t capacity,
                            const std::uint8_t* in, std::size_t length) {
  const Xtea xtea(cipher.key);
  const std::size_t room = capacity / kXteaBlock, whole = std::min(length / kXteaBlock, room);
  const std::size_t done = whole * kXteaBlock;
  xtea.encipher(out, in, whole);
  if (done == length || whole == room) return done;
  std::uint8_t last[kXteaBlock] = {};
  std::memcpy(last, in + done, length - done);
  xtea.encipher(out + done, last, 1);
  return done + kXteaBlock;
}

std::size_t encipher(const kiv_cipher& cipher, std::uint8_t* out, std::size_t capacity,
                     const std::uint8_t* in, std::size_t length) {
  if (cipher.mode == KIV_CIPHER_XTEA) return encipher_blocks(cipher, out, capacity, in, length);
  const std::size_t count = std::min(capacity, length);
  if (cipher.mode == KIV_CIPHER_ROTATION) {
    rotate_bytes<2>(out, in, count);
  } else {
    std::memmove(out, in, count);
  }
  return count;
}

void decipher(int32_t mode, std::uint8_t* out, const Input& input, std::size_t count) {
  const std::uint8_t* const in = input.bytes + input.start;
  switch (mode) {
    case KIV_CIPHER_XTEA:
      return Xtea(input.key).decipher(out, in, count / kXteaBlock);
    case KIV_CIPHER_ROTATION:
      return rotate_bytes<6>(out, in, count);
    default:
      std::memcpy(out, in, count);
  }
}

void move_to_front(Input& input) {
  std::memmove(input.bytes, input.bytes + input.start, static_cast<std::size_t>(input.held));
  input.start = 0;
}

}  // namespace

kiv_cipher* KIV_CALL kiv_cipher_malloc(int mode, const void* key, int32_t key_length) KIV_NOEXCEPT {
  if (!is_mode(mode) || !is_key(key, key_length)) return nullptr;
  auto cipher = Owned<kiv_cipher>::allocate();
  auto input = Owned<Input>::allocate();
  if (!cipher || !input) return nullptr;
  cipher->input = input.release();
  set_up(*cipher, mode, key, key_length);
  return cipher.release();
}

void KIV_CALL kiv_cipher_free(kiv_cipher* cipher) KIV_NOEXCEPT {
  if (!cipher) return;
  _zu_free(cipher->input);
  _zu_free(cipher);
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
      encipher(*cipher, static_cast<std::uint8_t*>(buffer), static_cast<std::size_t>(capacity),
               static_cast<const std::uint8_t*>(bytes), static_cast<std::size_t>(length));
  if (written) *written = static_cast<int32_t>(count);
  return 1;
}

int KIV_CALL kiv_cipher_input(kiv_cipher* cipher, const void* bytes, int32_t length) KIV_NOEXCEPT {
  if (!cipher || !bytes || length < 0) return 0;
  Input& input = *cipher->input;
  if (length > kMaxHeld - input.held) return 0;
  if (length > kMaxHeld - input.held - input.start) move_to_front(input);
  std::memcpy(input.bytes + input.start + input.held, bytes, static_cast<std::size_t>(length));
  input.held += length;
  return 1;
}

int KIV_CALL kiv_cipher_get(kiv_cipher* cipher, void* buffer, int32_t capacity,
                            int32_t* written) KIV_NOEXCEPT {
  if (written) *written = 0;
  if (!cipher || !buffer || capacity < 0) return 0;
  Input& input = *cipher->input;
  const int32_t unit = cipher->mode == KIV_CIPHER_XTEA ? int32_t{kXteaBlock} : 1;
  if (input.held < unit) return 0;
  const int32_t count = std::min(capacity, input.held) / unit * unit;
  decipher(cipher->mode, static_cast<std::uint8_t*>(buffer), input,
           static_cast<std::size_t>(count));
  input.held -= count;
  input.start = input.held == 0 ? 0 : input.start + count;
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
  zu_md5_encode(digest, text);
  const auto size = static_cast<std::size_t>(length);
  std::memset(buffer, 0, size);
  std::memcpy(buffer, digest, std::min(size, kXteaKey));
  return 1;
}
