// One message of a stream: finds the end of its head, reads that and collects its body.
//
// Each step uses some of the input or changes the state, and returns false when the stream is
// broken. What a step does depends on the bytes alone, not on how they were cut.
#pragma once

#include <cstdint>
#include <memory>

#include "containers/jitter.h"
#include "http/table.h"

namespace kiv::http {

using OwnedJitter = std::unique_ptr<zu_jitter, FreedBy<containers::free_jitter>>;

struct Message {
  kiv_http_table* table;
  char* held;  // a head or a chunk-size line that is not complete; null until there is one
  containers::Jitter* body;
  std::int32_t expected;  // body bytes announced, for the message or for the chunk being read
  std::int32_t received;  // how many of them came
  std::int32_t state;
  std::int32_t held_length;
  Message* next;
};

enum class Kind { request, response };

// Input not yet used.
struct Input {
  const char* at;
  const char* end;

  std::int32_t left() const { return static_cast<std::int32_t>(end - at); }
};

// Collects the head and, when it is complete, makes table and body and sees how the body comes.
bool take_head(Message& message, Input& in, Kind kind) noexcept;

// Takes bytes into the body, up to the length expected.
bool take_body(Message& message, Input& in) noexcept;

// Takes a part of a chunk, or of what stands between chunks.
bool take_chunked(Message& message, Input& in) noexcept;

}  // namespace kiv::http
