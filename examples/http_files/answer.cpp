#include "answer.h"

#include "byte_range.h"
#include "http_date.h"
#include "listing.h"
#include "mime.h"
#include "response.h"

namespace http_files {
namespace {

namespace fs = std::filesystem;

bool is_known_method(const std::string& method) {
  for (const char* known : {"POST", "PUT", "DELETE", "OPTIONS", "TRACE", "CONNECT", "PATCH"}) {
    if (method == known) return true;
  }
  return false;
}

Head head_for(const Request& request, int status) {
  Head head;
  head.status = status;
  head.keep_alive = request.keep_alive;
  head.says_keep_alive = request.says_keep_alive;
  return head;
}

Answer status_answer(const Request& request, int status, std::string& text) {
  append_status_page(text, head_for(request, status), request.is_head());
  return {status, nullptr, 0};
}

Answer redirect_to_directory(const Request& request, UrlPath url, std::string& text) {
  url.ends_in_slash = true;
  Head head = head_for(request, 301);
  head.location = url.url();
  append_status_page(text, std::move(head), request.is_head());
  return {301, nullptr, 0};
}

Answer listing_answer(const Request& request, const fs::path& directory, const UrlPath& url,
                      std::string& text) try {
  const std::string page = directory_page(directory, url);
  Head head = head_for(request, 200);
  head.type = "text/html; charset=utf-8";
  head.length = page.size();
  append_head(text, head);
  if (!request.is_head()) text += page;
  return {200, nullptr, 0};
} catch (const fs::filesystem_error& error) {
  return status_answer(request, error.code() == std::errc::permission_denied ? 403 : 500, text);
}

bool is_unchanged(const Request& request, std::chrono::sys_seconds changed) {
  if (request.if_modified_since.empty()) return false;
  const auto since = parse_http_date(request.if_modified_since);
  return since && changed <= *since;
}

// A range of a file that has changed since the client got its first part would not fit that part.
ByteRange wanted_range(const Request& request, std::optional<std::chrono::sys_seconds> changed,
                       std::uint64_t size) {
  const bool is_usable =
      !request.range.empty() && !request.is_head() &&
      (request.if_range.empty() || (changed && parse_http_date(request.if_range) == changed));
  return parse_range(is_usable ? request.range : std::string(), size);
}

Answer file_answer(const Request& request, const fs::path& path, std::string_view name,
                   std::string& text) {
  Head head = head_for(request, 200);
  head.last_modified = last_change(path);
  if (head.last_modified && is_unchanged(request, *head.last_modified)) {
    head.status = 304;
    append_head(text, head);
    return {304, nullptr, 0};
  }
  int status = 500;
  std::unique_ptr<OpenFile> file = Folder::open_file(path, status);
  if (!file) return status_answer(request, status, text);

  const std::uint64_t size = file->size();
  const ByteRange range = wanted_range(request, head.last_modified, size);
  if (range.kind == ByteRange::Kind::unsatisfiable) {
    Head refusal = head_for(request, 416);
    refusal.content_range = "bytes */" + std::to_string(size);
    append_status_page(text, std::move(refusal), request.is_head());
    return {416, nullptr, 0};
  }
  if (range.kind == ByteRange::Kind::part) {
    if (!file->seek(range.first)) return status_answer(request, 500, text);
    head.status = 206;
    head.content_range = "bytes " + std::to_string(range.first) + '-' +
                         std::to_string(range.first + range.length - 1) + '/' +
                         std::to_string(size);
  }
  head.type = content_type(name);
  head.length = range.length;
  head.accepts_ranges = true;
  append_head(text, head);
  if (request.is_head()) file.reset();
  const std::uint64_t bytes = file ? range.length : 0;
  return {head.status, std::move(file), bytes};
}

}  // namespace

Answer make_answer(const Folder& folder, const std::string& mount, const Request& request,
                   std::string& text) {
  if (request.status != 200) return status_answer(request, request.status, text);
  if (request.method != "GET" && !request.is_head()) {
    return status_answer(request, is_known_method(request.method) ? 405 : 501, text);
  }
  const UrlPath url = parse_target(request.target, mount);
  if (url.status != 200) return status_answer(request, url.status, text);
  const Resource found = folder.find(url);
  if (found.status != 200) return status_answer(request, found.status, text);
  if (!found.is_directory) return file_answer(request, found.path, url.name, text);
  if (!url.ends_in_slash) return redirect_to_directory(request, url, text);

  UrlPath index = url;
  index.name += index.name.empty() ? "index.html" : "/index.html";
  index.ends_in_slash = false;
  const Resource page = folder.find(index);
  if (page.status == 200 && !page.is_directory)
    return file_answer(request, page.path, index.name, text);
  return listing_answer(request, found.path, url, text);
}

}  // namespace http_files
