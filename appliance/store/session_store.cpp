#include "store/session_store.h"

#include <arpa/inet.h>
#include <sodium.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

#include "base/clock.h"
#include "store/database.h"
#include "store/settings.h"

namespace kavo {
namespace {

constexpr std::size_t kSecretBytes = 32;
constexpr std::int64_t kSessionLife = 86400;
constexpr std::int64_t kNotedEvery = 60;
constexpr std::int64_t kLinkLife = 600;
constexpr std::int64_t kClockSlack = 300;  // set back by no more, the clock ends nothing
constexpr std::int64_t kFailureLife = 3600;
constexpr int kFirstWait = 2;
constexpr int kLongestWait = 300;
// Beyond these the oldest go, so that nobody fills the store.
constexpr int kMostSessions = 1000;
constexpr int kMostLinks = 100;
constexpr int kMostFailures = 10000;

using Bytes = std::array<unsigned char, kSecretBytes>;

std::string hex(const Bytes& bytes) {
  std::string text(2 * bytes.size(), '\0');
  sodium_bin2hex(text.data(), text.size() + 1, bytes.data(), bytes.size());
  return text;
}

// BLAKE2b, with a key where one is given.
std::string hash(std::string_view text, std::string_view key = {}) {
  Bytes digest = {};
  crypto_generichash(digest.data(), digest.size(),
                     reinterpret_cast<const unsigned char*>(text.data()), text.size(),
                     reinterpret_cast<const unsigned char*>(key.data()), key.size());
  return hex(digest);
}

std::string random_secret() {
  static const bool ready = sodium_init() >= 0;
  if (!ready) {
    throw StoreFailure(StoreError::kUnavailable, "The system gives no random numbers.");
  }
  Bytes bytes = {};
  randombytes_buf(bytes.data(), bytes.size());
  return hex(bytes);
}

bool is_over(std::int64_t since, std::int64_t life, std::int64_t now) {
  return now - since > life || since - now > kClockSlack;
}

// Runs a statement with its values in order; how many rows it changed.
template <typename... Values>
int change(SQLite::Database& database, const char* sql, const Values&... values) {
  SQLite::Statement statement(database, sql);
  int index = 0;
  (statement.bind(++index, values), ...);
  return statement.exec();
}

// Deletes the sessions that are over, and makes room for one more.
void trim_sessions(SQLite::Database& database, std::int64_t now) {
  change(database, "DELETE FROM sessions WHERE used < ? OR opened < ? OR used > ?",
         now - SessionStore::idle_minutes() * std::int64_t{60}, now - kSessionLife,
         now + kClockSlack);
  change(database,
         "DELETE FROM sessions WHERE id IN (SELECT id FROM sessions ORDER BY used DESC, rowid DESC "
         "LIMIT -1 OFFSET ?)",
         kMostSessions - 1);
}

// The part of an address that one person has: an IPv6 network has more addresses than tries.
std::string network_of(const std::string& address) {
  in6_addr parts = {};
  if (inet_pton(AF_INET6, address.c_str(), &parts) != 1 || IN6_IS_ADDR_V4MAPPED(&parts)) {
    constexpr std::string_view kMapped = "::ffff:";
    return address.starts_with(kMapped) ? address.substr(kMapped.size()) : address;
  }
  return {reinterpret_cast<const char*>(parts.s6_addr), 8};
}

// Whose failures are counted, and how many are free. Names are kept as hashes: people type
// passwords where their names belong.
struct Counted {
  std::string key;
  int free;
};

std::array<Counted, 2> counted(const std::string& account, const std::string& address) {
  return {{{hash("account " + account), 3}, {hash("address " + network_of(address)), 10}}};
}

std::int64_t wait_of(SQLite::Database& database, const Counted& one, std::int64_t now) {
  SQLite::Statement statement(database,
                              "SELECT failures, latest FROM failed_sign_ins WHERE key = ?");
  statement.bind(1, one.key);
  if (!statement.executeStep()) {
    return 0;
  }
  const int waits = statement.getColumn(0).getInt() - one.free;
  if (waits < 0) {
    return 0;
  }
  const int length = std::min(kFirstWait << std::min(waits, 10), kLongestWait);
  return std::max<std::int64_t>(0, statement.getColumn(1).getInt64() + length - now);
}

void count(SQLite::Database& database, const Counted& one, std::int64_t now) {
  change(database,
         "INSERT INTO failed_sign_ins (key, failures, latest) VALUES (?1, 1, ?2) "
         "ON CONFLICT (key) DO UPDATE SET failures = failures + 1, latest = ?2",
         one.key, now);
}

// Forgets failures that are an hour old, and those with the shortest waits where there are too
// many: a flood of names must not free the one that is being guessed at. What lies in the future
// since the clock was set back counts from now.
void trim_failures(SQLite::Database& database, std::int64_t now) {
  change(database, "DELETE FROM failed_sign_ins WHERE latest < ?", now - kFailureLife);
  change(database, "UPDATE failed_sign_ins SET latest = ?1 WHERE latest > ?1", now);
  const int rows = database.execAndGet("SELECT count(*) FROM failed_sign_ins").getInt();
  if (rows > kMostFailures) {
    change(database,
           "DELETE FROM failed_sign_ins WHERE key IN (SELECT key FROM failed_sign_ins "
           "ORDER BY failures, latest LIMIT ?)",
           rows - kMostFailures);
  }
}

}  // namespace

std::string SessionStore::open(const std::string& user) {
  std::string secret = random_secret();
  const std::int64_t now = Clock::now();
  in_transaction([&](SQLite::Database& database) {
    trim_sessions(database, now);
    return change(database, "INSERT INTO sessions (id, user, opened, used) VALUES (?1, ?2, ?3, ?3)",
                  hash(secret), user, now);
  });
  return secret;
}

std::optional<Session> SessionStore::find(const std::string& secret) {
  if (secret.size() != 2 * kSecretBytes) {
    return std::nullopt;
  }
  const std::string id = hash(secret);
  const std::int64_t now = Clock::now();
  return with_store([&](SQLite::Database& database) -> std::optional<Session> {
    SQLite::Statement statement(database, "SELECT user, opened, used FROM sessions WHERE id = ?");
    statement.bind(1, id);
    if (!statement.executeStep()) {
      return std::nullopt;
    }
    Session session{statement.getColumn(0).getString(), hash("request token", secret)};
    const std::int64_t opened = statement.getColumn(1).getInt64();
    const std::int64_t used = statement.getColumn(2).getInt64();
    statement.reset();
    if (is_over(opened, kSessionLife - 1, now) ||
        is_over(used, idle_minutes() * std::int64_t{60}, now)) {
      change(database, "DELETE FROM sessions WHERE id = ?", id);
      return std::nullopt;
    }
    if (now - used >= kNotedEvery) {
      change(database, "UPDATE sessions SET used = ? WHERE id = ?", now, id);
    }
    return session;
  });
}

int SessionStore::idle_minutes() {
  return setting("sessionIdleMinutes", 30, 1, 1440);
}

void SessionStore::close(const std::string& secret) {
  with_store([&](SQLite::Database& database) {
    change(database, "DELETE FROM sessions WHERE id = ?", hash(secret));
  });
}

std::string SessionStore::make_link(const std::string& user) {
  std::string link = random_secret();
  const std::int64_t now = Clock::now();
  in_transaction([&](SQLite::Database& database) {
    change(database, "DELETE FROM sign_in_links WHERE made < ? OR made > ?", now - kLinkLife,
           now + kClockSlack);
    change(database,
           "DELETE FROM sign_in_links WHERE id IN (SELECT id FROM sign_in_links "
           "ORDER BY made DESC, rowid DESC LIMIT -1 OFFSET ?)",
           kMostLinks - 1);
    return change(database, "INSERT INTO sign_in_links (id, user, made) VALUES (?, ?, ?)",
                  hash(link), user, now);
  });
  return link;
}

std::optional<std::string> SessionStore::use_link(const std::string& link) {
  return in_transaction([&](SQLite::Database& database) -> std::optional<std::string> {
    SQLite::Statement statement(database, "SELECT user, made FROM sign_in_links WHERE id = ?");
    statement.bind(1, hash(link));
    if (!statement.executeStep()) {
      return std::nullopt;
    }
    std::string user = statement.getColumn(0).getString();
    const bool over = is_over(statement.getColumn(1).getInt64(), kLinkLife, Clock::now());
    change(database, "DELETE FROM sign_in_links WHERE id = ?", hash(link));
    return over ? std::nullopt : std::optional(std::move(user));
  });
}

int SessionStore::wait_before_sign_in(const std::string& account, const std::string& address) {
  const std::int64_t now = Clock::now();
  return in_transaction([&](SQLite::Database& database) {
    trim_failures(database, now);
    std::int64_t wait = 0;
    for (const Counted& one : counted(account, address)) {
      wait = std::max(wait, wait_of(database, one, now));
    }
    if (wait == 0) {
      for (const Counted& one : counted(account, address)) {
        count(database, one, now);
      }
    }
    return static_cast<int>(wait);
  });
}

void SessionStore::sign_in_succeeded(const std::string& account, const std::string& address) {
  in_transaction([&](SQLite::Database& database) {
    for (const Counted& one : counted(account, address)) {
      change(database, "DELETE FROM failed_sign_ins WHERE key = ?", one.key);
    }
    return true;
  });
}

}  // namespace kavo
