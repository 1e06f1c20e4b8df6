#include "web/connections.h"

#include <fcntl.h>
#include <linux/tcp.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>

#include "web/http_message.h"

namespace kavo {
namespace {

constexpr std::chrono::milliseconds kSweep{250};
// A client that is still sending when it is refused gets so long to read why.
constexpr std::chrono::seconds kLinger{2};

const std::string& too_slow() {
  static const std::string answer =
      raw_answer(Refused(408, "The request took too long to arrive.", {}, true).answer());
  return answer;
}

// Reads what has arrived, and forgets it. True when the other end has closed.
bool drained(int socket) {
  std::array<char, 16384> bytes;
  for (int i = 0; i < 64; ++i) {
    const ssize_t size = recv(socket, bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (size == 0 || (size < 0 && errno != EAGAIN && errno != EINTR)) return true;
    if (size < 0) return false;
  }
  return false;
}

// The numeric address of one end of a socket; empty when it is not known any more.
std::string address_of(int socket, int (*name)(int, sockaddr*, socklen_t*)) {
  sockaddr_storage address = {};
  socklen_t size = sizeof address;
  std::array<char, NI_MAXHOST> text = {};
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  if (name(socket, generic, &size) != 0 ||
      getnameinfo(generic, size, text.data(), text.size(), nullptr, 0, NI_NUMERICHOST) != 0) {
    return {};
  }
  // An IPv4 address on a socket of both kinds.
  const std::string_view result = text.data();
  return std::string(result.starts_with("::ffff:") ? result.substr(7) : result);
}

}  // namespace

Connection::Connection(int socket, bool encrypted)
    : socket_(fcntl(socket, F_DUPFD_CLOEXEC, 0)),
      encrypted_(encrypted),
      peer_(address_of(socket, getpeername)),
      local_(address_of(socket, getsockname)) {}

unsigned long long Connection::received() const {
  tcp_info info = {};
  socklen_t size = sizeof info;
  return getsockopt(socket_.get(), IPPROTO_TCP, TCP_INFO, &info, &size) == 0
             ? info.tcpi_bytes_received
             : 0;
}

void Connection::enter(Phase phase) {
  phase_ = phase;
  since_ = Steady::now();
}

// A request that has begun, though its first line is not whole yet, shows by what has arrived.
void Connection::notice_request() {
  if (phase_ == Phase::kIdle && received() > received_) {
    enter(Phase::kReading);
  }
}

void Connection::begin_request() {
  const std::lock_guard lock(mutex_);
  if (phase_ == Phase::kIdle) enter(Phase::kReading);
}

bool Connection::end_request() {
  const std::lock_guard lock(mutex_);
  if (phase_ == Phase::kRefused) return false;
  enter(Phase::kServing);
  return true;
}

void Connection::answering() {
  const std::lock_guard lock(mutex_);
  if (phase_ != Phase::kRefused) enter(Phase::kAnswering);
}

void Connection::end_answer() {
  const std::lock_guard lock(mutex_);
  if (phase_ == Phase::kRefused) return;
  enter(Phase::kIdle);
  received_ = received();
  fresh_ = false;
}

bool Connection::refuse(const std::string& answer) {
  const std::lock_guard lock(mutex_);
  if (encrypted_ || phase_ != Phase::kReading) return false;
  (void)send(socket_.get(), answer.data(), answer.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
  (void)shutdown(socket_.get(), SHUT_WR);
  enter(Phase::kRefused);
  linger_ = true;
  return true;
}

void Connection::linger() {
  const std::lock_guard lock(mutex_);
  linger_ = true;
}

void Connection::sweep(Steady::time_point now, const Limits& limits) {
  const std::lock_guard lock(mutex_);
  notice_request();
  const auto time = now - since_;
  switch (phase_) {
    case Phase::kIdle:
      if (time < (fresh_ ? limits.request_time : limits.idle_time)) return;
      break;
    case Phase::kReading:
      if (time < limits.request_time) return;
      if (!encrypted_) {
        (void)send(socket_.get(), too_slow().data(), too_slow().size(),
                   MSG_DONTWAIT | MSG_NOSIGNAL);
      }
      break;
    case Phase::kAnswering:
      if (time < limits.method_time) return;
      break;
    case Phase::kServing:
    case Phase::kRefused:
      return;
  }
  (void)shutdown(socket_.get(), SHUT_RDWR);
  enter(Phase::kRefused);
}

Connections::Connections(const Limits& limits) : limits_(limits), watch_([this] { watch(); }) {}

Connections::~Connections() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  changed_.notify_all();
  watch_.join();
}

Connection* Connections::open(int socket, bool encrypted) {
  const std::lock_guard lock(mutex_);
  changed_.notify_all();
  return &open_.emplace_back(socket, encrypted);
}

void Connections::close(Connection* connection) {
  const std::lock_guard lock(mutex_);
  const auto found = std::find_if(open_.begin(), open_.end(),
                                  [&](const Connection& open) { return &open == connection; });
  if (found == open_.end()) return;
  // Closed with something unread, a socket makes the other end forget what it has not read yet.
  if (found->linger_ && !drained(found->socket_.get())) {
    closing_.push_back({std::move(found->socket_), Connection::Steady::now() + kLinger});
  }
  open_.erase(found);
}

std::size_t Connections::size() const {
  const std::lock_guard lock(mutex_);
  return open_.size();
}

std::size_t Connections::busy() {
  const std::lock_guard lock(mutex_);
  return static_cast<std::size_t>(
      std::count_if(open_.begin(), open_.end(), [](Connection& connection) {
        const std::lock_guard own_lock(connection.mutex_);
        connection.notice_request();
        return connection.phase_ != Connection::Phase::kIdle &&
               connection.phase_ != Connection::Phase::kRefused;
      }));
}

void Connections::close_idle(std::chrono::milliseconds idle) {
  const std::lock_guard lock(mutex_);
  for (Connection& connection : open_) {
    const std::lock_guard own_lock(connection.mutex_);
    connection.notice_request();
    if (connection.phase_ == Connection::Phase::kIdle &&
        Connection::Steady::now() - connection.since_ >= idle) {
      (void)shutdown(connection.socket_.get(), SHUT_RDWR);
      connection.enter(Connection::Phase::kRefused);
    }
  }
}

void Connections::watch() {
  std::unique_lock lock(mutex_);
  while (!ending_) {
    if (open_.empty() && closing_.empty()) {
      changed_.wait(lock);
      continue;
    }
    changed_.wait_for(lock, kSweep, [this] { return ending_; });
    sweep();
  }
}

void Connections::sweep() {
  const auto now = Connection::Steady::now();
  for (Connection& connection : open_) {
    connection.sweep(now, limits_);
  }
  closing_.remove_if([&](const Closing& closing) {
    return drained(closing.socket.get()) || closing.until <= now;
  });
}

}  // namespace kavo
