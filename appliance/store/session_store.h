// Who is signed in to the web server, and who has failed to. Secrets are kept as hashes only: what
// the store's file holds opens no session.
#pragma once

#include <optional>
#include <string>

namespace kavo {

struct Session {
  std::string user;
  // What a request has to bring beside its cookie, 64 hex digits. Made from the secret, not stored.
  std::string token;
};

// The sessions, the links for signing in, and the failed tries. All functions work on the calling
// thread's connection and throw StoreFailure. Nothing here wakes the scheduler.
//
// Times that the clock, set back, puts more than five minutes into the future end what they belong
// to: a session does not live longer for it, and nobody waits longer.
class SessionStore {
 public:
  // Opens a session. Its secret, 64 hex digits.
  static std::string open(const std::string& user);

  // The session of a secret, which counts as used now; that is noted at most once a minute. None
  // when there is none, or it is 24 hours old, or was not used for longer than "sessionIdleMinutes"
  // of the configuration (default 30, 1 to 1440).
  static std::optional<Session> find(const std::string& secret);
  static int idle_minutes();

  static void close(const std::string& secret);

  // A link for signing in as `user`, 64 hex digits. It can be used once, within ten minutes.
  static std::string make_link(const std::string& user);
  // The user of a link, who can use it no more; none when it cannot be used.
  static std::optional<std::string> use_link(const std::string& link);

  // To be asked before a password is checked. 0: it may be, and counts as failed from now on, so
  // that tries made at once count as well. Otherwise the seconds to wait; the try does not count.
  //
  // An account has three tries and an address (an IPv6 address with its whole /64 network) ten,
  // then each is to wait, from 2 s doubling to 5 minutes; forgotten after an hour without tries.
  static int wait_before_sign_in(const std::string& account, const std::string& address);
  // The last try did not fail: account and address start anew.
  static void sign_in_succeeded(const std::string& account, const std::string& address);
};

}  // namespace kavo
