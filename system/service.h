// What the two halves of the services, managing and being one, have in common.
#pragma once

namespace kiv::system {

// Prints why `function` failed; 0.
int service_failure(const char* name, const char* why, const char* function);

// Prints a line when it is none, unless null.
bool is_service_name(const char* name, const char* function);

}  // namespace kiv::system
