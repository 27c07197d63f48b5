// The process: its number, its program and its environment. Texts are UTF-8, and those returned
// belong to the caller, who frees them with heap_free.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kiv::platform {

std::int32_t process_id() noexcept;

// The full path of the program's file; null when the system does not tell.
char* executable_path() noexcept;

// Any thread may call these. A change of "TZ" holds for local times from then on.
char* environment_get(const char* name) noexcept;
bool environment_set(const char* name, const char* value) noexcept;
bool environment_unset(const char* name) noexcept;

// Calls `then` in every process that is forked from now on, before anything else there. False when
// it cannot; without effect where processes are not forked.
bool call_when_forked(void (*then)()) noexcept;

// Overwrites memory in a way that no optimizer leaves out.
void clear_memory(void* memory, std::size_t size) noexcept;

// What the system says to the number of its last error on this thread, without a line end.
void last_error_text(char* out, std::size_t room) noexcept;

}  // namespace kiv::platform
