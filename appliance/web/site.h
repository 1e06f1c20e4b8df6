// Everything that the server answers: methods, sessions, health, files.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "store/session_store.h"
#include "web/handler_pool.h"
#include "web/http_server.h"
#include "web/limits.h"
#include "web/module.h"
#include "web/request_check.h"
#include "web/router.h"
#include "web/static_files.h"

namespace kavo {

class Site : public Service {
 public:
  // `worn` is called, on any thread and more than once, when the process had better be replaced:
  // it has served its number of requests, has grown, or a method did not return.
  Site(const Modules& modules, const Reached& reached, const Limits& limits, int worker_requests,
       std::function<void()> worn);

  void check_head(const HttpRequest& head) const override;
  Answer answer(const std::shared_ptr<const HttpRequest>& request) override;
  void request_ended() override;

  // A method goes on that was given up: the process cannot end in order.
  bool stuck() const { return methods_pool_.stuck() || sign_ins_pool_.stuck(); }

 private:
  Answer serve(const Route& route, const HttpRequest& request) const;
  Answer serve_call(const Route& route, const HttpRequest& request) const;
  Answer serve_session(const HttpRequest& request) const;
  Answer serve_sign_in(const HttpRequest& request) const;
  Answer serve_sign_out(const HttpRequest& request) const;
  Answer serve_methods() const;
  Session session_of(const HttpRequest& request) const;
  std::string cookie(const HttpRequest& request, const std::string& value) const;
  Json::Value session_data(const HttpRequest& request, const std::optional<Session>& session) const;

  const Modules& modules_;
  const Reached reached_;
  const Limits limits_;
  const long worker_requests_;
  const std::function<void()> worn_;
  std::atomic<long> requests_ = 0;
  mutable StaticFiles files_;
  HandlerPool methods_pool_;
  HandlerPool sign_ins_pool_;  // checking a password takes seconds: others do not wait for it
};

}  // namespace kavo
