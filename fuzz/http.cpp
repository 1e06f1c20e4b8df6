// Requests to the web server: what it makes of their heads and bodies, and of paths to files. What
// comes off the socket is split into lines by the HTTP library; here an input is lines already.
#include <sodium.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <set>
#include <sstream>

#include "base/strict_json.h"
#include "base/utf8.h"
#include "fuzz/fuzz.h"
#include "store/json_depth.h"
#include "strings/languages.h"
#include "temporary_folder.h"
#include "web/audit.h"
#include "web/method_call.h"
#include "web/request_check.h"
#include "web/router.h"
#include "web/static_files.h"

namespace {

bool is_plain(std::string_view text) {
  return std::none_of(text.begin(), text.end(),
                      [](char c) { return (c >= 0 && c < ' ') || c == 127; });
}

// A line of the system log stays one, whatever a request has put into it.
void check_log_line(const char* format, va_list arguments) {
  std::array<char, 4096> line{};
  const int size = vsnprintf(line.data(), line.size(), format, arguments);
  const std::string text(line.data());
  require(size >= 0 && is_plain(text), "a line in the log is one line");
  for (const char* field : {" from=", " method=", " tasks=", " outcome="}) {
    const std::size_t place = text.find(field);
    require(place != std::string::npos && text.find(field, place + 1) == std::string::npos,
            "an audit line has each field once");
  }
}

}  // namespace

#define DEFINE_SYSLOG(head)            \
  extern "C" head;                     \
  head {                               \
    va_list arguments;                 \
    va_start(arguments, format);       \
    check_log_line(format, arguments); \
    va_end(arguments);                 \
  }
DEFINE_SYSLOG(void syslog(int /*priority*/, const char* format, ...))
DEFINE_SYSLOG(void __syslog_chk(int /*priority*/, int, const char* format, ...))

namespace {

constexpr char kFound[] = "<p>The desktop</p>";
constexpr char kSecret[] = "not for the page";

// The request line, the headers up to an empty line, and the body.
kavo::HttpRequest request_of(const std::string& text) {
  kavo::HttpRequest request;
  request.peer = request.local = "127.0.0.1";
  std::istringstream lines(text);
  std::string line;
  std::getline(lines, line);
  const std::size_t blank = std::min(line.find(' '), line.size());
  request.method = line.substr(0, blank);
  request.target = line.substr(std::min(blank + 1, line.size()));
  while (std::getline(lines, line) && !line.empty()) {
    const std::size_t colon = std::min(line.find(": "), line.size());
    request.headers.emplace_back(line.substr(0, colon),
                                 line.substr(std::min(colon + 2, line.size())));
  }
  request.body.assign(std::istreambuf_iterator<char>(lines), {});
  request.head_bytes = text.size() - request.body.size();
  return request;
}

void check_answer(const kavo::Answer& answer) {
  for (const auto& [name, value] : answer.headers) {
    require(is_plain(name) && is_plain(value), "a header is one line");
  }
  require(answer.body != nullptr, "an answer has a body");
}

// Does a part of the server's work on a request. Nothing but Refused may come out of it.
template <typename Work>
void attempt(Work work) {
  try {
    work();
  } catch (const kavo::Refused& refused) {
    const kavo::Answer answer = refused.answer();
    static const std::set<int> kStatuses = {400, 403, 404, 405, 413, 415, 421, 431};
    require(kStatuses.count(answer.status) == 1, "a refusal has a status of its own");
    require(kavo::parse_strict_json(*answer.body).has_value(), "a refusal is JSON");
    check_answer(answer);
  }
}

std::string encoded(const std::string& path) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string target;
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    target += {'%', kDigits[byte / 16], kDigits[byte % 16]};
  }
  return target;
}

void check_path(const kavo::HttpRequest& request) {
  const std::string path = kavo::decode_path(request.target);
  require(path.starts_with('/') && is_plain(path) && kavo::is_clean_text(path),
          "a path is absolute text");
  require(kavo::decode_path(encoded(path)) == path, "an encoded path is the same path");
  const kavo::Route route = kavo::route_of(request.method, path);
  if (route.kind == kavo::Route::Kind::kCall) {
    require(
        path == "/webapi/" + route.api + "/" + std::to_string(route.version) + "/" + route.method,
        "a call is what its path says");
    kavo::write_audit_line("root", "127.0.0.1", path.substr(1), "", "refused");
  }
}

void check_file(const kavo::HttpRequest& request, const TemporaryRoot& root) {
  static kavo::StaticFiles files(root.path() / "usr/kavo/kavoman/webman/");
  const std::string path = kavo::decode_path(request.target);
  const kavo::Answer answer = files.answer(request, path);
  check_answer(answer);
  require(answer.status == 304 || answer.body->find(kSecret) == std::string::npos,
          "what is outside, hidden or not of the page is not served");
}

void check_parameters(const kavo::HttpRequest& request) {
  constexpr std::size_t kDepth = 100;
  const Json::Value parameters = kavo::read_parameters(request.body, kDepth);
  require(parameters.isObject(), "parameters are an object");
  kavo::write_audit_line("root", "::1", "KAVO.Core.TaskScheduler/1/run",
                         kavo::named_tasks(parameters, parameters), kavo::outcome_of(parameters));
}

const TemporaryRoot& appliance() {
  static const TemporaryRoot root;
  static const bool written = [] {
    require(sodium_init() >= 0, "hashes can be made");
    const std::string webman = "usr/kavo/kavoman/webman/";
    for (const char* file :
         {"index.html", "assets/page.js", "texts/en-US/strings.json", "texts/de-DE/strings.json"}) {
      root.write(webman + file, kFound);
    }
    for (const char* file : {".hidden.html", "3rdparty/App/manifest.json", "page.cgi",
                             ".git/index.html", "../outside.html"}) {
      root.write(webman + file, kSecret);
    }
    std::filesystem::create_symlink("../outside.html", root.path() / webman / "link.html");
    return true;
  }();
  (void)written;
  return root;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const TemporaryRoot& root = appliance();
  const kavo::HttpRequest request = request_of(text_of(data, size));
  const kavo::Reached reached = {{"nas.example"}, "127.0.0.1"};

  attempt([&] { kavo::check_framing(request, kavo::Limits()); });
  attempt([&] { kavo::check_origin(request, reached); });
  attempt([&] { kavo::check_content_type(request); });
  attempt([&] { check_path(request); });
  attempt([&] { check_file(request, root); });
  attempt([&] { check_parameters(request); });
  attempt([&] {
    require(kavo::is_language(kavo::language_of(request)), "a language is one that is installed");
  });
  kavo::write_audit_line("root", kavo::client_of(request, reached).address, "sign-in", "", "ok");
  if (const auto secret = kavo::session_cookie(request)) {
    require(
        secret->size() == 64 && secret->find_first_not_of("0123456789abcdef") == std::string::npos,
        "a secret is a hexadecimal number");
  }
  return 0;
}
