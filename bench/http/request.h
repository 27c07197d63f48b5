// A request as a browser sends it.
#pragma once

#include <string>

namespace kiv::bench {

inline const std::string kRequest =
    "GET /articles/2026/11/a-page-like-any-other.html?from=front&position=3 HTTP/1.1\r\n"
    "Host: www.example.org\r\n"
    "User-Agent: Mozilla/5.0 (X11; Linux x86_64; rv:109.0) Gecko/20100101 Firefox/115.0\r\n"
    "Accept: text/html,application/xhtml+xml,application/xml;q=0.9,image/avif,*/*;q=0.8\r\n"
    "Accept-Language: en-US,en;q=0.5\r\n"
    "Accept-Encoding: gzip, deflate, br\r\n"
    "Referer: https://www.example.org/articles/\r\n"
    "Cookie: session=0123456789abcdef0123456789abcdef; theme=dark; consent=all; visits=17\r\n"
    "Connection: keep-alive\r\n"
    "Upgrade-Insecure-Requests: 1\r\n"
    "Cache-Control: max-age=0\r\n\r\n";

}  // namespace kiv::bench
