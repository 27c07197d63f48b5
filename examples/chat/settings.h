// The configuration file, of which chat.conf is a sample.
#pragma once

#include <string>

#include "options.h"

namespace chat {

// Empty, or one line that says what is wrong with the file, naming it, the group and the key.
// Relative paths in it start from its own folder.
std::string read_settings(const std::string& file, Options& options);

}  // namespace chat
