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
  // What find_parameter looks at before it compares names: a byte for each of the first
  // `tagged_count` names.
  std::uint8_t name_tags[kiv::protocol::kMaxParameters];
  std::int32_t tagged_count;
};

namespace kiv::protocol {

// Forgets command and parameters. The text stays until it is overwritten: it may be the input.
void reset_packet(kiv_proto& packet);

// Resets and empties text and command.
void empty_packet(kiv_proto& packet);

// Returns storage in the record's pool; null if it is full.
char* pool_allocate(kiv_proto& packet, std::int32_t size);

// Returns a zero-terminated copy in the record's pool; null if it is full.
char* pool_copy(kiv_proto& packet, const char* text, std::int32_t length);

void pool_free(kiv_proto& packet, char* copy);

// Returns the index of a parameter, or -1.
std::int32_t find_parameter(kiv_proto& packet, const char* name);

// The same for a caller that reads; prints that there is no such parameter.
std::int32_t find_or_print(kiv_proto& packet, const char* name);

// Appends a parameter; false if it is rejected, which is printed.
bool pack_parameter(kiv_proto& packet, const char* name, const char* value);

struct Separator {
  const char* text;
  std::int32_t length;
};
// What is written after each item.
Separator line_separator();

// Writes a value into the scratch with its quotes doubled and returns the length; -1 if it is too
// long, which is printed. The value is `length` bytes long.
std::int32_t escape_value(kiv_proto& packet, const char* value, std::int32_t length);

// strlen, cut at what an int holds.
std::int32_t text_length(const char* text);

}  // namespace kiv::protocol
