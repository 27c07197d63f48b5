// A first line as URI, path, form and reference, the second as its base: what is printed reads back
// as the same, and a reference without a server of its own never leaves the base's.
#include <cstdlib>
#include <memory>
#include <string>

#include "tests/http/uri_record.h"

namespace {

using kiv::test::taken;
using kiv::test::Uri;

void check(bool holds) {
  if (!holds) std::abort();
}

void round_trip(const std::string& text) {
  const Uri uri(text), raw(text, 1);
  kiv_uri* clone = kiv_uri_clone(uri.record);
  check(taken(kiv_uri_GetURIString(clone)) == uri.printed());
  kiv_uri_free(clone);
  uri.request();
  check(kiv::test::reads_back(uri));
}

void resolve(const std::string& text, const std::string& base_text) {
  const Uri reference(text), base(base_text);
  const std::string whole = taken(kiv_uri_BuildURI(text.c_str(), base_text.c_str()));
  const std::string way = taken(kiv_uri_BuildRelativeURI(text.c_str(), base_text.c_str()));
  if (reference.record == nullptr || !base.has_host()) return;
  const kiv_uri& record = *reference.record;
  if (record.scheme == nullptr && record.host == nullptr && record.authority == nullptr) {
    const Uri resolved(whole);
    check(resolved.record != nullptr &&
          (resolved.server() == base.server() || resolved.record->path == nullptr));
  }
  if (way.empty() || way == text || base.path().starts_with("//")) return;
  const Uri arrived(taken(kiv_uri_BuildURI(way.c_str(), base_text.c_str())));
  check(arrived.record != nullptr && arrived.path() == reference.path());
}

void normalise(std::string path) {
  kiv_uri_NormalizeURIPath(path.data());
  std::string again = path.c_str();
  kiv_uri_NormalizeURIPath(again.data());
  check(again.c_str() == std::string(path.c_str()));
}

void look_up(const std::string& text) {
  const std::unique_ptr<char[]> exact(new char[text.size()]);
  text.copy(exact.get(), text.size());
  zu_cgi* form = zu_cgi_malloc(exact.get(), static_cast<std::int32_t>(text.size()));
  char value[5];
  std::int32_t number = 0;
  for (const char* name : {"", "a"}) {
    check(zu_cgi_FormString(form, name, value, sizeof value) >=
          zu_cgi_FormInteger(form, name, &number, 7));
  }
  zu_cgi_free(form);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
  const std::string input(data, size);
  const std::size_t line = input.find('\n');
  const std::string text = input.substr(0, line).c_str();
  const std::string base =
      line == input.npos ? "http://u@h:8/a/b?c" : input.substr(line + 1).c_str();
  round_trip(text);
  resolve(text, base);
  normalise(text);
  look_up(input);
  _zu_free(kiv_uri_PathToURI(text.c_str()));
  return 0;
}
