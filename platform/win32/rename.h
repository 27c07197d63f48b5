// Renaming over what is there.
#pragma once

namespace kiv::platform {

// One rename, on the disk when it returns. False with the system's last error.
bool rename_over(const wchar_t* from, const wchar_t* to) noexcept;

}  // namespace kiv::platform
