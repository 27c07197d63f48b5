#include "exchange.h"

#include <chrono>
#include <utility>

#include "kiv_base/base.h"

namespace http_fetch {
namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kTimeout = std::chrono::seconds(30);  // the library's, for a first answer

struct Free {
  void operator()(char* text) const { _zu_free(text); }
  void operator()(kiv_http_table* table) const { kiv_http_table_free(table); }
  void operator()(kiv_http_filter* filter) const { kiv_http_filter_response_free(filter); }
  void operator()(zu_jitter* bytes) const { zu_jitter_free(bytes); }
};

// The same settings for a table and for the library's request, whose default fields they replace.
template <typename Object, typename SetField, typename SetForm>
void set_request(Object* object, const Target& target, const Settings& settings, bool with_form,
                 SetField set_field, SetForm set_form) {
  set_field(object, "Host", target.authority.c_str());
  set_field(object, "User-Agent", "http_fetch");
  set_field(object, "Accept", "*/*");
  set_field(object, "Connection", "close");  // then an answer may also end with its connection
  if (!with_form) return;
  for (const FormField& field : settings.form) {
    set_form(object, field.name.c_str(), field.value.c_str());
  }
}

class Direct final : public Exchange {
 public:
  Direct(const Target& target, const Settings& settings, bool with_form, Listener& listener)
      : target_(target), listener_(listener), request_(kiv_http_request_make()) {
    kiv_http_request_SetMethod(request_, with_form ? "POST" : "GET");
    set_request(request_, target, settings, with_form, kiv_http_request_SetField,
                kiv_http_request_SetForm);
  }
  ~Direct() override { stop(); }

  bool start(kiv_box* box) override {
    const int attached =
        kiv_http_request_attach(box, 0, request_, target_.url.c_str(), nullptr, nullptr, on_failure,
                                this, on_response, this, on_close, this);
    if (attached == 0) request_ = nullptr;  // the library has freed it
    return attached == 1;
  }
  void stop() override { kiv_http_request_free(std::exchange(request_, nullptr)); }

 private:
  // The library does not tell, but for its own lines.
  std::string why() const {
    if (has_answered_) return "the answer is broken";
    if (Clock::now() - start_ < kTimeout) {
      return "no connection to " + target_.authority + ", or no HTTP answer that can be read";
    }
    return "no answer from " + target_.authority + " within 30 seconds";
  }
  static void KIV_CALL on_failure(void* user, kiv_box*, std::int32_t) {
    auto* self = static_cast<Direct*>(user);
    self->listener_.failed(self->why());
  }
  static void KIV_CALL on_response(void* user, kiv_box*, std::int32_t, const char*,
                                   kiv_http_table* head, zu_jitter* body, std::int32_t status) {
    static_cast<Direct*>(user)->has_answered_ = true;
    static_cast<Direct*>(user)->listener_.answered(head, body, status);
  }
  static void KIV_CALL on_close(void* user, kiv_box*, std::int32_t) {
    static_cast<Direct*>(user)->listener_.closed();
  }

  const Target target_;
  Listener& listener_;
  kiv_http_request* request_;
  const Clock::time_point start_ = Clock::now();
  bool has_answered_ = false;
};

class Tunnelled final : public Exchange {
 public:
  Tunnelled(const Target& target, const Settings& settings, bool with_form, Listener& listener)
      : target_(target),
        settings_(settings),
        with_form_(with_form),
        listener_(listener),
        tunnel_(kiv_proxy_http_make()),
        filter_(kiv_http_filter_response_make()) {}
  ~Tunnelled() override { stop(); }

  bool start(kiv_box* box) override {
    box_ = box;
    return kiv_proxy_http_attach(box, tunnel_, settings_.proxy_host.c_str(), settings_.proxy_port,
                                 settings_.user.c_str(), settings_.password.c_str(),
                                 target_.host.c_str(), target_.port, on_ready, this, on_failure,
                                 this, on_data, this, on_close, this) == 1;
  }
  void stop() override { kiv_proxy_http_free(std::exchange(tunnel_, nullptr)); }

 private:
  std::string request_text() const {
    const std::unique_ptr<kiv_http_table, Free> table(kiv_http_table_make());
    kiv_http_table_SetMethod(table.get(), with_form_ ? "POST" : "GET");
    kiv_http_table_SetRequest(table.get(), target_.request.c_str());
    set_request(table.get(), target_, settings_, with_form_, kiv_http_table_SetField,
                kiv_http_table_SetForm);
    const std::unique_ptr<char, Free> head(kiv_http_table_GetHeaderStr(table.get()));
    const std::unique_ptr<char, Free> form(kiv_http_table_GetFormStr(table.get()));
    return std::string(head != nullptr ? head.get() : "") + (form != nullptr ? form.get() : "");
  }

  // A new tunnel has room for a megabyte or so, more than a command line holds.
  static void KIV_CALL on_ready(void* user, std::int32_t socket) {
    auto* self = static_cast<Tunnelled*>(user);
    const std::string text = self->request_text();
    const auto length = static_cast<std::int32_t>(text.size());
    if (kiv_box_TcpWrite(self->box_, socket, text.data(), length) != length) {
      self->listener_.failed("the request could not be sent");
    }
  }
  static void KIV_CALL on_failure(void* user, std::int32_t) {
    auto* self = static_cast<Tunnelled*>(user);
    self->listener_.failed("the proxy " + self->settings_.proxy_host + ":" +
                           std::to_string(self->settings_.proxy_port) +
                           " cannot be reached or refuses a tunnel to " + self->target_.host + ":" +
                           std::to_string(self->target_.port));
  }
  static void KIV_CALL on_data(void* user, std::int32_t, const char* data, std::int32_t length) {
    auto* self = static_cast<Tunnelled*>(user);
    const int taken = kiv_http_filter_response_input(self->filter_.get(), data, length);
    while (self->tunnel_ != nullptr && self->hand_on()) {
    }
    if (self->tunnel_ != nullptr && taken == 0)
      self->listener_.failed("no HTTP answer that can be read");
  }
  static void KIV_CALL on_close(void* user, std::int32_t) {
    static_cast<Tunnelled*>(user)->listener_.closed();
  }

  bool hand_on() {
    zu_jitter* bytes = nullptr;
    std::int32_t status = 0;
    const std::unique_ptr<kiv_http_table, Free> head(
        kiv_http_filter_response_get(filter_.get(), &bytes, &status));
    const std::unique_ptr<zu_jitter, Free> body(bytes);
    if (head != nullptr) listener_.answered(head.get(), body.get(), status);
    return head != nullptr;
  }

  const Target target_;
  const Settings& settings_;
  const bool with_form_;
  Listener& listener_;
  kiv_box* box_ = nullptr;
  kiv_proxy_http* tunnel_;
  std::unique_ptr<kiv_http_filter, Free> filter_;
};

}  // namespace

std::unique_ptr<Exchange> make_exchange(const Target& target, const Settings& settings,
                                        bool with_form, Listener& listener) {
  if (settings.proxy_host.empty()) {
    return std::make_unique<Direct>(target, settings, with_form, listener);
  }
  return std::make_unique<Tunnelled>(target, settings, with_form, listener);
}

}  // namespace http_fetch
