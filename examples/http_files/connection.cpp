#include "connection.h"

#include <utility>

#include "answer.h"
#include "text.h"

namespace http_files {
namespace {

constexpr std::size_t kMaxWaiting = 64;
constexpr int kMaxTurnsWithoutProgress = 3;
constexpr int kMaxDiscards = 64;

}  // namespace

Connection::Connection(Shared& shared, void* owner, std::int32_t socket, std::string peer)
    : shared_(shared),
      owner_(owner),
      socket_(socket),
      peer_(std::move(peer)),
      last_progress_(shared.now) {}

Connection::~Connection() {
  if (is_answering_) log_answer(" cut off");
  if (is_put_off_) shared_.application->on_gone(*this);
}

bool Connection::take(Request request) {
  if (!takes_requests_) return true;
  last_progress_ = shared_.now;
  takes_requests_ = request.keep_alive;
  if (!is_answering_) {
    start_answer(std::move(request));
    return advance();
  }
  if (waiting_.size() < kMaxWaiting) {
    waiting_.push_back(std::move(request));
  } else {
    // The library's reading cannot be held back: the peer has to come again for the rest.
    waiting_.back().keep_alive = false;
    takes_requests_ = false;
  }
  return true;
}

bool Connection::on_writable() {
  return advance();
}

bool Connection::on_end_of_requests() {
  char byte = 0;
  if (kivx_box_TcpRead(shared_.box, socket_, &byte, 1) == 0) {
    peer_closed_ = true;
    takes_requests_ = false;
    return is_answering_;
  }
  return take(no_request(400));
}

// A peer that has had an answer knows that it sent no further request; one that has had none is
// told what became of the request that it may have begun.
bool Connection::on_time_out() {
  if (is_answering_ || has_answered_) return false;
  return take(no_request(408));
}

void Connection::start_answer(Request request) {
  request_ = std::move(request);
  is_answering_ = true;
  if (ask_application()) return;
  Answer answer = make_answer(*shared_.folder, shared_.mount, request_, outgoing_.begin());
  if (answer.file) outgoing_.append_file(std::move(answer.file), answer.file_bytes);
  status_ = answer.status;
}

// False when the folder is to answer.
bool Connection::ask_application() {
  if (shared_.application == nullptr || request_.status != 200) return false;
  using Answering = Application::Answering;
  status_ = 200;
  const Answering answering =
      shared_.application->answer(*this, request_, outgoing_.begin(), status_);
  is_put_off_ = answering == Answering::later;
  return answering != Answering::not_mine;
}

bool Connection::on_answer(int status, const std::string& text) {
  if (!is_put_off_) return true;
  is_put_off_ = false;
  status_ = status;
  outgoing_.begin() = text;
  return advance();
}

// Sends what there is to send, answer after answer.
bool Connection::advance() {
  bool has_sent = false;
  while (is_answering_ && !is_put_off_) {
    const std::uint64_t before = outgoing_.bytes_sent();
    const Outgoing::Result result = outgoing_.send(shared_.box, socket_, shared_.piece);
    has_sent = has_sent || outgoing_.bytes_sent() > before;
    if (result == Outgoing::Result::failed) return false;
    if (result == Outgoing::Result::blocked) return wait_for_room(has_sent);

    log_answer("");
    is_answering_ = false;
    has_answered_ = true;
    if (!request_.keep_alive) {
      discard_input();
      return false;
    }
    if (!waiting_.empty()) {
      start_answer(std::move(waiting_.front()));
      waiting_.pop_front();
    }
  }
  last_progress_ = shared_.now;
  return rest();
}

// A send that fails does not say why. A socket that is ready for writing time and again and takes
// nothing is a broken one.
bool Connection::wait_for_room(bool has_sent) {
  if (has_sent) {
    last_progress_ = shared_.now;
    turns_without_progress_ = 0;
  } else if (waits_for_room_ && ++turns_without_progress_ == kMaxTurnsWithoutProgress) {
    return false;
  }
  if (!waits_for_room_) {
    waits_for_room_ =
        kivx_box_ImportSockId_ForWrite(shared_.box, socket_, shared_.on_writable, this) == 1;
  }
  return waits_for_room_;
}

// Nothing to send. The box forgets a socket that it neither reads nor writes, without closing it,
// and it no longer reads one that the peer has closed: such a socket is deleted as it is.
bool Connection::rest() {
  if (peer_closed_) return false;
  if (waits_for_room_) {
    kivx_box_ExportSockId_ForWrite(shared_.box, socket_);
    waits_for_room_ = false;
  }
  return true;
}

// Closing a socket with unread input resets the connection, and the peer may then lose the answer.
void Connection::discard_input() {
  const auto size = static_cast<std::int32_t>(shared_.piece.size());
  for (int i = 0; i < kMaxDiscards; ++i) {
    if (kivx_box_TcpRead(shared_.box, socket_, shared_.piece.data(), size) <= 0) return;
  }
}

void Connection::log_answer(const char* remark) {
  if (shared_.log == nullptr) return;
  std::string line = peer_ + " \"";
  append_log_text(line, request_.method);
  line += request_.method.empty() ? '-' : ' ';
  append_log_text(line, request_.target);
  line += "\" " + std::to_string(status_) + ' ' + std::to_string(outgoing_.bytes_sent());
  zu_log_notice(shared_.log, "%s%s\n", line.c_str(), remark);
}

}  // namespace http_files
