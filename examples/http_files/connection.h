// One connection: answers its requests one after the other, as fast as the peer takes them.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "application.h"
#include "folder.h"
#include "kiv_base/base.h"
#include "kiv_base/event.h"
#include "outgoing.h"
#include "request.h"

namespace http_files {

using Clock = std::chrono::steady_clock;

// What all connections share.
struct Shared {
  kiv_box* box = nullptr;
  zu_log* log = nullptr;  // may be missing
  const Folder* folder = nullptr;
  std::string mount;                   // "/files" when the folder is found there, "" at the top
  Application* application = nullptr;  // may be missing
  zu_event_fn on_writable = nullptr;   // gets the connection
  std::vector<char> piece;             // working memory for sending
  Clock::time_point now;               // when the running callback began
};

// The functions that return bool give false when the connection is over: delete it then.
class Connection {
 public:
  Connection(Shared& shared, void* owner, std::int32_t socket, std::string peer);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  std::int32_t socket() const { return socket_; }
  void* owner() const { return owner_; }

  // A request has come; it waits when an answer is going out.
  bool take(Request request);
  // The socket takes bytes again.
  bool on_writable();
  // The library reports the end of what can be read: the peer closed its side, or sent what is no
  // request, which gets 400.
  bool on_end_of_requests();
  // The answer of a request that the application put off.
  bool on_answer(int status, const std::string& text);
  // Nothing has happened for as long as is allowed.
  bool on_time_out();

  // The last time that a request came or bytes left. Parts of a request do not count, so a
  // request has to come whole in this time.
  Clock::time_point last_progress() const { return last_progress_; }

 private:
  void start_answer(Request request);
  bool ask_application();
  bool advance();
  bool wait_for_room(bool has_sent);
  bool rest();
  void discard_input();
  void log_answer(const char* remark);

  Shared& shared_;
  void* owner_;
  std::int32_t socket_;
  std::string peer_;
  Clock::time_point last_progress_;

  Request request_;  // the one being answered
  int status_ = 0;   // of that answer
  bool is_answering_ = false;
  bool is_put_off_ = false;  // its answer comes from the application
  Outgoing outgoing_;
  std::deque<Request> waiting_;

  bool takes_requests_ = true;  // false after one that ends the connection
  bool peer_closed_ = false;    // the peer sends no more, but may still read
  bool has_answered_ = false;
  bool waits_for_room_ = false;
  int turns_without_progress_ = 0;
};

}  // namespace http_files
