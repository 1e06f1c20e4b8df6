#include "store/state.h"

#include <charconv>

#include "store/database.h"

namespace kavo {
namespace {

constexpr char kLatestTime[] = "latest time";
constexpr char kZones[] = "zones";
constexpr char kLastTrim[] = "last trim";
constexpr char kPostponed[] = " postponed";

std::string value_of(const char* key) {
  return with_store([&](SQLite::Database& database) {
    SQLite::Statement statement(database, "SELECT value FROM state WHERE key = ?");
    statement.bind(1, key);
    return statement.executeStep() ? statement.getColumn(0).getString() : std::string();
  });
}

void set_value(const char* key, const std::string& value) {
  with_store([&](SQLite::Database& database) {
    SQLite::Statement statement(database,
                                "INSERT OR REPLACE INTO state (key, value) VALUES (?, ?)");
    statement.bind(1, key);
    statement.bind(2, value);
    statement.exec();
  });
}

std::int64_t moment_of(const char* key) {
  const std::string text = value_of(key);
  std::int64_t moment = 0;
  std::from_chars(text.data(), text.data() + text.size(), moment);
  return moment;
}

}  // namespace

std::int64_t latest_time() {
  return moment_of(kLatestTime);
}

void save_latest_time(std::int64_t moment) {
  set_value(kLatestTime, std::to_string(moment));
}

std::string known_zones() {
  return value_of(kZones);
}

void save_known_zones(const std::string& zones) {
  set_value(kZones, zones);
}

Trim last_trim() {
  return {moment_of(kLastTrim), value_of(kLastTrim).ends_with(kPostponed)};
}

void save_last_trim(const Trim& trim) {
  set_value(kLastTrim, std::to_string(trim.moment) + (trim.postponed ? kPostponed : ""));
}

}  // namespace kavo
