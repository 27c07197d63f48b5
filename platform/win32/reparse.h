// Which of Windows' reparse points are links, and removing what was found at a path.
#pragma once

#include <cstdint>

namespace kiv::platform {

// Symbolic links and junctions stand for another name, unlike files that a service brings in when
// they are opened. A tag of 0 is one that the system does not tell: better taken for a link.
constexpr bool is_link_tag(std::uint32_t tag) {
  return tag == 0 || (tag & 0x20000000) != 0;
}

bool is_link(const wchar_t* path, std::uint32_t attributes) noexcept;

// A file, an empty directory or a link to either, read-only ones included.
bool remove_found(const wchar_t* path, std::uint32_t attributes) noexcept;

}  // namespace kiv::platform
