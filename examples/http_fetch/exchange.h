// One request and its answer: straight from the server, or through the tunnel of a proxy.
#pragma once

#include <memory>
#include <string>

#include "kiv_base/http.h"
#include "options.h"
#include "target.h"

namespace http_fetch {

// Who is told of an answer. Every call may stop the exchange.
class Listener {
 public:
  // The head, the next bytes of the body, and whether it is complete or lasts until the connection
  // closes: status 12, 13 or 15 as a response filter tells them.
  virtual void answered(kiv_http_table* head, zu_jitter* body, std::int32_t status) = 0;
  virtual void closed() = 0;
  // The other side cannot be reached, takes too long or talks nonsense.
  virtual void failed(const std::string& why) = 0;

 protected:
  ~Listener() = default;
};

class Exchange {
 public:
  virtual ~Exchange() = default;

  // False when it cannot begin: nobody is told anything.
  virtual bool start(kiv_box* box) = 0;
  // Nobody is told anything any more. The object may still be in one of its own functions, so it is
  // kept until the box is idle.
  virtual void stop() = 0;
};

// With a form the request is a POST.
std::unique_ptr<Exchange> make_exchange(const Target& target, const Settings& settings,
                                        bool with_form, Listener& listener);

}  // namespace http_fetch
