#include "web/http_server.h"

#include <arpa/inet.h>
#include <microhttpd.h>
#include <netinet/in.h>
#include <unistd.h>

#include <cstring>
#include <optional>
#include <stdexcept>

namespace kavo {
namespace {

constexpr std::size_t kStack = std::size_t{512} << 10;
// The TLS versions that are offered.
constexpr char kPriorities[] = "NORMAL:-VERS-ALL:+VERS-TLS1.3:+VERS-TLS1.2";

// A request on its way, and what has become of it so far.
struct Exchange {
  explicit Exchange(Connection* from) : connection(from) {}

  Connection* connection;
  std::shared_ptr<HttpRequest> request = std::make_shared<HttpRequest>();
  bool head_read = false;
  std::optional<Answer> refusal;
};

Connection* connection_of(MHD_Connection* connection) {
  return static_cast<Connection*>(
      MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT)->socket_context);
}

MHD_Result take_header(void* request, MHD_ValueKind, const char* name, std::size_t name_size,
                       const char* value, std::size_t value_size) {
  static_cast<HttpRequest*>(request)->headers.emplace_back(
      std::string(name, name_size), std::string(value == nullptr ? "" : value, value_size));
  return MHD_YES;
}

void release_body(void* body) {
  delete static_cast<std::shared_ptr<const std::string>*>(body);
}

MHD_Result send_answer(MHD_Connection* connection, const Answer& answer, bool last) {
  auto body = std::make_unique<std::shared_ptr<const std::string>>(answer.body);
  MHD_Response* response = MHD_create_response_from_buffer_with_free_callback_cls(
      answer.body->size(), const_cast<char*>(answer.body->data()), release_body, body.get());
  if (response == nullptr) return MHD_NO;
  (void)body.release();
  for (const Headers* headers : {&common_headers(), &answer.headers}) {
    for (const auto& [name, value] : *headers) {
      (void)MHD_add_response_header(response, name.c_str(), value.c_str());
    }
  }
  if (answer.close || last) {
    (void)MHD_add_response_header(response, "Connection", "close");
  }
  const MHD_Result queued =
      MHD_queue_response(connection, static_cast<unsigned>(answer.status), response);
  MHD_destroy_response(response);
  return queued;
}

bool is_loopback(const sockaddr* address) {
  if (address->sa_family == AF_INET) {
    const auto* v4 = reinterpret_cast<const sockaddr_in*>(address);
    return ntohl(v4->sin_addr.s_addr) >> 24 == 127;
  }
  return IN6_IS_ADDR_LOOPBACK(&reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr);
}

std::string text_of(const sockaddr* address) {
  char text[INET6_ADDRSTRLEN] = {};
  const void* bytes =
      address->sa_family == AF_INET
          ? static_cast<const void*>(&reinterpret_cast<const sockaddr_in*>(address)->sin_addr)
          : &reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr;
  (void)inet_ntop(address->sa_family, bytes, text, sizeof text);
  return strncmp(text, "::ffff:", 7) == 0 ? text + 7 : text;
}

}  // namespace

struct HttpServer::Callbacks {
  static MHD_Result accept(void* self, const sockaddr* address, socklen_t) {
    const std::string& only_from = static_cast<HttpServer*>(self)->only_from_;
    const bool welcome = only_from.empty() || is_loopback(address) || text_of(address) == only_from;
    return welcome ? MHD_YES : MHD_NO;
  }

  static void connection(void* self, MHD_Connection* connection, void** context,
                         MHD_ConnectionNotificationCode code) {
    auto* server = static_cast<HttpServer*>(self);
    if (code == MHD_CONNECTION_NOTIFY_STARTED) {
      const int socket =
          MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
      *context = server->connections_.open(socket, server->encrypted_);
    } else {
      server->connections_.close(static_cast<Connection*>(*context));
    }
  }

  // The first line of a request; what is returned comes back with the rest of it.
  static void* begin(void*, const char* uri, MHD_Connection* connection) {
    auto exchange = std::make_unique<Exchange>(connection_of(connection));
    exchange->connection->begin_request();
    exchange->request->target.assign(uri, strcspn(uri, "?"));
    return exchange.release();
  }

  // Paths are decoded by who looks at them.
  static std::size_t unescape(void*, MHD_Connection*, char* text) { return strlen(text); }

  static MHD_Result read(void* self, MHD_Connection* connection, const char*, const char* method,
                         const char*, const char* data, std::size_t* size, void** context) {
    auto* server = static_cast<HttpServer*>(self);
    auto* exchange = static_cast<Exchange*>(*context);
    if (!exchange->head_read) return read_head(*server, connection, method, *exchange);
    if (*size > 0) return read_body(*server, data, size, *exchange);
    return answer(*server, connection, *exchange);
  }

