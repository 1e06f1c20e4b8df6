#include "web/http_message.h"

#include <json/writer.h>
#include <strings.h>

#include <algorithm>

namespace kavo {

bool equal_in_any_case(std::string_view a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

const std::string* HttpRequest::header(std::string_view name) const {
  const auto found = std::find_if(headers.begin(), headers.end(), [&](const auto& header) {
    return equal_in_any_case(header.first, name);
  });
  return found == headers.end() ? nullptr : &found->second;
}

std::size_t HttpRequest::count(std::string_view name) const {
  return static_cast<std::size_t>(
      std::count_if(headers.begin(), headers.end(),
                    [&](const auto& header) { return equal_in_any_case(header.first, name); }));
}

Answer Refused::answer() const {
  Json::Value envelope;
  envelope["success"] = false;
  envelope["error"]["code"] = status_;
  envelope["error"]["data"]["msg"] = what();
  Answer answer = json_answer(status_, envelope);
  answer.headers.insert(answer.headers.end(), headers_.begin(), headers_.end());
  answer.close = close_;
  return answer;
}

Answer plain_answer(int status, const std::string& type, std::string body) {
  return {status, {{"Content-Type", type}}, std::make_shared<const std::string>(std::move(body))};
}

Answer json_answer(int status, const Json::Value& envelope) {
  // Whatever a module answers, this writer makes ASCII of it.
  Answer answer = plain_answer(status, "application/json", Json::FastWriter().write(envelope));
  answer.headers.emplace_back("Cache-Control", "no-store");
  return answer;
}

Answer success_answer(const Json::Value& data) {
  Json::Value envelope;
  envelope["success"] = true;
  envelope["data"] = data;
  return json_answer(200, envelope);
}

const Headers& common_headers() {
  static const Headers headers = {
      {"Content-Security-Policy",
       "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; "
       "font-src 'self'; connect-src 'self'; manifest-src 'self'; base-uri 'none'; "
       "form-action 'none'; frame-ancestors 'none'"},
      {"X-Content-Type-Options", "nosniff"},
      {"Referrer-Policy", "no-referrer"},
      {"Cross-Origin-Opener-Policy", "same-origin"},
      {"Cross-Origin-Resource-Policy", "same-origin"},
  };
  return headers;
}

std::string raw_answer(const Answer& answer) {
  std::string text = "HTTP/1.1 " + std::to_string(answer.status) + " Refused\r\n";
  for (const Headers* headers : {&common_headers(), &answer.headers}) {
    for (const auto& [name, value] : *headers) {
      text.append(name).append(": ").append(value).append("\r\n");
    }
  }
  text.append("Content-Length: ").append(std::to_string(answer.body->size()));
  return text.append("\r\nConnection: close\r\n\r\n").append(*answer.body);
}

}  // namespace kavo
