#include "mime.h"

#include "text.h"

namespace http_files {
namespace {

struct Type {
  std::string_view extension;
  std::string_view name;
};

constexpr Type kTypes[] = {
    {"html", "text/html; charset=utf-8"},
    {"htm", "text/html; charset=utf-8"},
    {"css", "text/css; charset=utf-8"},
    {"js", "text/javascript; charset=utf-8"},
    {"mjs", "text/javascript; charset=utf-8"},
    {"json", "application/json"},
    {"txt", "text/plain; charset=utf-8"},
    {"md", "text/plain; charset=utf-8"},
    {"log", "text/plain; charset=utf-8"},
    {"csv", "text/csv; charset=utf-8"},
    {"xml", "application/xml"},
    {"svg", "image/svg+xml"},
    {"png", "image/png"},
    {"jpg", "image/jpeg"},
    {"jpeg", "image/jpeg"},
    {"gif", "image/gif"},
    {"webp", "image/webp"},
    {"avif", "image/avif"},
    {"ico", "image/x-icon"},
    {"bmp", "image/bmp"},
    {"woff", "font/woff"},
    {"woff2", "font/woff2"},
    {"ttf", "font/ttf"},
    {"otf", "font/otf"},
    {"pdf", "application/pdf"},
    {"wasm", "application/wasm"},
    {"zip", "application/zip"},
    {"gz", "application/gzip"},
    {"tar", "application/x-tar"},
    {"7z", "application/x-7z-compressed"},
    {"mp3", "audio/mpeg"},
    {"ogg", "audio/ogg"},
    {"wav", "audio/wav"},
    {"flac", "audio/flac"},
    {"mp4", "video/mp4"},
    {"webm", "video/webm"},
};

}  // namespace

std::string_view content_type(std::string_view file_name) {
  const auto dot = file_name.rfind('.');
  if (dot != std::string_view::npos) {
    const std::string_view extension = file_name.substr(dot + 1);
    for (const Type& type : kTypes) {
      if (equal_ignoring_case(type.extension, extension)) return type.name;
    }
  }
  return "application/octet-stream";
}

}  // namespace http_files
