// An in-memory platform behind the platform headers, for the module's tests: it records what it is
// asked to do, fails where it is told to, counts what it has handed out, and catches the system
// log.
#pragma once

#include <json/value.h>
#include <kavosched.h>

#include <map>
#include <string>
#include <vector>

using Lines = std::vector<std::string>;

struct ErrorState {
  int code = 0;
  const char* file = "";
  int line = 0;
};

// The error state that a failing call leaves unless it is told otherwise, and how a log line ends
// that shows it.
constexpr ErrorState kFailure{0x0A0B, "file.c", 77};
constexpr const char* kCause = " [0x0A0B file.c:77]";

struct FakeTask {
  int id = -1;
  std::string name;
  std::string owner = "root";
  std::string app;
  std::string app_name;
  std::string app_args;
  std::string action;
  std::string command;
  std::string edit_form;
  std::string next_trigger_time = "N/A";
  bool enabled = true;
  bool listable = true;
  bool can_run = true;
  bool can_edit = true;
  bool can_delete = true;
  Json::Value basic;  // answered as the basic section unless it is null
  Json::Value schedule{Json::objectValue};
};

struct FakePackage {
  std::string name;
  std::string display_name;
  bool can_be_started = true;
  bool has_info = true;
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
  Lines parsed_paths;          // of strings, recorded apart
  Json::Value basic_document;  // what the two converters into a record were given last
  Json::Value schedule_document;
  Lines log;  // lines at another priority than LOG_ERR start with it

  // --- What it has handed out and not got back
  int records = 0;
  int hashes = 0;
  int string_lists = 0;

  // Makes the `nth` call of `operation` from now on fail.
  void fail(const std::string& operation, int nth = 1, ErrorState state = kFailure);
  // Records a call. False when it is to fail; the error state is then set.
  bool enter(const std::string& operation);
  bool enter(const std::string& operation, const std::string& arguments);

  FakeTask& add(int id, const std::string& app = "", const std::string& app_args = "");

 private:
  struct Failure {
    int after = 0;
    ErrorState state;
  };
  bool arrive(const std::string& operation);
  std::map<std::string, Failure> failures_;
};

extern FakePlatform platform;

// The string parsers that were built and whose memory was not released yet.
int live_parsers();
