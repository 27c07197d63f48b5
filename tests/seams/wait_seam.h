// Waits for sockets under a stopped clock: what is ready is found at once, and where nothing is,
// the clock moves on by the whole time-out. The linker puts them in the place of the system's
// calls.
#pragma once

namespace kiv::test {

// By any thread, since the program began.
int waits_made();

}  // namespace kiv::test
