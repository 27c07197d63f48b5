// The page that shows a directory.
#pragma once

#include <filesystem>
#include <string>

#include "url_path.h"

namespace http_files {

// An HTML page of the directory's entries, directories first, each part by name. Throws
// std::filesystem::filesystem_error when the directory cannot be read.
std::string directory_page(const std::filesystem::path& directory, const UrlPath& url);

}  // namespace http_files
