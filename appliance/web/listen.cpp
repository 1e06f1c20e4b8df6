#include "web/listen.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <syslog.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace kavo {
namespace {

constexpr int kBacklog = 1024;

struct Address {
  sockaddr_storage storage = {};
  socklen_t size = 0;
  std::string host;

  sockaddr* get() { return reinterpret_cast<sockaddr*>(&storage); }
  void set_port(int port) {
    const auto number = htons(static_cast<std::uint16_t>(port));
    if (storage.ss_family == AF_INET) {
      reinterpret_cast<sockaddr_in*>(&storage)->sin_port = number;
    } else {
      reinterpret_cast<sockaddr_in6*>(&storage)->sin6_port = number;
    }
  }
};

std::optional<Address> parse_address(std::string text) {
  Address address;
  if (text.size() > 2 && text.front() == '[' && text.back() == ']') {
    text = text.substr(1, text.size() - 2);
  }
  auto* v4 = reinterpret_cast<sockaddr_in*>(&address.storage);
  auto* v6 = reinterpret_cast<sockaddr_in6*>(&address.storage);
  if (inet_pton(AF_INET, text.c_str(), &v4->sin_addr) == 1) {
    address.storage.ss_family = AF_INET;
    address.size = sizeof *v4;
    address.host = text;
  } else if (inet_pton(AF_INET6, text.c_str(), &v6->sin6_addr) == 1) {
    address.storage.ss_family = AF_INET6;
    address.size = sizeof *v6;
    address.host = "[" + text + "]";
  } else {
    return std::nullopt;
  }
  return address;
}

int port_of(int socket) {
  sockaddr_in6 name = {};  // the port stands at the same place in both kinds
  socklen_t size = sizeof name;
  (void)getsockname(socket, reinterpret_cast<sockaddr*>(&name), &size);
  return ntohs(name.sin6_port);
}

// The socket; invalid when this machine does not have the address.
Descriptor open_socket(Address& address, int port) {
  address.set_port(port);
  Descriptor socket(
      ::socket(address.storage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  const int on = 1;
  if (socket.valid()) {
    (void)setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (address.storage.ss_family == AF_INET6) {
      (void)setsockopt(socket.get(), IPPROTO_IPV6, IPV6_V6ONLY, &on, sizeof on);
    }
    if (bind(socket.get(), address.get(), address.size) == 0 &&
        listen(socket.get(), kBacklog) == 0) {
      return socket;
    }
  }
  const int error = errno;
  const std::string place = address.host + ":" + std::to_string(port);
  if (error == EADDRINUSE) {
    throw std::runtime_error("The port " + place +
                             " is taken: is this server running already? --port chooses another.");
  }
  if (error != EADDRNOTAVAIL && error != EAFNOSUPPORT) {
    throw std::runtime_error("The server cannot listen on " + place + ": " + strerror(error));
  }
  return {};
}

}  // namespace

std::optional<std::string> canonical_address(const std::string& text) {
  auto address = parse_address(text);
  std::array<char, NI_MAXHOST> name = {};
  if (!address || getnameinfo(address->get(), address->size, name.data(), name.size(), nullptr, 0,
                              NI_NUMERICHOST) != 0) {
    return std::nullopt;
  }
  return name.data();
}

bool is_loopback_address(const std::string& text) {
  const auto address = parse_address(text);
  return address && (address->host == "[::1]" || address->host.starts_with("127."));
}

std::vector<Listener> listen_on(const std::vector<std::string>& addresses, int port) {
  std::vector<Listener> listeners;
  for (const std::string& text : addresses) {
    auto address = parse_address(text);
    if (!address) throw std::runtime_error("\"" + text + "\" is not an address.");
    Descriptor socket = open_socket(*address, port);
    if (!socket.valid()) {
      syslog(LOG_NOTICE, "This machine has no address %s to listen on", text.c_str());
      continue;
    }
    port = port_of(socket.get());
    listeners.push_back({std::move(socket), address->host, port});
  }
  if (listeners.empty()) {
    throw std::runtime_error("This machine has none of the addresses to listen on.");
  }
  return listeners;
}

}  // namespace kavo
