#include "web/limits.h"

#include "store/settings.h"

namespace kavo {

Limits configured_limits() {
  constexpr std::size_t kKiB = 1024;
  const auto bytes = [](const char* key, std::size_t unit, std::size_t fallback, int most) {
    return unit *
           static_cast<std::size_t>(setting(key, static_cast<int>(fallback / unit), 1, most));
  };
  const auto seconds = [](const char* key, std::chrono::seconds fallback) {
    return std::chrono::seconds(setting(key, static_cast<int>(fallback.count()), 1, 3600));
  };
  Limits limits;
  limits.workers = setting("webWorkers", limits.workers, 2, 64);
  limits.threads = setting("webThreads", limits.threads, 1, 256);
  limits.waiting = setting("webInFlight", limits.waiting, 1, 10000);
  limits.worker_requests = setting("webWorkerRequests", limits.worker_requests, 1, 1 << 30);
  limits.worker_memory = bytes("webWorkerMemory", kKiB * kKiB, limits.worker_memory, 1 << 20);
  limits.head_bytes = bytes("webHeaderLimit", kKiB, limits.head_bytes, 1024);
  limits.body_bytes = bytes("webBodyLimit", kKiB, limits.body_bytes, 1 << 18);
  limits.json_depth = static_cast<std::size_t>(setting("webJsonDepth", 100, 1, 500));
  limits.list_results = static_cast<unsigned>(setting("webListResults", 10000, 1, 1 << 30));
  limits.connections = setting("webConnections", limits.connections, 1, 10000);
  limits.address_connections =
      setting("webAddressConnections", limits.address_connections, 1, 10000);
  limits.request_time = seconds("webRequestSeconds", limits.request_time);
  limits.method_time = seconds("webMethodSeconds", limits.method_time);
  limits.idle_time = seconds("webIdleSeconds", limits.idle_time);
  limits.drain_time = seconds("webDrainSeconds", limits.drain_time);
  return limits;
}

}  // namespace kavo
