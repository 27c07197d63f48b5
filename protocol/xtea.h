// The XTEA block cipher (Needham and Wheeler, "Tea extensions", 1997): blocks of 64 bits, a key of
// 128 bits, 32 cycles. Words are little-endian in blocks and key.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kiv::protocol {

inline constexpr std::size_t kXteaBlock = 8;
inline constexpr std::size_t kXteaKey = 16;

class Xtea {
 public:
  Xtea() = default;  // without a key
  explicit Xtea(const std::uint8_t (&key)[kXteaKey]);

  // Each block for itself. `out` may be `in`.
  void encrypt(std::uint8_t* out, const std::uint8_t* in, std::size_t blocks) const;
  void decrypt(std::uint8_t* out, const std::uint8_t* in, std::size_t blocks) const;

 private:
  std::uint32_t keys_[64];  // of the half cycles, in the order of encryption
};

}  // namespace kiv::protocol
