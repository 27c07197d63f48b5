#include "target.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "kiv_base/base.h"
#include "kiv_base/http.h"

namespace http_fetch {
namespace {

struct FreePart {
  void operator()(kiv_uri* uri) const { kiv_uri_free(uri); }
  void operator()(char* text) const { _zu_free(text); }
};
using Uri = std::unique_ptr<kiv_uri, FreePart>;
using Text = std::unique_ptr<char, FreePart>;

// Has the text of a parsed URI "://" after its scheme?
bool asks_for_server(const std::string& text, const kiv_uri& uri) {
  if (uri.scheme == nullptr) return false;
  std::string mark = text.substr(text.find_first_not_of(' ') + std::strlen(uri.scheme), 3);
  std::replace(mark.begin(), mark.end(), '\\', '/');
  return mark == "://";
}

// The same rule as the library's client, which would print what it refuses.
Uri parse(const std::string& text) {
  Uri uri(kiv_uri_malloc(text.c_str()));
  if (uri != nullptr && uri->host == nullptr && !asks_for_server(text, *uri)) {
    uri.reset(kiv_uri_malloc(("http://" + text).c_str()));
  }
  const bool is_http = uri != nullptr && zu_stricmp(uri->scheme, "http") == 0;
  return is_http && uri->host != nullptr ? std::move(uri) : nullptr;
}

// A name decides about a file in this folder and nothing else.
std::string file_name(std::string path) {
  path.erase(0, path.rfind('/') + 1);
  std::replace_if(
      path.begin(), path.end(),
      [](unsigned char c) {
        return c < ' ' || std::string("\\:*?\"<>|\x7f").find(char(c)) != std::string::npos;
      },
      '_');
  return path.empty() || path == "." || path == ".." ? "index.html" : path;
}

}  // namespace

std::optional<Target> parse_target(const std::string& text) {
  const Uri uri = parse(text);
  if (uri == nullptr) return std::nullopt;
  const Text url(kiv_uri_GetURIString(uri.get()));
  const Text request(kiv_uri_GetURIRequest(uri.get()));
  if (url == nullptr || request == nullptr) return std::nullopt;
  const std::uint16_t port = kiv_uri_GetPort(uri.get());
  const std::string host = uri->host;
  return Target{url.get(),     port == 80 ? host : host + ":" + std::to_string(port), host, port,
                request.get(), file_name(uri->path != nullptr ? uri->path : "")};
}

std::string resolve(const std::string& location, const Target& from) {
  const Text url(kiv_uri_BuildURI(location.c_str(), from.url.c_str()));
  return url != nullptr ? url.get() : "";
}

}  // namespace http_fetch
