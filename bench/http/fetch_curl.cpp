// libcurl; see fetch.h.
#include <curl/curl.h>

#include "bench/http/fetch.h"

namespace {

std::size_t drop(char*, std::size_t, std::size_t count, void* work) {
  static_cast<bench::Work*>(work)->bytes += count;
  return count;
}

}  // namespace

int main(int argc, char** argv) {
  bench::Work work = bench::work_of(argc, argv);
  CURLM* multi = curl_multi_init();
  for (int i = 0; i < work.at_once; ++i) {
    CURL* easy = curl_easy_init();
    curl_easy_setopt(easy, CURLOPT_URL, work.url.c_str());
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, drop);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &work);
    curl_easy_setopt(easy, CURLOPT_FORBID_REUSE, 1L);
    curl_multi_add_handle(multi, easy);
  }
  for (int running = 1; running > 0;) {
    curl_multi_perform(multi, &running);
    int left = 0;
    while (CURLMsg* message = curl_multi_info_read(multi, &left)) {
      if (message->data.result != CURLE_OK)
        bench::give_up(curl_easy_strerror(message->data.result));
      ++work.answers;
      CURL* easy = message->easy_handle;
      curl_multi_remove_handle(multi, easy);
      if (!work.goes_on()) continue;
      curl_multi_add_handle(multi, easy);
      running = 1;
    }
    if (running > 0) curl_multi_poll(multi, nullptr, 0, 1000, nullptr);
  }
  work.report_all();
}
