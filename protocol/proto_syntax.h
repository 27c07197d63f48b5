// Reads the items of a packet one after the other. Prints what it refuses.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace kiv::protocol {

enum PacketClass : std::uint8_t { kWordStart = 1, kWordPart = 2, kSeparator = 4 };

constexpr std::array<std::uint8_t, 256> make_packet_classes() {
  std::array<std::uint8_t, 256> classes{};
  for (char c : std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_")) {
    classes[static_cast<unsigned char>(c)] = kWordStart | kWordPart;
  }
  for (char c : std::string_view("0123456789")) classes[static_cast<unsigned char>(c)] = kWordPart;
  for (char c : std::string_view("\n\r;& ")) classes[static_cast<unsigned char>(c)] = kSeparator;
  return classes;
}
inline constexpr std::array<std::uint8_t, 256> kPacketClasses = make_packet_classes();

constexpr bool is_of_class(char c, PacketClass wanted) {
  return (kPacketClasses[static_cast<unsigned char>(c)] & wanted) != 0;
}
// Commands and names are words.
constexpr bool is_word_start(char c) {
  return is_of_class(c, kWordStart);
}
constexpr bool is_word_part(char c) {
  return is_of_class(c, kWordPart);
}
constexpr bool is_separator(char c) {
  return is_of_class(c, kSeparator);
}

struct Span {
  std::int32_t start = 0;
  std::int32_t end = 0;
  std::int32_t length() const { return end - start; }
};

struct Value {
  Span text;                 // between the quotes
  std::int32_t doubled = 0;  // how many pairs of quotes stand in it
};

// What is printed about a word, for a command and for the name of a parameter.
struct WordMessages {
  const char* header;
  const char* inside;
  const char* received_length;
  const char* packed_length;
};
extern const WordMessages kCommandMessages;
extern const WordMessages kNameMessages;

// What is printed after the line about a refused item.
struct ItemMessages {
  const char* parameter;
  const char* equals;
  const char* content;
};
extern const ItemMessages kParseMessages;
extern const ItemMessages kCheckMessages;

// A word to be packed.
bool is_packable(const WordMessages& messages, const char* word, std::int32_t length);

// Zero-terminated, and within the limits.
bool is_framed(const char* bytes, std::int32_t length);

// The items of a framed packet, one after the other. Its final zero ends every scan: nothing reads
// beyond it.
class PacketReader {
 public:
  PacketReader(const char* bytes, std::int32_t length, const ItemMessages& messages)
      : bytes_(bytes), last_(length - 1), messages_(messages) {}

  bool command(Span* out);
  bool parameter(Span* name, Value* value);
  bool at_end() const { return at_ >= last_; }

 private:
  bool word(const WordMessages& messages, char end, Span* out);
  bool equals_sign();
  bool content(Value* out);
  void skip_separators();
  void skip_zeros();

  const char* bytes_;
  std::int32_t last_;  // offset of the final zero
  const ItemMessages& messages_;
  std::int32_t at_ = 0;
  std::int32_t parameters_ = 0;
};

}  // namespace kiv::protocol
