// A URI record as text, and what holds for every one of them. Shared with the fuzz target. "~"
// stands for a part that is not there.
#pragma once

#include <string>

#include "kiv_base/base.h"
#include "kiv_base/http.h"

namespace kiv::test {

inline std::string shown(const char* text) {
  return text == nullptr ? "~" : text;
}

inline std::string taken(char* text) {
  const std::string result = shown(text);
  _zu_free(text);
  return result;
}

struct Uri {
  explicit Uri(const std::string& text, int raw = 0) : record(kiv_uri_mallocx(text.c_str(), raw)) {}
  ~Uri() { kiv_uri_free(record); }
  Uri(const Uri&) = delete;
  Uri& operator=(const Uri&) = delete;

  // scheme|opaque|authority|user|host|port|path|query|fragment
  std::string parts() const {
    if (record == nullptr) return "~";
    std::string all;
    for (const char* part : {record->scheme, record->opaque, record->authority, record->user,
                             record->host, record->port_string, record->path, record->query}) {
      all += shown(part) + "|";
    }
    return all + shown(record->fragment);
  }
  std::string printed() const { return taken(kiv_uri_GetURIString(record)); }
  std::string request() const { return taken(kiv_uri_GetURIRequest(record)); }

  bool has_host() const { return record != nullptr && record->host != nullptr; }
  std::string server() const {
    return shown(record->user) + "@" + shown(record->host) + ":" + record->port_string;
  }
  // An empty path and "/" are printed alike.
  std::string path() const {
    const std::string path = shown(record->path);
    return path.empty() ? "/" : path;
  }

  kiv_uri* record;
};

// Is what is printed of a URI with a host read back as the same? Not where a fragment stands
// directly behind the server: that is read as an authority and no host.
inline bool reads_back(const Uri& uri) {
  if (!uri.has_host()) return true;
  const kiv_uri& record = *uri.record;
  if (*record.path == '\0' && record.query == nullptr && record.fragment != nullptr) return true;
  const Uri again(uri.printed());
  return again.has_host() && again.server() == uri.server() && again.path() == uri.path() &&
         shown(again.record->query) == shown(record.query) &&
         shown(again.record->fragment) == shown(record.fragment);
}

}  // namespace kiv::test
