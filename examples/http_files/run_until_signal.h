// The end of a host program.
#pragma once

#include "kiv_base/event.h"

namespace http_files {

// Runs the loop until Ctrl-C or SIGTERM asks the program to end, or the loop ends by itself. The
// box is gone after that.
void run_until_signal(kiv_box* box);

}  // namespace http_files
