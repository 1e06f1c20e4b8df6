#include "web/request_check.h"

#include <algorithm>
#include <charconv>

#include "base/utf8.h"
#include "strings/languages.h"
#include "web/listen.h"

namespace kavo {
namespace {

constexpr char kDefaultLanguage[] = "en-US";
constexpr std::size_t kSecretDigits = 64;

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::string lower(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return result;
}

// Calls `take` with the trimmed pieces between the separators.
template <typename Take>
void split(std::string_view text, char separator, Take take) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(separator), text.size());
    take(trimmed(text.substr(0, end)));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

bool is_number(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// "name:80" without the port; nothing when what follows the name is no port.
std::optional<std::string> without_port(std::string_view authority) {
  const std::size_t end_of_address = authority.starts_with('[') ? authority.find(']') : 0;
  if (end_of_address == std::string_view::npos) return std::nullopt;
  const std::size_t colon = authority.find(':', end_of_address);
  if (colon == std::string_view::npos) return lower(authority);
  if (!is_number(authority.substr(colon + 1))) return std::nullopt;
  return lower(authority.substr(0, colon));
}

// An address as it stands in a Host header.
std::string as_host(const std::string& address) {
  return address.find(':') == std::string::npos ? address : "[" + address + "]";
}

bool is_own_host(const std::string& name, const HttpRequest& request, const Reached& reached) {
  return name == "localhost" || name == "127.0.0.1" || name == "[::1]" ||
         name == as_host(request.local) ||
         std::find(reached.names.begin(), reached.names.end(), name) != reached.names.end();
}

std::optional<int> hex_digit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return std::nullopt;
}

// The quality of a language range in thousandths: 1000 without a "q", 0 when it is malformed.
int quality(std::string_view parameters) {
  int thousandths = 1000;
  split(parameters, ';', [&](std::string_view parameter) {
    if (!parameter.starts_with("q=") && !parameter.starts_with("Q=")) return;
    parameter.remove_prefix(2);
    std::string digits(parameter.substr(0, 1));
    digits += parameter.size() > 1 && parameter[1] == '.' ? parameter.substr(2, 3) : "";
    digits.resize(4, '0');
    thousandths = is_number(digits) ? std::min(std::stoi(digits), 1000) : 0;
  });
  return thousandths;
}

std::string_view primary(std::string_view language) {
  return language.substr(0, language.find('-'));
}

// The installed language for a range: the same one, or else the first of the same primary subtag.
const std::string* match(std::string_view range, const std::vector<std::string>& installed) {
  for (const std::string& language : installed) {
    if (equal_in_any_case(language, range)) return &language;
  }
  for (const std::string& language : installed) {
    if (equal_in_any_case(primary(language), primary(range))) return &language;
  }
  return nullptr;
}

}  // namespace

Client client_of(const HttpRequest& request, const Reached& reached) {
  Client client = {request.peer, request.encrypted};
  if (reached.proxy.empty() || request.peer != reached.proxy) return client;
  // The proxy has added its own peer at the end; what stands before is hearsay.
  if (const std::string* forwarded = request.header("X-Forwarded-For")) {
    const std::size_t comma = forwarded->rfind(',');
    const std::string_view last =
        trimmed(std::string_view(*forwarded).substr(comma == std::string::npos ? 0 : comma + 1));
    client.address = canonical_address(std::string(last)).value_or(request.peer);
  }
  const std::string* scheme = request.header("X-Forwarded-Proto");
  client.secure = client.secure || (scheme != nullptr && equal_in_any_case(*scheme, "https"));
  return client;
}

