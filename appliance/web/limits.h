// What the server lets a request take, and how long its workers live. From the configuration.
#pragma once

#include <chrono>
#include <cstddef>

namespace kavo {

struct Limits {
  int workers = 2;
  int threads = 8;              // that call methods, in each worker
  int waiting = 64;             // requests of a worker that wait for such a thread
  int worker_requests = 10000;  // after which a worker is replaced
  std::size_t worker_memory = std::size_t{256} << 20;  // resident bytes above which it is
  std::size_t head_bytes = std::size_t{16} << 10;
  std::size_t body_bytes = std::size_t{1} << 20;
  std::size_t json_depth = 100;
  unsigned list_results = 10000;
  int connections = 512;                  // of a worker, on each address it listens on
  int address_connections = 256;          // of these, from one address
  std::chrono::seconds request_time{20};  // from the first byte of a request to its last
  std::chrono::seconds method_time{60};
  std::chrono::seconds idle_time{30};   // of a connection between two requests
  std::chrono::seconds drain_time{30};  // until a replaced worker ends in any case
};

// Those of the configuration; a value that is absent or out of range is the default.
Limits configured_limits();

}  // namespace kavo
