#include "cipher.h"

#include <cstdint>

namespace uvc_ping {
namespace {

constexpr std::int32_t kKeyBytes = 16;

kiv_cipher* make(const std::string& key) {
  char bytes[kKeyBytes];
  if (kiv_cipher_key(bytes, kKeyBytes, key.c_str(), "uvc_ping") != 1) return nullptr;
  return kiv_cipher_malloc(KIV_CIPHER_XTEA, bytes, kKeyBytes);
}

std::int32_t size_of(std::string_view bytes) {
  return static_cast<std::int32_t>(bytes.size());
}

}  // namespace

Cipher::Cipher(const std::string& key)
    : has_key_(!key.empty()),
      cipher_(has_key_ ? make(key) : nullptr, [](kiv_cipher* old) { kiv_cipher_free(old); }) {}

std::string Cipher::encipher(std::string text) {
  if (!has_key_) return text;
  const std::int32_t length = size_of(text);
  text.resize((text.size() + kBlock - 1) / kBlock * kBlock);
  kiv_encipher(cipher_.get(), text.data(), size_of(text), nullptr, text.data(), length);
  return text;
}

// Whole blocks leave nothing behind that would shift the next datagram.
std::optional<std::string> Cipher::decipher(std::string_view bytes) {
  if (!has_key_) return std::string(bytes);
  std::int32_t written = 0;
  std::string text(bytes.size(), '\0');
  if (bytes.size() % kBlock != 0 ||
      kiv_cipher_input(cipher_.get(), bytes.data(), size_of(bytes)) != 1 ||
      kiv_cipher_get(cipher_.get(), text.data(), size_of(text), &written) != 1 ||
      written != size_of(text)) {
    return std::nullopt;
  }
  return text;
}

}  // namespace uvc_ping
