// An in-memory platform behind the platform headers, for the module's tests: it records what it is
// asked to do, fails where it is told to, counts what it has handed out, and catches the system
// log.
#pragma once

#include <json/value.h>
#include <kavosched.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

using Lines = std::vector<std::string>;

struct ErrorState {
  int code = 0;
  const char* file = "";
  int line = 0;
};

// The error state that a failing call leaves unless it is told otherwise.
constexpr ErrorState kFailure{0x0A0B, "file.c", 77};

struct FakeTask {
  int id = -1;
  std::string name, app, app_name, app_args, action, command, owner = "root";
  std::string next_trigger_time = "N/A";
  bool enabled = true, listable = true, can_run = true, can_edit = true, can_delete = true;
  Json::Value basic;  // answered as the basic section unless it is null
  Json::Value schedule{Json::objectValue};
};

struct FakePackage {
  std::string name, display_name;
  bool can_be_started = true, has_info = true;
};

struct FakePlatform {
  // --- What it holds
  std::map<int, FakeTask> tasks;
  std::map<std::string, std::string> configuration;
  std::map<std::string, Json::Value> strings;    // by the path of their folder
  Json::Value app_locations{Json::objectValue};  // of the apps with strings of their own
  std::vector<FakePackage> packages;
  Lines shares;
  ErrorState error;

  // --- What was asked of it, in order: the operation and its arguments. Setters are called by
  // what they set ("SetApp x"). Getters and releases are not recorded.
  Lines calls;
  Lines parsed_paths;                             // of strings, recorded apart
  Json::Value basic_document, schedule_document;  // the last ones to be converted into a record
  Lines log;  // lines at another priority than LOG_ERR start with it

  // --- What it has handed out and not got back
  int records = 0, hashes = 0, string_lists = 0;

  // Makes the `nth` call of `operation` from now on fail.
  void fail(const std::string& operation, int nth = 1, ErrorState state = kFailure) {
    failures_[operation] = {nth, state};
  }
  // Records a call. False when it is to fail; the error state is then set.
  template <typename... Arguments>
  bool enter(const std::string& operation, const Arguments&... arguments) {
    std::ostringstream call(operation, std::ios::ate);
    ((call << ' ' << arguments), ...);
    calls.push_back(call.str());
    const auto failure = failures_.find(operation);
    if (failure == failures_.end() || --failure->second.first != 0) return true;
    error = failure->second.second;
    return false;
  }

  FakeTask& add(int id, const std::string& app = "", const std::string& app_args = "");

 private:
  std::map<std::string, std::pair<int, ErrorState>> failures_;
};

extern FakePlatform platform;

// The string parsers that were built and whose memory was not released yet.
int live_parsers();