void check_framing(const HttpRequest& request, const Limits& limits) {
  if (request.head_bytes > limits.head_bytes) {
    throw Refused(431, "The head of the request is too large.", {}, true);
  }
  const std::string* length = request.header("Content-Length");
  const std::string* encoding = request.header("Transfer-Encoding");
  if (length != nullptr && encoding != nullptr) {
    throw Refused(400, "Content-Length and Transfer-Encoding exclude each other.", {}, true);
  }
  if (encoding != nullptr && !equal_in_any_case(*encoding, "chunked")) {
    throw Refused(400, "The Transfer-Encoding is not known.", {}, true);
  }
  for (const char* name : {"Content-Length", "Transfer-Encoding", "Host", "Origin", "Content-Type",
                           "X-Kavo-Token", "X-Kavo-Language"}) {
    if (request.count(name) > 1) {
      throw Refused(400, "The header " + std::string(name) + " stands there twice.", {}, true);
    }
  }
  if (length != nullptr) {
    if (!is_number(*length)) {
      throw Refused(400, "The Content-Length is not a number.", {}, true);
    }
    std::size_t bytes = 0;
    const auto [end, error] =
        std::from_chars(length->data(), length->data() + length->size(), bytes);
    if (error != std::errc() || bytes > limits.body_bytes) {
      throw Refused(413, "The body of the request is too large.", {}, true);
    }
  }
}

void check_origin(const HttpRequest& request, const Reached& reached) {
  const std::string* host = request.header("Host");
  if (host == nullptr || host->empty()) {
    throw Refused(400, "The request names no Host.");
  }
  const auto name = without_port(*host);
  if (!name || !is_own_host(*name, request, reached)) {
    throw Refused(421, "This server is not reached under that name.");
  }
  const std::string* origin = request.header("Origin");
  const std::string own =
      (client_of(request, reached).secure ? "https://" : "http://") + lower(*host);
  if (origin != nullptr && lower(*origin) != own) {
    throw Refused(403, "The request comes from another page.");
  }
}

void check_content_type(const HttpRequest& request) {
  const std::string* type = request.header("Content-Type");
  const std::string_view media =
      type == nullptr ? std::string_view() : std::string_view(*type).substr(0, type->find(';'));
  if (!equal_in_any_case(trimmed(media), "application/json")) {
    throw Refused(415, "The body has to be application/json.");
  }
}

std::string decode_path(std::string_view target) {
  const Refused malformed(400, "The path of the request is malformed.");
  std::string path;
  for (std::size_t i = 0; i < target.size(); ++i) {
    if (target[i] != '%') {
      path += target[i];
      continue;
    }
    const auto high = i + 2 < target.size() ? hex_digit(target[i + 1]) : std::nullopt;
    const auto low = i + 2 < target.size() ? hex_digit(target[i + 2]) : std::nullopt;
    if (!high || !low) throw malformed;
    path += static_cast<char>(*high * 16 + *low);
    i += 2;
  }
  const bool control = std::any_of(path.begin(), path.end(),
                                   [](char c) { return (c >= 0 && c < ' ') || c == 0x7f; });
  if (!path.starts_with('/') || control || !is_clean_text(path)) throw malformed;
  return path;
}

std::optional<std::string> session_cookie(const HttpRequest& request) {
  constexpr std::string_view kName = "kavo_session=";
  std::optional<std::string> secret;
  for (const auto& [name, value] : request.headers) {
    if (!equal_in_any_case(name, "Cookie")) continue;
    split(value, ';', [&](std::string_view cookie) {
      if (!cookie.starts_with(kName) || secret) return;
      cookie.remove_prefix(kName.size());
      const bool could_be_one =
          cookie.size() == kSecretDigits &&
          cookie.find_first_not_of("0123456789abcdef") == std::string_view::npos;
      if (could_be_one) secret = cookie;
    });
  }
  return secret;
}

std::string best_language(std::string_view accepted, const std::vector<std::string>& installed) {
  std::string best = kDefaultLanguage;
  int best_quality = 0;
  split(accepted, ',', [&](std::string_view range) {
    const std::size_t end = std::min(range.find(';'), range.size());
    const int range_quality = quality(range.substr(std::min(end + 1, range.size())));
    const std::string* language = match(trimmed(range.substr(0, end)), installed);
    if (language != nullptr && range_quality > best_quality) {
      best = *language;
      best_quality = range_quality;
    }
  });
  return best;
}

std::string language_of(const HttpRequest& request) {
  if (const std::string* named = request.header("X-Kavo-Language")) {
    if (!is_language(*named)) {
      throw Refused(400, "There are no texts of the language that the request names.");
    }
    return *named;
  }
  const std::string* accepted = request.header("Accept-Language");
  return accepted == nullptr ? kDefaultLanguage : best_language(*accepted, languages());
}

}  // namespace kavo