  static MHD_Result read_head(HttpServer& server, MHD_Connection* connection, const char* method,
                              Exchange& exchange) {
    HttpRequest& request = *exchange.request;
    exchange.head_read = true;
    request.method = method;
    request.peer = exchange.connection->peer();
    request.local = exchange.connection->local();
    request.encrypted = server.encrypted_;
    request.head_bytes =
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_REQUEST_HEADER_SIZE)->header_size;
    (void)MHD_get_connection_values_n(connection, MHD_HEADER_KIND, take_header, &request);
    try {
      server.service_.check_head(request);
    } catch (const Refused& refused) {
      exchange.refusal = refused.answer();
    }
    // Without a sure end of the body, nothing more can be read from this connection.
    const bool at_once = exchange.refusal && exchange.refusal->close;
    return at_once ? answer(server, connection, exchange) : MHD_YES;
  }

  static MHD_Result read_body(HttpServer& server, const char* data, std::size_t* size,
                              Exchange& exchange) {
    std::string& body = exchange.request->body;
    if (body.size() + *size > server.limits_.body_bytes) {
      static const std::string too_large =
          raw_answer(Refused(413, "The body of the request is too large.", {}, true).answer());
      (void)exchange.connection->refuse(too_large);
      return MHD_NO;
    }
    body.append(data, *size);
    *size = 0;
    return MHD_YES;
  }

  static MHD_Result answer(HttpServer& server, MHD_Connection* connection, Exchange& exchange) {
    if (!exchange.connection->end_request()) return MHD_NO;
    const Answer answer =
        exchange.refusal ? *exchange.refusal : server.service_.answer(exchange.request);
    if (answer.close) exchange.connection->linger();
    exchange.connection->answering();
    return send_answer(connection, answer, server.draining_);
  }

  static void end(void* self, MHD_Connection*, void** context, MHD_RequestTerminationCode) {
    const std::unique_ptr<Exchange> exchange(static_cast<Exchange*>(*context));
    if (exchange == nullptr) return;
    exchange->connection->end_answer();
    static_cast<HttpServer*>(self)->service_.request_ended();
  }
};

HttpServer::HttpServer(const std::vector<int>& sockets, Service& service, const Limits& limits,
                       const std::string& only_from, const Encryption* encryption)
    : service_(service),
      limits_(limits),
      only_from_(only_from),
      encrypted_(encryption != nullptr),
      connections_(limits) {
  for (const int socket : sockets) {
    start(socket, encryption);
  }
}

void HttpServer::start(int socket, const Encryption* encryption) {
  std::vector<MHD_OptionItem> options = {
      {MHD_OPTION_LISTEN_SOCKET, socket, nullptr},
      // A head that is only a little too large is read, and refused as everything else is.
      {MHD_OPTION_CONNECTION_MEMORY_LIMIT,
       static_cast<intptr_t>(2 * limits_.head_bytes + (std::size_t{32} << 10)), nullptr},
      {MHD_OPTION_CONNECTION_LIMIT, limits_.connections, nullptr},
      {MHD_OPTION_PER_IP_CONNECTION_LIMIT,
       only_from_.empty() ? limits_.address_connections : limits_.connections, nullptr},
      {MHD_OPTION_CONNECTION_TIMEOUT, 0, nullptr},
      {MHD_OPTION_THREAD_STACK_SIZE, static_cast<intptr_t>(kStack), nullptr},
      {MHD_OPTION_STRICT_FOR_CLIENT, 1, nullptr},
      {MHD_OPTION_URI_LOG_CALLBACK, reinterpret_cast<intptr_t>(&Callbacks::begin), nullptr},
      {MHD_OPTION_UNESCAPE_CALLBACK, reinterpret_cast<intptr_t>(&Callbacks::unescape), nullptr},
      {MHD_OPTION_NOTIFY_COMPLETED, reinterpret_cast<intptr_t>(&Callbacks::end), this},
      {MHD_OPTION_NOTIFY_CONNECTION, reinterpret_cast<intptr_t>(&Callbacks::connection), this},
  };
  unsigned flags =
      MHD_USE_THREAD_PER_CONNECTION | MHD_USE_INTERNAL_POLLING_THREAD | MHD_USE_POLL | MHD_USE_ITC;
  if (encryption != nullptr) {
    flags |= MHD_USE_TLS;
    for (const auto& [option, text] :
         {std::pair(MHD_OPTION_HTTPS_MEM_CERT, encryption->certificate.c_str()),
          std::pair(MHD_OPTION_HTTPS_MEM_KEY, encryption->key.c_str()),
          std::pair(MHD_OPTION_HTTPS_PRIORITIES, kPriorities)}) {
      options.push_back({option, 0, const_cast<char*>(text)});
    }
  }
  options.push_back({MHD_OPTION_END, 0, nullptr});
  MHD_Daemon* daemon = MHD_start_daemon(flags, 0, Callbacks::accept, this, Callbacks::read, this,
                                        MHD_OPTION_ARRAY, options.data(), MHD_OPTION_END);
  if (daemon == nullptr) {
    throw std::runtime_error(encrypted_
                                 ? "The server cannot be started: do certificate and key match?"
                                 : "The server cannot be started.");
  }
  daemons_.push_back(daemon);
}

HttpServer::~HttpServer() {
  for (MHD_Daemon* daemon : daemons_) {
    MHD_stop_daemon(daemon);
  }
}

void HttpServer::drain() {
  if (draining_.exchange(true)) return;
  for (MHD_Daemon* daemon : daemons_) {
    const int socket = MHD_quiesce_daemon(daemon);
    if (socket >= 0) (void)close(socket);
  }
}

}  // namespace kavo
