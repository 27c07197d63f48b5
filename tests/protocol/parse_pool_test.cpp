// Framing of a stream, against a model that holds it all.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "kiv_base/protocol.h"

namespace kiv::test {
namespace {

// The next packet by the rules, from bytes that all lie within the ring; "" for none.
std::string next_packet(std::string& held, std::size_t capacity) {
  for (;;) {
    const std::size_t zero = held.find('\0');
    if (zero == std::string::npos) {
      if (held.size() >= 10240) held.clear();
      return "";
    }
    const std::size_t end = std::min(held.find_first_not_of('\0', zero), held.size());
    const std::string packet = held.substr(0, zero + 1);
    held.erase(0, end);
    if (zero > 0 && packet.size() <= std::min<std::size_t>(10240, capacity)) return packet;
  }
}

TEST(ParsePool, RandomCutsAgainstAModel) {
  std::mt19937 dice(3);
  const std::size_t sizes[] = {0, 1, 5, 60, 1000, 10238, 10239, 10240, 11000};
  for (int round = 0; round < 200; ++round) {
    kiv_parse_pool* pool = kiv_parse_pool_malloc();
    std::string held, buffer(12000, '\0');
    for (int step = 0; step < 60; ++step) {
      std::string piece(sizes[dice() % 9], static_cast<char>('a' + step % 26));
      piece.append(dice() % 3, '\0');
      if (held.size() + piece.size() > 20497) break;
      held += piece;
      EXPECT_EQ(kiv_parse_pool_input(pool, piece.data(), static_cast<int32_t>(piece.size())), 1);
      EXPECT_EQ(kiv_parse_pool_GetLen(pool), static_cast<int32_t>(held.size()));
      for (bool more = dice() % 2 == 0; more;) {
        const int32_t capacity = dice() % 4 == 0 ? static_cast<int32_t>(dice() % 80) : 12000;
        int32_t length = -1;
        const std::string expected = next_packet(held, static_cast<std::size_t>(capacity));
        more = kiv_parse_pool_get(pool, buffer.data(), capacity, &length) == 1;
        EXPECT_EQ(buffer.substr(0, static_cast<std::size_t>(length)), expected);
      }
    }
    kiv_parse_pool_free(pool);
  }
}

TEST(ParsePool, KeepsOrderThroughTheOverflow) {
  kiv_parse_pool* pool = kiv_parse_pool_malloc();
  std::string sent, got, buffer(10240, '\0');
  for (int i = 0; i < 3000; ++i) sent += std::string(std::size_t(i % 50 + 1), 'x') + '\0';
  for (std::size_t at = 0; at < sent.size(); at += 7001) {
    const std::string piece = sent.substr(at, 7001);
    EXPECT_EQ(kiv_parse_pool_input(pool, piece.data(), static_cast<int32_t>(piece.size())), 1);
  }
  const int32_t room = kiv_parse_pool_GetAvailableLen(pool);
  EXPECT_EQ(kiv_parse_pool_input(pool, buffer.data(), room) + room, room) << "none, and no read";
  EXPECT_EQ(kiv_parse_pool_GetLen(pool), static_cast<int32_t>(sent.size()));
  int32_t length = 0;
  while (kiv_parse_pool_get(pool, buffer.data(), 10240, &length)) {
    got.append(buffer, 0, static_cast<std::size_t>(length));
  }
  EXPECT_EQ(got, sent);
  kiv_parse_pool_free(pool);
}

}  // namespace
}  // namespace kiv::test
