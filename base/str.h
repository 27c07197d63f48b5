// Strings: copying, joining and comparing.
#pragma once

#include <cstddef>
#include <initializer_list>

#include "base/owned.h"

namespace kiv::base {

// Copies what fits of a string into `size` bytes, terminator included. A null one counts as empty.
void copy_within(char* out, std::size_t size, const char* text) noexcept;

// Returns a terminated copy of `length` bytes, or of a whole string; empty for a null one or if out
// of memory.
RawStorage<char> copy_text(const char* text, std::size_t length) noexcept;
RawStorage<char> copy_text(const char* text) noexcept;

// Returns the strings one after the other; empty if one is null or if out of memory.
RawStorage<char> join(std::initializer_list<const char*> parts) noexcept;

// -1, 0 or 1; null sorts before every string.
int compare(const char* a, const char* b) noexcept;

}  // namespace kiv::base
