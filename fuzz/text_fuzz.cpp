// A first line as pattern, keyword, key and date, the rest as what they are used on; each outcome
// beside the plain way to get it.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "kiv_base/base.h"
#include "kiv_base/http.h"
#include "kiv_base/protocol.h"
#include "kiv_base/system.h"

namespace {

void check(bool holds) {
  if (!holds) std::abort();
}

std::string taken(char* text) {
  const std::string result = text == nullptr ? "" : text;
  _zu_free(text);
  return result;
}

bool matches(const std::string& pattern, const std::string& text) {
  std::vector<char> reached(text.size() + 1);  // how much of the text the pattern so far can match
  reached[0] = 1;
  for (const char c : pattern) {
    std::vector<char> next(text.size() + 1);
    for (std::size_t i = 0; i <= text.size(); ++i) {
      if (c == '*') {
        next[i] = reached[i] != 0 || (i > 0 && next[i - 1] != 0);
      } else if (i > 0) {
        next[i] = reached[i - 1] != 0 && (c == '?' || c == text[i - 1]);
      }
    }
    reached = next;
  }
  return reached.back() != 0;
}

void try_pattern(const std::string& first, const std::string& text) {
  if (first.size() * text.size() > 100000) return;
  check(zu_pattern_match_simple(first.c_str(), text.c_str()) == matches(first, text));
}

bool is_compared(char c) {
  return c != ' ' && std::strchr("\r\n`~!@$%^&*()-_=+[{]}\\|;:'\",<.>/?", c) == nullptr;
}

std::string compared(const std::string& text, std::size_t limit) {
  std::string result;
  for (const char c : text.substr(0, limit)) {
    if (is_compared(c)) result += c;
  }
  return result;
}

void try_filter(const std::string& first, const std::string& text) {
  kiv_filter* const filter = kiv_filter_malloc();
  check(kiv_filter_insert(filter, first.c_str(), "found") == 1);
  const std::string keyword = compared(first, 64);
  const bool is_hit = !keyword.empty() && compared(text, 10240).find(keyword) != std::string::npos;
  check(kiv_filter_IsHit(filter, text.c_str()) == is_hit);
  kiv_filter_free(filter);
}

// In pieces of any size, the plain bytes come back; XTEA pads the last block with zeros.
void try_cipher(const std::string& first, const std::string& text) {
  for (const int mode : {KIV_CIPHER_NONE, KIV_CIPHER_ROTATION, KIV_CIPHER_XTEA}) {
    const std::string key = "k" + first;
    kiv_cipher* const to =
        kiv_cipher_malloc(mode, key.data(), static_cast<std::int32_t>(key.size()));
    kiv_cipher* const from =
        kiv_cipher_malloc(mode, key.data(), static_cast<std::int32_t>(key.size()));
    check(to != nullptr && from != nullptr);
    std::vector<char> secret(text.size() + 8), plain(text.size() + 8);
    std::int32_t written = 0;
    kiv_encipher(to, secret.data(), static_cast<std::int32_t>(secret.size()), &written, text.data(),
                 static_cast<std::int32_t>(text.size()));
    std::string back;
    const std::int32_t piece = static_cast<std::int32_t>(1 + first.size() % 50);
    for (std::int32_t at = 0; at < written; at += piece) {
      check(kiv_cipher_input(from, secret.data() + at, std::min(piece, written - at)) == 1);
      std::int32_t got = 0;
      while (kiv_cipher_get(from, plain.data(), static_cast<std::int32_t>(plain.size()), &got) ==
                 1 &&
             got > 0) {
        back.append(plain.data(), static_cast<std::size_t>(got));
      }
    }
    check(back.size() >= text.size() && back.size() < text.size() + 8 &&
          back.compare(0, text.size(), text) == 0);
    kiv_cipher_free(to);
    kiv_cipher_free(from);
  }
}

void try_codes(const std::string& text) {
  const auto length = static_cast<std::int32_t>(text.size());
  std::vector<char> code(text.size() / 3 * 4 + 5), back(text.size() + 3);
  if (length > 0) {
    check(zu_base64_encode(code.data(), text.data(), length) ==
          static_cast<std::int32_t>(std::strlen(code.data())));
    check(zu_base64_decode(back.data(), code.data(), static_cast<std::int32_t>(back.size())) ==
              length &&
          std::memcmp(back.data(), text.data(), text.size()) == 0);
  }
  back.resize(text.size() + 1);
  check(zu_base64_decode(back.data(), text.c_str(), static_cast<std::int32_t>(back.size())) >= 0);
  char digest[33];
  check(zu_md5_encode(digest, text.c_str()) == 1 && std::strlen(digest) == 32);
}

// What a date says is printed as a date that says the same.
void try_date(const std::string& first) {
  const zu_time time = zu_DateParse(first.c_str());
  if (time == -1) return;
  const std::string printed = taken(zu_GetGMTString(time));
  const zu_time again = zu_DateParse(printed.c_str());
  if (printed.size() == 29) check(again == time);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  zu_SetEnv("TZ", "UTC0");
  return std::freopen("/dev/null", "w", stdout) == nullptr ? 1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
  const std::string all = std::string(data, size).c_str();
  const std::size_t end = std::min(all.find('\n'), all.size());
  const std::string first = all.substr(0, end), text = all.substr(std::min(end + 1, all.size()));
  try_pattern(first, text);
  try_filter(first, text);
  if (text.size() < 10000) try_cipher(first, text);
  try_codes(text);
  try_date(first);
  return 0;
}
