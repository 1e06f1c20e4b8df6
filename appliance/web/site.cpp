#include "web/site.h"

#include <sodium.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "base/file.h"
#include "base/root.h"
#include "store/failure.h"
#include "store/wake_up.h"
#include "strings/languages.h"
#include "strings/layout.h"
#include "web/audit.h"
#include "web/method_call.h"
#include "web/sign_in.h"

namespace kavo {
namespace {

constexpr int kSignInThreads = 2;
constexpr int kWaitingSignIns = 8;
constexpr long kRequestsPerLookAtMemory = 32;
constexpr std::size_t kMaxDescription = std::size_t{4} << 20;

std::size_t resident_bytes() {
  std::ifstream statm("/proc/self/statm");
  std::size_t size = 0;
  std::size_t resident = 0;
  statm >> size >> resident;
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

Json::Value installed_languages() {
  Json::Value list(Json::arrayValue);
  for (const Language& installed : named_languages()) {
    Json::Value language;
    language["id"] = installed.code;
    language["name"] = installed.name;
    list.append(language);
  }
  return list;
}

// Throws Refused (403) unless the request brings the token of its session.
void check_token(const HttpRequest& request, const Session& session) {
  const std::string* token = request.header("X-Kavo-Token");
  if (token == nullptr || token->size() != session.token.size() ||
      sodium_memcmp(token->data(), session.token.data(), token->size()) != 0) {
    throw Refused(403, "The header X-Kavo-Token does not belong to this session.");
  }
}

bool store_answers() {
  try {
    (void)SessionStore::find(std::string(64, '0'));
    return true;
  } catch (const StoreFailure& failure) {
    syslog(LOG_ERR, "The store does not answer: %s", failure.what());
    return false;
  }
}

bool scheduler_answers() {
  try {
    const SchedulerLine line;
    return true;
  } catch (const StoreFailure&) {
    return false;
  }
}

Answer serve_health() {
  Json::Value state;
  state["store"] = store_answers();
  state["scheduler"] = scheduler_answers();
  if (state["store"].asBool() && state["scheduler"].asBool()) return success_answer(state);
  Json::Value envelope;
  envelope["success"] = false;
  envelope["error"]["code"] = 503;
  envelope["error"]["data"] = state;
  return json_answer(503, envelope);
}

Answer serve_description() {
  const auto text = read_file(rooted("/usr/kavo/share/openapi.json"), kMaxDescription);
  if (!text) throw Refused(404, "The description of the methods is not installed.");
  Answer answer = plain_answer(200, "application/json", *text);
  answer.headers.emplace_back("Cache-Control", "no-cache");
  return answer;
}

// Calls `serve` and makes an answer of whatever comes out of it.
template <typename Serve>
Answer answer_of(Serve serve) {
  try {
    return serve();
  } catch (const Refused& refused) {
    return refused.answer();
  } catch (const UnknownMethod& error) {
    return Refused(404, error.what()).answer();
  } catch (const ModuleFailure& failure) {
    syslog(LOG_ERR, "%s", failure.what());
    return Refused(500, "The method failed; the system log says why.").answer();
  } catch (const StoreFailure& failure) {
    syslog(LOG_ERR, "%s", failure.what());
    return Refused(500, "The store cannot be used; the system log says why.").answer();
  } catch (const std::exception& error) {
    syslog(LOG_ERR, "A request failed: %s", error.what());
    return Refused(500, "The request failed; the system log says why.").answer();
  }
}

}  // namespace

Site::Site(const Modules& modules, const Reached& reached, const Limits& limits,
           int worker_requests, std::function<void()> worn)
    : modules_(modules),
      reached_(reached),
      limits_(limits),
      worker_requests_(worker_requests),
      worn_(std::move(worn)),
      files_(rooted(kWebmanFolder)),
      methods_pool_(limits.threads, limits.waiting, limits.method_time),
      sign_ins_pool_(kSignInThreads, kWaitingSignIns, limits.method_time) {}

void Site::check_head(const HttpRequest& head) const {
  check_framing(head, limits_);
  check_origin(head, reached_);
  (void)route_of(head.method, decode_path(head.target));
  if (head.method == "POST") check_content_type(head);
}

Answer Site::answer(const std::shared_ptr<const HttpRequest>& request) {
  return answer_of([&] {
    const std::string path = decode_path(request->target);
    const Route route = route_of(request->method, path);
    if (route.kind == Route::Kind::kFile) return files_.answer(*request, path);
    HandlerPool& pool = route.kind == Route::Kind::kSignIn ? sign_ins_pool_ : methods_pool_;
    return pool.run(
        [this, route, request] { return answer_of([&] { return serve(route, *request); }); });
  });
}

void Site::request_ended() {
  const long count = ++requests_;
  const bool worn =
      count >= worker_requests_ || methods_pool_.spoilt() || sign_ins_pool_.spoilt() ||
      (count % kRequestsPerLookAtMemory == 0 && resident_bytes() > limits_.worker_memory);
  if (worn) worn_();
}

// On a thread of a pool.
Answer Site::serve(const Route& route, const HttpRequest& request) const {
  switch (route.kind) {
    case Route::Kind::kSession:
      return serve_session(request);
    case Route::Kind::kSignIn:
      return serve_sign_in(request);
    case Route::Kind::kHealth:
      return serve_health();
    case Route::Kind::kSignOut:
      return serve_sign_out(request);
    case Route::Kind::kMethods:
      (void)session_of(request);
      return serve_methods();
    case Route::Kind::kDescription:
      (void)session_of(request);
      return serve_description();
    case Route::Kind::kCall:
    case Route::Kind::kFile:
      break;
  }
  return serve_call(route, request);
}

Answer Site::serve_call(const Route& route, const HttpRequest& request) const {
  const Session session = session_of(request);
  const std::string name = route.api + "/" + std::to_string(route.version) + "/" + route.method;
  const auto audit = [&](const Json::Value& parameters, const Json::Value& envelope,
                         const std::string& outcome) {
    if (!is_audited(route.method)) return;
    write_audit_line(session.user, client_of(request, reached_).address, name,
                     named_tasks(parameters, envelope), outcome);
  };
  Json::Value parameters;
  try {
    check_token(request, session);
    const KAVO::APIMethod& method = modules_.find(route.api, route.version, route.method);
    const std::string language = language_of(request);
    parameters = read_parameters(request.body, limits_.json_depth);
    const Json::Value envelope = call_method(method, parameters, language, limits_.list_results);
    audit(parameters, envelope, outcome_of(envelope));
    return json_answer(200, envelope);
  } catch (const ModuleFailure&) {
    audit(parameters, Json::Value(), "failed");
    throw;
  } catch (const std::exception&) {
    audit(parameters, Json::Value(), "refused");
    throw;
  }
}

Answer Site::serve_session(const HttpRequest& request) const {
  const auto secret = session_cookie(request);
  return success_answer(session_data(request, secret ? SessionStore::find(*secret) : std::nullopt));
}

Answer Site::serve_sign_in(const HttpRequest& request) const {
  const std::string address = client_of(request, reached_).address;
  const Json::Value parameters = read_parameters(request.body, limits_.json_depth);
  const std::string user = sign_in(parameters, address);
  if (const auto old = session_cookie(request)) SessionStore::close(*old);
  const std::string secret = SessionStore::open(user);
  Answer answer = success_answer(session_data(request, SessionStore::find(secret)));
  answer.headers.emplace_back("Set-Cookie", cookie(request, secret));
  return answer;
}

Answer Site::serve_sign_out(const HttpRequest& request) const {
  const Session session = session_of(request);
  check_token(request, session);
  SessionStore::close(session_cookie(request).value_or(""));
  write_audit_line(session.user, client_of(request, reached_).address, "sign-out", "", "ok");
  Answer answer = success_answer(Json::Value());
  answer.headers.emplace_back("Set-Cookie", cookie(request, "") + "; Max-Age=0");
  return answer;
}

Answer Site::serve_methods() const {
  Json::Value list(Json::arrayValue);
  for (const KAVO::APIMethod& row : modules_.methods()) {
    Json::Value method;
    method["api"] = row.api;
    method["version"] = row.version;
    method["method"] = row.method;
    list.append(method);
  }
  return success_answer(list);
}

// The session of a request. Throws Refused (401).
Session Site::session_of(const HttpRequest& request) const {
  const auto secret = session_cookie(request);
  auto session = secret ? SessionStore::find(*secret) : std::nullopt;
  if (!session) throw Refused(401, "Nobody is signed in.");
  return *session;
}

std::string Site::cookie(const HttpRequest& request, const std::string& value) const {
  const bool secure = client_of(request, reached_).secure;
  return "kavo_session=" + value + "; HttpOnly; SameSite=Strict; Path=/" +
         (secure ? "; Secure" : "");
}

Json::Value Site::session_data(const HttpRequest& request,
                               const std::optional<Session>& session) const {
  Json::Value data;
  data["user"] = session ? Json::Value(session->user) : Json::Value();
  data["token"] = session ? Json::Value(session->token) : Json::Value();
  data["idle_minutes"] = SessionStore::idle_minutes();
  data["languages"] = installed_languages();
  data["language"] = language_of(request);
  return data;
}

}  // namespace kavo
