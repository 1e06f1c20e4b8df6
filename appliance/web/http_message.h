// A request and its answer, as the rest of the server sees them.
#pragma once

#include <json/value.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kavo {

using Headers = std::vector<std::pair<std::string, std::string>>;

// What a client has sent, as it was sent.
struct HttpRequest {
  std::string method;
  std::string target;  // without what follows a "?"
  Headers headers;
  std::size_t head_bytes = 0;
  std::string body;
  std::string peer;        // the other end's address, "127.0.0.1" or "::1"
  std::string local;       // this end's address
  bool encrypted = false;  // on this connection

  // The value of the first header of this name, in any case; null when there is none.
  const std::string* header(std::string_view name) const;
  std::size_t count(std::string_view name) const;
};

// What is sent back. The headers that every answer carries are added when it is sent.
struct Answer {
  int status = 200;
  Headers headers;
  std::shared_ptr<const std::string> body;  // never null
  bool close = false;                       // the connection ends with this answer
};

// A request that is not served. The message is for people.
class Refused : public std::runtime_error {
 public:
  Refused(int status, const std::string& message, Headers headers = {}, bool close = false)
      : std::runtime_error(message), status_(status), headers_(std::move(headers)), close_(close) {}

  Answer answer() const;

 private:
  int status_;
  Headers headers_;
  bool close_;
};

// `body` as it is, of a media type.
Answer plain_answer(int status, const std::string& type, std::string body);
// A whole envelope.
Answer json_answer(int status, const Json::Value& envelope);
// {"success": true, "data": data}.
Answer success_answer(const Json::Value& data);

// The headers of every answer: what a browser may make of it.
const Headers& common_headers();

// An answer as bytes that end their connection, for one that is sent past the HTTP library.
std::string raw_answer(const Answer& answer);

// Equal but for the case of ASCII letters.
bool equal_in_any_case(std::string_view a, std::string_view b);

}  // namespace kavo
