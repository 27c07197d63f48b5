// The browser side: the page, and what its script asks for.
//
//   GET  /                        the page
//   POST /join   name=            {"token": "...", "name": "ann"}, or 409 {"reason": "..."}
//   POST /say    token= text=     {}
//   POST /leave  token=           {}
//   GET  /events?token=&since=N   what happened after message N, as soon as something did:
//                                 {"last": 7, "people": ["ann"], "messages": [{"number": 7,
//                                 "kind": "said", "from": "ann", "text": "hi", "marked": false}]}
//
// An unknown token gets 403. All requests come on the thread of the HTTP box, which also answers
// those that wait: whoever has news on another thread makes that box call on_turn.
#pragma once

#include <chrono>
#include <map>
#include <string>

#include "../http_files/application.h"
#include "../http_files/response.h"
#include "../http_files/server.h"
#include "kiv_base/cpp/box.hpp"
#include "room.h"

namespace chat {

class Web : public http_files::Application {
 public:
  // Room and box outlive it. Hosts other than this machine are accepted with `is_public` only.
  Web(Room& room, kiv::BoxRef box, bool is_public, std::uint16_t native_port);
  // The server whose application this is.
  void use(http_files::Server& server) { server_ = &server; }

  Answering answer(http_files::Connection& connection, const http_files::Request& request,
                   std::string& text, int& status) override;
  void on_gone(http_files::Connection& connection) override;
  void on_turn() override;

 private:
  using Clock = std::chrono::steady_clock;
  struct Visitor {
    std::string name;
    Clock::time_point last_seen;
  };
  struct Poll {
    std::string token;
    std::uint64_t since = 0;
    Clock::time_point until;
    http_files::Head head;
  };

  bool is_trusted(const http_files::Request& request) const;
  int join(const std::string& name, std::string& body);
  int post(const std::string& path, const std::string& form, std::string& body);
  Answering poll(http_files::Connection& connection, const std::string& query,
                 const http_files::Head& head, std::string& text, int& status);
  std::string events(std::uint64_t since) const;
  void on_news(kiv::BoxRef, kiv::TimerId, std::int32_t) { on_turn(); }
  void remove_silent_visitors(Clock::time_point now);

  Room& room_;
  kiv::BoxRef box_;
  bool is_public_;
  std::uint16_t native_port_;
  http_files::Server* server_ = nullptr;
  std::map<std::string, Visitor> visitors_;  // by token
  std::map<http_files::Connection*, Poll> polls_;
  bool has_news_ = false;  // the box has been told of them
};

}  // namespace chat
