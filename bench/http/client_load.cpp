// The client beside curl's library, both fetching from the same nginx: small answers, one or many
// at a time, each on a connection of its own, and a large body that is dropped as it comes. Every
// row is a process of its own, so that its processor time and memory are its own.
//
//   tests/http_peers/with_servers build/bench/bin/bench_http_client [SECONDS]
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "kiv_base/base.h"
#include "kiv_base/http.h"
#ifdef KIV_BENCH_CURL
#include <curl/curl.h>
#endif

namespace {

using Clock = std::chrono::steady_clock;

// What a row is to do, and what it has done.
struct Work {
  std::string url;
  double seconds;  // 0: once
  std::uint64_t answers = 0;
  std::uint64_t bytes = 0;
  Clock::time_point start = Clock::now();

  double elapsed() const { return std::chrono::duration<double>(Clock::now() - start).count(); }
  bool goes_on() const { return elapsed() < seconds; }
};

[[noreturn]] void give_up(const char* what) {
  std::fprintf(stderr, "%s\n", what);
  std::exit(1);
}

// ---- Here
// ----------------------------------------------------------------------------------------

struct Fetcher {
  Work* work;
  int* running;
  kiv_box* box;
  kiv_http_request* request = kiv_http_request_make();

  void fetch() {
    if (kiv_http_request_attach(box, 0, request, work->url.c_str(), nullptr, nullptr, failed, this,
                                came, this, failed, this) != 1) {
      give_up("attach");
    }
  }
  static void KIV_CALL failed(void*, kiv_box*, std::int32_t) { give_up("no answer"); }
  static void KIV_CALL came(void* self_, kiv_box*, std::int32_t, const char*, kiv_http_table*,
                            zu_jitter* body, std::int32_t status) {
    auto* self = static_cast<Fetcher*>(self_);
    static char sink[65536];
    for (std::int32_t got = 1; body != nullptr && got > 0;) {
      got = zu_jitter_GetData(body, sink, sizeof sink);
      if (got > 0) self->work->bytes += static_cast<std::uint64_t>(got);
    }
    if (status != KIV_HTTP_COMPLETE) return;
    ++self->work->answers;
    if (self->work->goes_on()) {
      self->fetch();
    } else {
      kiv_http_request_free(self->request);
      if (--*self->running == 0) kiv_box_BreakLoop(self->box);
    }
  }
};

void run_here(Work& work, int at_once) {
  kiv_box* box = kiv_box_new();
  int running = at_once;
  for (int i = 0; i < at_once; ++i) (new Fetcher{&work, &running, box})->fetch();
  kiv_box_loop(box);
}

// ---- The peer
// ------------------------------------------------------------------------------------

#ifdef KIV_BENCH_CURL
std::size_t peer_drop(char*, std::size_t, std::size_t count, void* work) {
  static_cast<Work*>(work)->bytes += count;
  return count;
}

void run_peer(Work& work, int at_once) {
  CURLM* multi = curl_multi_init();
  for (int i = 0; i < at_once; ++i) {
    CURL* easy = curl_easy_init();
    curl_easy_setopt(easy, CURLOPT_URL, work.url.c_str());
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, peer_drop);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &work);
    curl_easy_setopt(easy, CURLOPT_FORBID_REUSE, 1L);
    curl_multi_add_handle(multi, easy);
  }
  for (int running = 1; running > 0;) {
    curl_multi_perform(multi, &running);
    int left = 0;
    while (CURLMsg* message = curl_multi_info_read(multi, &left)) {
      if (message->data.result != CURLE_OK) give_up(curl_easy_strerror(message->data.result));
      ++work.answers;
      CURL* easy = message->easy_handle;
      curl_multi_remove_handle(multi, easy);
      if (!work.goes_on()) continue;
      curl_multi_add_handle(multi, easy);
      running = 1;
    }
    if (running > 0) curl_multi_poll(multi, nullptr, 0, 1000, nullptr);
  }
}
#endif

// ---- Rows
// ----------------------------------------------------------------------------------------

using Run = void (*)(Work&, int at_once);

// In a child, which prints its own row.
void row(const char* name, Run run, const std::string& url, int at_once, double seconds) {
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    Work work{url, seconds};
    run(work, at_once);
    const double elapsed = work.elapsed();
    rusage used{};
    getrusage(RUSAGE_SELF, &used);
    const double cpu = static_cast<double>(used.ru_utime.tv_sec + used.ru_stime.tv_sec) +
                       static_cast<double>(used.ru_utime.tv_usec + used.ru_stime.tv_usec) * 1e-6;
    std::printf("%-5s %3d at once %8.0f answers/s %7.1f us CPU %9.0f MB/s %7ld KB at most\n", name,
                at_once, static_cast<double>(work.answers) / elapsed,
                cpu / static_cast<double>(work.answers) * 1e6,
                static_cast<double>(work.bytes) / elapsed * 1e-6, used.ru_maxrss);
    std::fflush(stdout);
    _exit(0);
  }
  int status = 0;
  if (waitpid(child, &status, 0) != child || status != 0) give_up("a row failed");
}

}  // namespace

int main(int argc, char** argv) {
  const char* const port = std::getenv("KIV_NGINX_PORT");
  if (port == nullptr) give_up("run this by tests/http_peers/with_servers");
  const double seconds = argc > 1 ? std::atof(argv[1]) : 2;
  const std::string base = std::string("http://127.0.0.1:") + port;
  for (const int at_once : {1, 16}) {
    row("here", run_here, base + "/hello.txt", at_once, seconds);
#ifdef KIV_BENCH_CURL
    row("curl", run_peer, base + "/hello.txt", at_once, seconds);
#endif
  }
  row("here", run_here, base + "/huge.bin", 1, 0);
#ifdef KIV_BENCH_CURL
  row("curl", run_peer, base + "/huge.bin", 1, 0);
#endif
}
