// The host as a service of the system.
#pragma once

#include "options.h"

namespace chat {

inline constexpr const char* kService = "kiv_chat";

// Does what --service asks for, and returns the exit status.
int manage_service(const Options& options);

}  // namespace chat
