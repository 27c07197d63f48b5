#include "web.h"

#include <algorithm>
#include <random>
#include <utility>
#include <vector>

#include "../http_files/request.h"
#include "../http_files/text.h"
#include "kiv_base/cpp/http.hpp"
#include "message_text.h"
#include "page.h"

namespace chat {
namespace {

constexpr std::chrono::seconds kPollTime{15};
constexpr std::chrono::seconds kSilence{
    30};                                   // a browser that sends no request for so long has left
constexpr std::size_t kMaxVisitors = 900;  // each holds a socket of the box's 1022

constexpr std::string_view kPageFields =
    "Cache-Control: no-store\r\n"
    "Content-Security-Policy: default-src 'none'; script-src 'unsafe-inline'; style-src "
    "'unsafe-inline'; connect-src 'self'; base-uri 'none'; form-action 'none'; "
    "frame-ancestors 'none'";
constexpr std::string_view kDataFields = "Cache-Control: no-store";

// Returns 128 random bits of the system.
std::string new_token() {
  std::random_device random;
  std::string token;
  for (int i = 0; i < 32; ++i) token += "0123456789abcdef"[random() % 16];
  return token;
}

// Returns a value of a form or a query; empty if it is missing.
std::string form_value(const std::string& form, const char* name) {
  const kiv::HttpTable table = kiv::HttpTable::parse_form(form);
  return std::string(table.form(name).view());
}

void append_body(std::string& text, http_files::Head head, const std::string& body, bool is_head) {
  head.length = body.size();
  append_head(text, head);
  if (!is_head) text += body;
}

const char* kind_name(Kind kind) {
  return kind == Kind::said ? "said" : kind == Kind::joined ? "joined" : "left";
}

void append_message(std::string& json, const Message& message) {
  json += "{\"number\":" + std::to_string(message.number) + ",\"kind\":\"" +
          kind_name(message.kind) + "\",\"from\":";
  append_json(json, message.from);
  json += ",\"text\":";
  append_json(json, message.text);
  json += ",\"time\":" + std::to_string(message.time_ms);
  json += message.is_marked ? ",\"marked\":true}" : ",\"marked\":false}";
}

}  // namespace

Web::Web(Room& room, kiv::BoxRef box, bool is_public, std::uint16_t native_port)
    : room_(room), box_(box), is_public_(is_public), native_port_(native_port) {
  room_.listen([this](const Message&) {
    if (has_news_) return;
    has_news_ = true;
    box_.once(1, kiv::bind<&Web::on_news>(*this));
  });
}

// A page of another site must not act for its visitor here, nor reach this machine under a name of
// its own.
bool Web::is_trusted(const http_files::Request& request) const {
  if (!request.origin.empty() && request.origin != "http://" + request.host) return false;
  const std::string host = request.host.substr(0, request.host.find(':'));
  return is_public_ || host == "127.0.0.1" || host == "localhost";
}

http_files::Application::Answering Web::answer(http_files::Connection& connection,
                                               const http_files::Request& request,
                                               std::string& text, int& status) {
  const auto question = request.target.find('?');
  const std::string path = request.target.substr(0, question);
  const bool is_page = path == "/", is_events = path == "/events";
  const bool is_post = path == "/join" || path == "/say" || path == "/leave";
  if (!is_page && !is_events && !is_post) return Answering::not_mine;

  http_files::Head head;
  head.keep_alive = request.keep_alive;
  head.says_keep_alive = request.says_keep_alive;
  head.more = is_page ? kPageFields : kDataFields;
  head.type = is_page ? "text/html; charset=utf-8" : "application/json";
  const bool has_right_method = is_post ? request.method == "POST"
                                        : request.method == "GET" || (is_page && request.is_head());
  if (!has_right_method || !is_trusted(request)) {
    head.status = status = has_right_method ? 403 : 405;
    append_status_page(text, head, request.is_head());
    return Answering::done;
  }
  if (is_page) {
    append_body(text, head, std::string(kPage), request.is_head());
    return Answering::done;
  }
  const std::lock_guard lock(room_.mutex);
  if (is_events) {
    const std::string query =
        question == std::string::npos ? "" : request.target.substr(question + 1);
    return poll(connection, query, head, text, status);
  }
  std::string body = "{}";
  head.status = status = post(path, request.body, body);
  append_body(text, head, body, false);
  return Answering::done;
}

int Web::join(const std::string& wanted, std::string& body) {
  std::string name = wanted, refusal = "the room is full";
  if (visitors_.size() < kMaxVisitors) refusal = room_.join(name);
  body = refusal.empty() ? "{\"token\":" : "{\"reason\":";
  if (!refusal.empty()) {
    append_json(body, refusal);
    body += '}';
    return 409;
  }
  const std::string token = new_token();
  visitors_[token] = {name, Clock::now()};
  append_json(body, token);
  body += ",\"name\":";
  append_json(body, name);
  body += ",\"port\":" + std::to_string(native_port_) + '}';
  return 200;
}

int Web::post(const std::string& path, const std::string& form, std::string& body) {
  if (path == "/join") return join(form_value(form, "name"), body);
  const auto visitor = visitors_.find(form_value(form, "token"));
  if (visitor == visitors_.end()) return 403;
  if (path == "/say") {
    room_.say(visitor->second.name, form_value(form, "text"));
  } else {
    const std::string name = visitor->second.name;
    visitors_.erase(visitor);
    room_.leave(name);
  }
  return 200;
}

http_files::Application::Answering Web::poll(http_files::Connection& connection,
                                             const std::string& query, const http_files::Head& head,
                                             std::string& text, int& status) {
  const std::string token = form_value(query, "token");
  const auto visitor = visitors_.find(token);
  if (visitor == visitors_.end()) {
    http_files::Head refusal = head;
    refusal.status = status = 403;
    append_body(text, refusal, "{}", false);
    return Answering::done;
  }
  const auto now = Clock::now();
  visitor->second.last_seen = now;
  const auto since = http_files::parse_number(form_value(query, "since")).value_or(0);
  if (room_.last_number() > since) {
    append_body(text, head, events(since), false);
    return Answering::done;
  }
  polls_[&connection] = {token, since, now + kPollTime, head};
  return Answering::later;
}

std::string Web::events(std::uint64_t since) const {
  std::string json = "{\"last\":" + std::to_string(room_.last_number()) + ",\"people\":[";
  for (const std::string& name : room_.people()) {
    if (json.back() != '[') json += ',';
    append_json(json, name);
  }
  json += "],\"messages\":[";
  for (const Message& message : room_.history()) {
    if (message.number <= since) continue;
    if (json.back() != '[') json += ',';
    append_message(json, message);
  }
  return json + "]}";
}

void Web::on_gone(http_files::Connection& connection) {
  const std::lock_guard lock(room_.mutex);
  polls_.erase(&connection);
}

// The answers are sent after the mutex is released: a connection that ends with its answer calls
// on_gone.
void Web::on_turn() {
  std::vector<std::pair<http_files::Connection*, std::string>> answers;
  {
    const std::lock_guard lock(room_.mutex);
    has_news_ = false;
    const auto now = Clock::now();
    for (auto poll = polls_.begin(); poll != polls_.end();) {
      if (room_.last_number() <= poll->second.since && now < poll->second.until) {
        ++poll;
        continue;
      }
      std::string text;
      append_body(text, poll->second.head, events(poll->second.since), false);
      answers.emplace_back(poll->first, std::move(text));
      const auto visitor = visitors_.find(poll->second.token);
      if (visitor != visitors_.end()) visitor->second.last_seen = now;
      poll = polls_.erase(poll);
    }
    remove_silent_visitors(now);
  }
  for (const auto& [connection, text] : answers) server_->answer(*connection, 200, text);
}

void Web::remove_silent_visitors(Clock::time_point now) {
  for (auto visitor = visitors_.begin(); visitor != visitors_.end();) {
    const auto waits = [&](const auto& poll) { return poll.second.token == visitor->first; };
    if (now - visitor->second.last_seen < kSilence ||
        std::any_of(polls_.begin(), polls_.end(), waits)) {
      ++visitor;
      continue;
    }
    const std::string name = visitor->second.name;
    visitor = visitors_.erase(visitor);
    room_.leave(name);
  }
}

}  // namespace chat
