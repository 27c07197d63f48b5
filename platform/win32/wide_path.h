// Paths as the calls of the system take them; empty if out of memory.
#pragma once

#include "platform/win32/wide.h"

namespace kiv::platform {

// A path from UTF-8, in the form without a limit of length when it needs that or `always_long`;
// empty if it is not UTF-8.
Wide wide_path(const char* utf8, bool always_long = false) noexcept;

// From the system's narrow characters, as it stands.
Wide narrow_path(const char* text) noexcept;

// `path\name`.
Wide joined_path(const wchar_t* path, const wchar_t* name) noexcept;

}  // namespace kiv::platform
