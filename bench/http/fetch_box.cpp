// The library's HTTP client; see fetch.h.
#include "bench/http/fetch.h"
#include "kiv_base/base.h"
#include "kiv_base/http.h"

namespace {

struct Fetcher {
  bench::Work* work;
  int* running;
  kiv_box* box;
  kiv_http_request* request;

  void fetch() {
    if (kiv_http_request_attach(box, 0, request, work->url.c_str(), nullptr, nullptr, failed, this,
                                came, this, failed, this) != 1) {
      bench::give_up("attach");
    }
  }
  static void KIV_CALL failed(void*, kiv_box*, std::int32_t) { bench::give_up("no answer"); }
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

}  // namespace

int main(int argc, char** argv) {
  bench::Work work = bench::work_of(argc, argv);
  kiv_Setup();
  kiv_box* box = kiv_box_new();
  int running = work.at_once;
  std::vector<Fetcher> fetchers;
  for (int i = 0; i < work.at_once; ++i) {
    fetchers.push_back({&work, &running, box, kiv_http_request_make()});
  }
  for (Fetcher& each : fetchers) each.fetch();
  kiv_box_loop(box);
  work.report_all();
}
