// HTTP on listening sockets: connections, reading of requests, sending of answers.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "web/connections.h"
#include "web/http_message.h"
#include "web/limits.h"

struct MHD_Daemon;

namespace kavo {

// What stands behind the server. Called on the connections' threads.
class Service {
 public:
  virtual ~Service() = default;
  // Looks at a head before its body is read; throws Refused.
  virtual void check_head(const HttpRequest& head) const = 0;
  // Throws nothing.
  virtual Answer answer(const std::shared_ptr<const HttpRequest>& request) = 0;
  // A request has been answered, or given up.
  virtual void request_ended() = 0;
};

struct Encryption {
  std::string certificate;  // PEM, with the chain
  std::string key;          // PEM
};

class HttpServer {
 public:
  // Serves on listening sockets, which it takes; other processes may listen on them as well. Takes
  // connections only from `only_from` and the loopback when that is not empty; encrypts when there
  // is an `encryption`. Throws std::runtime_error.
  HttpServer(const std::vector<int>& sockets, Service& service, const Limits& limits,
             const std::string& only_from, const Encryption* encryption);
  // Closes what is open: not to be destroyed while the service does not return.
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  // Takes no further connection; the open ones end with their next answer.
  void drain();
  Connections& connections() { return connections_; }

 private:
  struct Callbacks;  // what the library calls

  void start(int socket, const Encryption* encryption);

  Service& service_;
  const Limits limits_;
  const std::string only_from_;
  const bool encrypted_;
  std::atomic<bool> draining_ = false;
  Connections connections_;
  std::vector<MHD_Daemon*> daemons_;
};

}  // namespace kavo
