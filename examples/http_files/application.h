// What a server answers besides the files of its folder.
#pragma once

#include <string>

namespace http_files {

class Connection;
struct Request;

class Application {
 public:
  enum class Answering {
    done,      // `text` is the whole answer, head included
    later,     // Server::answer brings it
    not_mine,  // the folder answers
  };

  virtual ~Application() = default;

  // Called for every request that is well formed; `status` is what the log tells.
  virtual Answering answer(Connection& connection, const Request& request, std::string& text,
                           int& status) = 0;
  // A connection that was told `later` is gone.
  virtual void on_gone(Connection& connection) = 0;
  // The server has had something to do, or a second has passed.
  virtual void on_turn() = 0;
};

}  // namespace http_files
