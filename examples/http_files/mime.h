// Content types by file name.
#pragma once

#include <string_view>

namespace http_files {

// Decided by what follows the last dot; "application/octet-stream" when that is not known.
std::string_view content_type(std::string_view file_name);

}  // namespace http_files
