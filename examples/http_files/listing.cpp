#include "listing.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <system_error>
#include <vector>

#include "folder.h"
#include "text.h"

namespace http_files {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kStyle = R"(
:root { color-scheme: light dark; --line: #8883; --soft: #8886; --link: #0b62c4; }
@media (prefers-color-scheme: dark) { :root { --link: #7db7ff; } }
body { font: 16px/1.5 system-ui, sans-serif; max-width: 56rem; margin: 0 auto; padding: 1.5rem 1rem 3rem; }
h1 { font-size: 1.25rem; font-weight: 600; margin: 0 .5rem 1rem; overflow-wrap: anywhere; }
h1 span { opacity: .4; font-weight: 400; }
a { color: var(--link); text-decoration: none; }
a:hover, a:focus-visible { text-decoration: underline; }
table { width: 100%; border-collapse: collapse; }
th { font-size: .8rem; font-weight: 600; text-align: left; opacity: .65; }
th, td { padding: .45rem .5rem; border-bottom: 1px solid var(--line); }
tbody tr:hover { background: #8881; }
.name { width: 100%; overflow-wrap: anywhere; }
.folder .name a { font-weight: 600; }
.size, .date { white-space: nowrap; text-align: right; font-variant-numeric: tabular-nums; opacity: .75; }
.none { text-align: center; opacity: .65; }
footer { margin: 1rem .5rem; font-size: .8rem; opacity: .65; }
@media (max-width: 34rem) {
  thead { position: absolute; clip-path: inset(50%); }
  tr { display: grid; grid-template-columns: 1fr auto; border-bottom: 1px solid var(--line); padding: .4rem 0; }
  td { border: 0; padding: 0 .5rem; }
  .name { grid-column: 1 / -1; width: auto; }
  .size { order: 3; } .date { order: 2; text-align: left; }
  .size, .date { font-size: .85rem; }
}
)";

struct Entry {
  std::string name;
  bool is_directory = false;
  std::optional<std::uintmax_t> size;
  std::optional<std::chrono::sys_seconds> changed;
};

std::vector<Entry> read_entries(const fs::path& directory) {
  std::vector<Entry> entries;
  for (const fs::directory_entry& item : fs::directory_iterator(directory)) {
    std::error_code error;  // an entry may vanish, or be a link to nothing
    Entry entry;
    entry.name = to_utf8(item.path().filename());
    entry.is_directory = item.is_directory(error);
    entry.changed = last_change(item.path());
    if (item.is_regular_file(error)) {
      const std::uintmax_t size = item.file_size(error);
      if (!error) entry.size = size;
    }
    entries.push_back(std::move(entry));
  }
  std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
    if (a.is_directory != b.is_directory) return a.is_directory;
    const auto before = [](char x, char y) {
      return static_cast<unsigned char>(lower(x)) < static_cast<unsigned char>(lower(y));
    };
    const auto less = [&](const std::string& x, const std::string& y) {
      return std::lexicographical_compare(x.begin(), x.end(), y.begin(), y.end(), before);
    };
    return less(a.name, b.name) || (!less(b.name, a.name) && a.name < b.name);
  });
  return entries;
}

std::string size_text(std::uintmax_t bytes) {
  if (bytes < 1000) return std::to_string(bytes) + " B";
  constexpr const char* kUnits[] = {"kB", "MB", "GB", "TB", "PB", "EB"};
  double value = static_cast<double>(bytes) / 1000;
  std::size_t unit = 0;
  while (value >= 999.5 && unit + 1 < std::size(kUnits)) {
    value /= 1000;
    ++unit;
  }
  char text[32];
  std::snprintf(text, sizeof text, value < 9.95 ? "%.1f %s" : "%.0f %s", value, kUnits[unit]);
  return text;
}

std::string date_text(std::chrono::sys_seconds time) {
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date{day};
  const std::chrono::hh_mm_ss clock{time - day};
  char text[48];
  std::snprintf(text, sizeof text, "%04d-%02u-%02u %02d:%02d", int{date.year()},
                unsigned{date.month()}, unsigned{date.day()},
                static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()));
  return text;
}

// "Home / music / live", each but the last a link to its directory.
void append_breadcrumbs(std::string& page, const UrlPath& url) {
  std::string href = url.mount + '/';
  std::string_view name = url.name;
  page += name.empty() ? "Home" : "<a href=\"" + href + "\">Home</a>";
  while (!name.empty()) {
    const std::string_view part = name.substr(0, name.find('/'));
    name.remove_prefix(std::min(part.size() + 1, name.size()));
    append_percent_encoded(href, part);
    href += '/';
    page += " <span>/</span> ";
    if (!name.empty()) page += "<a href=\"" + href + "\">";
    append_html(page, part);
    if (!name.empty()) page += "</a>";
  }
}

void append_row(std::string& page, const std::string& base, const Entry& entry) {
  page += entry.is_directory ? "<tr class=\"folder\">" : "<tr>";
  page += "<td class=\"name\"><a href=\"" + base;
  append_percent_encoded(page, entry.name);
  page += entry.is_directory ? "/\">" : "\">";
  append_html(page, entry.name);
  if (entry.is_directory) page += '/';
  page += "</a></td><td class=\"size\">";
  if (entry.size) page += size_text(*entry.size);
  page += "</td><td class=\"date\">";
  if (entry.changed) page += date_text(*entry.changed);
  page += "</td></tr>\n";
}

std::string count_text(std::size_t count, const char* one, const char* many) {
  return std::to_string(count) + ' ' + (count == 1 ? one : many);
}

}  // namespace

std::string directory_page(const fs::path& directory, const UrlPath& url) {
  const std::vector<Entry> entries = read_entries(directory);
  const std::string base = url.url();
  std::string page =
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>/";
  append_html(page, url.name);
  page += "</title>\n<style>";
  page += kStyle;
  page += "</style>\n</head>\n<body>\n<h1>";
  append_breadcrumbs(page, url);
  page +=
      "</h1>\n<table>\n<thead><tr><th class=\"name\">Name</th><th class=\"size\">Size</th>"
      "<th class=\"date\">Changed (UTC)</th></tr></thead>\n<tbody>\n";
  for (const Entry& entry : entries) append_row(page, base, entry);
  if (entries.empty())
    page += "<tr><td class=\"none\" colspan=\"3\">This folder is empty.</td></tr>\n";
  const auto is_directory = [](const Entry& entry) { return entry.is_directory; };
  const auto folders =
      static_cast<std::size_t>(std::count_if(entries.begin(), entries.end(), is_directory));
  page += "</tbody>\n</table>\n<footer>" + count_text(folders, "folder", "folders") + ", " +
          count_text(entries.size() - folders, "file", "files") + "</footer>\n</body>\n</html>\n";
  return page;
}

}  // namespace http_files
