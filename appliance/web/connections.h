// The open connections of a worker, and a watch over the time that they take: the HTTP library only
// bounds the time in which nothing at all arrives.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <list>
#include <mutex>
#include <string>
#include <thread>

#include "base/descriptor.h"
#include "web/limits.h"

namespace kavo {

// One connection, as its own thread tells of it.
class Connection {
 public:
  using Steady = std::chrono::steady_clock;

  // Takes a descriptor of its own for the socket: the library closes the first one at a moment that
  // is not told, after which its number may stand for another file.
  Connection(int socket, bool encrypted);

  // The first line of a request has arrived.
  void begin_request();
  // All of it has arrived. False when it has been refused meanwhile: it is not to be answered.
  bool end_request();
  // The answer is on its way.
  void answering();
  // The answer has been sent, or has failed to be.
  void end_answer();
  // Sends bytes past the library, in the place of an answer, while the request is not complete.
  // False when the connection is encrypted or the request is over.
  bool refuse(const std::string& answer);
  // The other end may still be sending when the connection is closed: it gets time to read why.
  void linger();

  const std::string& peer() const { return peer_; }  // numeric addresses of both ends
  const std::string& local() const { return local_; }

 private:
  friend class Connections;
  // kServing: the request is complete, and its answer is being made. kRefused: the connection is
  // as good as closed.
  enum class Phase { kIdle, kReading, kServing, kAnswering, kRefused };

  void sweep(Steady::time_point now, const Limits& limits);
  void notice_request();
  void enter(Phase phase);
  unsigned long long received() const;

  std::mutex mutex_;
  Descriptor socket_;
  const bool encrypted_;
  const std::string peer_;
  const std::string local_;
  Phase phase_ = Phase::kIdle;
  Steady::time_point since_ = Steady::now();  // when the phase began
  unsigned long long received_ = 0;           // bytes, at the end of the last request
  bool fresh_ = true;                         // no request was answered yet
  bool linger_ = false;
};

class Connections {
 public:
  explicit Connections(const Limits& limits);
  ~Connections();
  Connections(const Connections&) = delete;
  Connections& operator=(const Connections&) = delete;

  // A new connection; valid until it is closed.
  Connection* open(int socket, bool encrypted);
  void close(Connection* connection);

  std::size_t size() const;
  // How many have a request that is not answered yet, or the beginning of one.
  std::size_t busy();
  // Closes those that have been without a request for so long.
  void close_idle(std::chrono::milliseconds idle);

 private:
  struct Closing {
    Descriptor socket;
    Connection::Steady::time_point until;
  };

  void watch();
  void sweep();

  const Limits limits_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::list<Connection> open_;
  std::list<Closing> closing_;
  bool ending_ = false;
  std::thread watch_;
};

}  // namespace kavo
