// Calls of the module's methods over a real store, one a line: a digit, the row of the method in
// the module's table, then the JSON object of its parameters.
#include <algorithm>
#include <fstream>
#include <optional>
#include <sstream>
#include <string_view>

#include "base/clock.h"
#include "base/descriptor.h"
#include "base/strict_json.h"
#include "base/utf8.h"
#include "entry_points.h"
#include "fuzz/fuzz.h"
#include "store/database.h"
#include "store/json_text.h"
#include "store/wake_up.h"
#include "temporary_folder.h"
#include "web/module.h"

namespace {

namespace fs = std::filesystem;

constexpr int kMaxCalls = 8;

std::size_t table_size() {
  static const std::size_t size = [] {
    std::size_t rows = 0;
    while (gTable[rows].api != nullptr) {
      ++rows;
    }
    return rows;
  }();
  return size;
}

const KAVO::APIMethod& method_named(std::string_view name, int version) {
  return *std::find_if(gTable, gTable + table_size(), [&](const KAVO::APIMethod& row) {
    return row.version == version && row.method == name;
  });
}

// An answer, or nothing when an exception came out of the method; the server answers that one.
std::optional<Json::Value> answer_of(const KAVO::APIMethod& method, const Json::Value& parameters) {
  kavo::JsonRequest request(parameters, "en-US");
  kavo::JsonResponse response;
  try {
    method.handler(&request, &response);
  } catch (const std::exception&) {
    require(response.answers() == 0, "what failed has not answered");
    return std::nullopt;
  }
  require(response.answers() == 1, "a method answers once");
  const std::string text = kavo::compact_text(response.envelope());
  require(kavo::is_clean_text(text), "an answer is UTF-8");
  require(kavo::parse_strict_json(text).has_value(), "an answer is JSON");
  return response.envelope();
}

Json::Value object_with(const char* name, const Json::Value& value) {
  Json::Value object;
  object[name] = value;
  return object;
}

// Every listed task is there, and can be read.
void check_list() {
  const auto list = answer_of(method_named("list", 1), Json::Value(Json::objectValue));
  require(list && (*list)["success"].asBool(), "the tasks can be listed");
  const Json::Value& data = (*list)["data"];
  require(data["total"].asUInt() == data["tasks"].size(), "the total is the number of tasks");
  for (const Json::Value& row : data["tasks"]) {
    const auto got = answer_of(method_named("get", 1), object_with("id", row["id"]));
    require(got.has_value(), "a stored task can be asked for");
    require((*got)["success"].asBool(), "a stored task can be read");
    require((*got)["data"]["name"] == row["name"] && (*got)["data"]["enable"] == row["enable"] &&
                (*got)["data"]["type"] == row["type"],
            "a task reads as it is listed");
  }
}

// What was stored can be read, and stored again as it was read.
void check_stored(const Json::Value& id) {
  const auto before = answer_of(method_named("get", 2), object_with("id", id));
  require(before && (*before)["success"].asBool(), "what was stored can be read");
  const auto set = answer_of(method_named("set", 2), (*before)["data"]);
  require(set && (*set)["success"].asBool(), "what was read can be stored");
  const auto after = answer_of(method_named("get", 2), object_with("id", id));
  require(after && *after == *before, "what was stored again reads as before");
}

// An appliance whose store is replaced for each input.
class Appliance {
 public:
  explicit Appliance(const fs::path& folder) : folder_(folder) {
    write("etc/kavo/shares.json", R"({"shares": [{"name": "Photos", "path": "/volume1/Photos"}]})");
    write("usr/kavo/packages/index/manifest.json",
          R"({"name": "index", "startable": true, "units": ["index.service"]})");
    write("usr/kavo/kavoman/webman/texts/en-US/strings.json",
          R"({"common": {"run": "Run"}, "tree": {"leaf_ftp": "FTP"}})");
    fs::create_directories(folder_ / "usr/kavo/kavoman/webman/3rdparty");
    fs::create_directories(folder_ / "volume1/Photos");
    enter();
    kavo::connection();  // makes the store
    listening_ = kavo::listen_for_wake_ups();
  }

  void enter() const { setenv("KAVO_ROOT", folder_.c_str(), 1); }

  void take_store_of(const Appliance& other) const {
    for (const char* suffix : {"-wal", "-shm"}) {
      fs::remove(store() + suffix);
    }
    fs::copy_file(other.store(), store(), fs::copy_options::overwrite_existing);
  }

 private:
  std::string store() const { return folder_ / "var/lib/kavo/tasks.db"; }
  void write(const std::string& path, std::string_view text) const {
    fs::create_directories((folder_ / path).parent_path());
    std::ofstream(folder_ / path) << text;
  }

  fs::path folder_;
  kavo::Descriptor listening_;  // stands for the scheduler: tasks can be started
};

// An appliance with an empty store, the thread's connection being open to it. Two take turns, so
// that the store of one can be replaced while the other one's is open.
void enter_empty_appliance() {
  static const TemporaryFolder folder;
  static const Appliance empty(folder.path() / "empty");
  static const Appliance in_turn[] = {Appliance(folder.path() / "a"),
                                      Appliance(folder.path() / "b")};
  static unsigned turn = 0;
  const Appliance& next = in_turn[++turn % 2];
  next.take_store_of(empty);
  next.enter();
  kavo::connection();
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const kavo::Clock::Stopped clock(1'700'000'000);
  enter_empty_appliance();
  std::istringstream lines(text_of(data, size));
  std::string line;
  for (int calls = 0; calls < kMaxCalls && std::getline(lines, line); ++calls) {
    const auto row = line.empty() ? table_size() : static_cast<std::size_t>(line.front() - '0');
    const auto parameters = line.empty() ? std::nullopt : kavo::parse_strict_json(line.substr(1));
    if (row >= table_size() || !parameters || !parameters->isObject()) {
      continue;
    }
    const auto answer = answer_of(gTable[row], *parameters);
    const std::string_view method = gTable[row].method;
    if (answer && (*answer)["success"].asBool() && (method == "set" || method == "create")) {
      check_stored((*answer)["data"]["id"]);
    }
  }
  check_list();
  return 0;
}
