// Decides what a request is answered with.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "folder.h"
#include "request.h"

namespace http_files {

struct Answer {
  int status = 500;
  std::unique_ptr<OpenFile> file;  // standing at the first byte to send; none when text is all
  std::uint64_t file_bytes = 0;    // how much of it follows the text
};

// Appends the head, and a body that was made up for the answer, to `text`.
// `mount` is the path under which the folder is found, "" for the top.
Answer make_answer(const Folder& folder, const std::string& mount, const Request& request,
                   std::string& text);

}  // namespace http_files
