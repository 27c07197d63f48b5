// The end of a host program.
#pragma once

#include <functional>

#include "kiv_base/event.h"

namespace http_files {

// Runs the loop until Ctrl-C or SIGTERM asks the program to end, or the loop ends by itself. The
// box is gone after that. `farewell` is called when the program is asked to end, on another thread,
// while the box still runs.
void run_until_signal(kiv_box* box, const std::function<void()>& farewell = {});

}  // namespace http_files
