// What a datagram may hold, and what becomes of the numbers.
#include <gtest/gtest.h>

#include <string>

#include "examples/uvc_ping/cipher.h"
#include "examples/uvc_ping/message.h"
#include "examples/uvc_ping/report.h"
#include "examples/uvc_ping/tally.h"

namespace {

using namespace uvc_ping;

TEST(UvcPing, EachDatagramIsReadForItselfAndOnlyWithItsKey) {
  Cipher none(""), right("a key"), wrong("another"), reader("a key");
  for (const std::uint32_t size : {kMinSize, kMinSize + 1, 64u, kMaxSize}) {
    const std::string text = to_text({Message::Kind::pong, 258, 7, size});
    ASSERT_EQ(text.size(), size);
    const std::string sent = right.encipher(text);
    EXPECT_FALSE(reader.decipher(sent.substr(1))) << "no whole blocks, nothing kept of them";
    EXPECT_FALSE(parse_message(wrong.decipher(sent).value()));
    EXPECT_FALSE(parse_message(none.decipher(sent).value()));
    const auto read = parse_message(reader.decipher(sent).value());
    ASSERT_TRUE(read);
    EXPECT_TRUE(read->kind == Message::Kind::pong && read->number == 258 && read->run == 7 &&
                read->size == size);
    EXPECT_TRUE(parse_message(none.decipher(none.encipher(text)).value()));
  }
}

TEST(UvcPing, OnlyWholeMessagesAreRead) {
  const std::string text = to_text({Message::Kind::ping, 1, 2, 40});
  EXPECT_TRUE(parse_message(text + std::string(7, '\0')));
  EXPECT_FALSE(parse_message(text + std::string(8, '\0')));
  EXPECT_FALSE(parse_message(text + "x"));
  for (std::size_t length = 0; length < text.size(); ++length) {
    EXPECT_FALSE(parse_message(text.substr(0, length))) << length;
  }
  for (const std::size_t at : {0u, 4u, 16u, 19u, 20u, 39u}) {  // 8 to 15 may be anything
    std::string damaged = text;
    damaged[at] ^= '\x80';
    EXPECT_FALSE(parse_message(damaged)) << at;
  }
}

TEST(UvcPing, AnswersAreTakenInAnyOrderAndOnce) {
  using std::chrono::microseconds;
  Tally tally;
  const Clock::time_point start{};
  for (const std::uint32_t number : {1u, 2u, 3u, 4u, 5u}) tally.add_sent(number, start);
  const auto take = [&](std::uint32_t number, int us) {
    return tally.take_answer(number, start + microseconds(us)).kind;
  };
  EXPECT_EQ(take(1, 300), Tally::Answer::in_order);
  EXPECT_EQ(take(3, 1'234'567), Tally::Answer::in_order);
  EXPECT_EQ(take(2, 5'000'000), Tally::Answer::out_of_order);
  EXPECT_EQ(take(2, 6'000'000), Tally::Answer::again);
  for (const std::uint32_t number : {0u, 6u, 8193u}) {
    EXPECT_EQ(take(number, 1), Tally::Answer::unknown) << number;
  }
  EXPECT_TRUE(tally.sent() == 5 && tally.received() == 3 && tally.missing() == 2 &&
              tally.out_of_order() == 1 && tally.again() == 1);
  EXPECT_DOUBLE_EQ(tally.times().min_ms(), 0.3);
  EXPECT_NEAR(tally.times().median_ms(), 1234.567, 1.2);
  EXPECT_DOUBLE_EQ(tally.times().max_ms(), 5000);
  tally.add_sent(8193, start);
  EXPECT_EQ(take(1, 1), Tally::Answer::unknown) << "forgotten";
}

TEST(UvcPing, BarsStayOnTheAxis) {
  EXPECT_EQ(bar(0), "*");
  EXPECT_EQ(bar(1), std::string(20, '-') + "*");
  EXPECT_EQ(bar(1e9), std::string(50, '-') + ">");
}

}  // namespace
