// The record of a command packet, and the steps that its operations share.
#pragma once

#include <cstdint>

#include "kiv_base/base.h"
#include "kiv_base/protocol.h"

namespace kiv::protocol {

inline constexpr std::int32_t kMaxPacket = 10240;   // with the zero
inline constexpr std::int32_t kMaxName = 128;       // of a command, too
inline constexpr std::int32_t kMaxValue = 5120;     // before doubling its quotes
inline constexpr std::int32_t kMaxParameters = 64;  // packed; a received packet has one fewer

inline constexpr std::int32_t kPacketStorage = 10257;
inline constexpr std::int32_t kCommandStorage = 145;
inline constexpr std::int32_t kPoolSize = 32167;

}  // namespace kiv::protocol

// Parameter i is entry i of each array. Lengths count no zero, starts and ends are offsets in the
// packet's text, and an end is one past its item: the closing quote for a value.
struct kiv_proto {
  char* packet;                 // zero-terminated
  std::int32_t packet_length;   // with the zero; 0: empty
  char* command;                // a copy
  std::int32_t command_length;  // 0: none
  std::int32_t command_start;
  std::int32_t command_end;
  char* names[kiv::protocol::kMaxParameters];  // copies, in the pool
  std::int32_t name_lengths[kiv::protocol::kMaxParameters];
  std::int32_t name_starts[kiv::protocol::kMaxParameters];
  std::int32_t name_ends[kiv::protocol::kMaxParameters];
  char* values[kiv::protocol::kMaxParameters];  // copies, in the pool, quotes no longer doubled
  std::int32_t value_lengths[kiv::protocol::kMaxParameters];
  std::int32_t value_starts[kiv::protocol::kMaxParameters];
  std::int32_t value_ends[kiv::protocol::kMaxParameters];
  std::int32_t count;
  std::int32_t cursor;
  std::uint8_t* pool_memory;  // zero bytes follow the pool, where lengths that edits left may reach
  std::int32_t pool_size;
  void* pool;
  char* scratch;
};

namespace kiv::protocol {

// Forgets command and parameters. The text stays until it is overwritten: it may be the input.
void reset(kiv_proto& packet);

// Resets and empties text and command.
void empty(kiv_proto& packet);

// A zero-terminated copy in the record's pool; null when it is full.
char* pool_copy(kiv_proto& packet, const char* text, std::int32_t length);

// The index of a parameter, or -1.
std::int32_t find_parameter(const kiv_proto& packet, const char* name);

struct Separator {
  const char* text;
  std::int32_t length;
};
// What is written after each item.
Separator line_separator();

// Writes a value into the scratch with its quotes doubled and gives the length; -1 when it is too
// long, which is printed. The value is `length` bytes long.
std::int32_t escape(kiv_proto& packet, const char* value, std::int32_t length);

// strlen, cut at what an int holds.
std::int32_t text_length(const char* text);

}  // namespace kiv::protocol
