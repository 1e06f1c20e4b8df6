// The history of runs, their output, and stopping them.

#include "apis_fixture.h"
#include "base/clock.h"
#include "store/run_claim.h"
#include "store/run_store.h"
#include "store/session_store.h"
#include "store/task_store.h"

namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr std::int64_t kNoon = 1793880000;
constexpr std::size_t kPiece = 256 << 10;

class TaskRunsTest : public ApisTest {
 protected:
  // A run by hand that waits, goes on, or has ended.
  static std::int64_t waiting(int task) { return kavo::claim_by_hand(task); }
  static std::int64_t running(int task) {
    const std::int64_t id = waiting(task);
    EXPECT_TRUE(kavo::mark_started(id, 1));
    return id;
  }
  static std::int64_t ended(int task, const kavo::RunEnd& end) {
    const std::int64_t id = running(task);
    kavo::end_run(id, end);
    return id;
  }

  static Json::Value list(const std::string& parameters) {
    return call("TaskRun", "list", json(parameters));
  }
  // The ids of the runs of a list.
  static std::vector<int> ids(const std::string& parameters) {
    std::vector<int> found;
    const Json::Value data = list(parameters);
    for (const Json::Value& run : data["runs"]) {
      found.push_back(run["id"].asInt());
    }
    return found;
  }
  static Json::Value piece(std::int64_t run, std::uint64_t offset) {
    Json::Value parameters;
    parameters["id"] = Json::Int64{run};
    parameters["offset"] = Json::UInt64{offset};
    return call("TaskRun", "output", parameters);
  }
  static std::int64_t revision() { return list("{}")["revision"].asInt64(); }

  kavo::Clock::Stopped clock_{kNoon};
};

TEST_F(TaskRunsTest, ListIsFilteredAndPagedNewestFirst) {
  const int one = store("one ä", "true", R"({"hour": 12, "min": 30, "timezone": "UTC"})");
  const int two = store("two", "true", R"({"hour": 13, "timezone": "UTC"})");
  clock_.set(kNoon + 3600);
  ASSERT_EQ(kavo::claim_due(kNoon + 3600, 10), 2);  // `one` at 12:30 is missed, `two` is not
  clock_.set(kNoon + 3610);
  ASSERT_TRUE(kavo::mark_started(2, 1));
  clock_.set(kNoon + 3620);
  kavo::end_run(2, {kavo::result::kExitCode, 3, "", "oops"});
  ended(two, {kavo::result::kRefused, {}, "No such owner.", ""});
  ended(two, {kavo::result::kSignal, 9, "", ""});
  running(two);
  waiting(one);

  const Json::Value all = list("{}");
  EXPECT_EQ(all["total"], 6);
  EXPECT_THAT(ids("{}"), ElementsAre(6, 5, 4, 3, 2, 1));
  Json::Value second = json(R"({"id": 2, "name": "two", "cause": "schedule", "due": 1793883600,
      "started": 1793883610, "ended": 1793883620, "result": "exit code", "code": 3,
      "message": null})");
  second["task"] = two;
  EXPECT_EQ(all["runs"][4], second);
  EXPECT_EQ(all["runs"][3]["message"], "No such owner.");
  EXPECT_EQ(all["runs"][0]["name"], "one ä");
  for (const char* member : {"due", "started", "ended", "code", "message"}) {
    EXPECT_TRUE(all["runs"][0].isMember(member) && all["runs"][0][member].isNull()) << member;
  }

  EXPECT_THAT(ids(R"({"task": 1})"), ElementsAre(6, 1));
  EXPECT_THAT(ids(R"({"task": 99})"), ElementsAre());
  EXPECT_THAT(ids(R"({"result": "waiting"})"), ElementsAre(6));
  EXPECT_THAT(ids(R"({"result": "running"})"), ElementsAre(5));
  EXPECT_THAT(ids(R"({"result": "missed", "task": 1})"), ElementsAre(1));
  EXPECT_THAT(ids(R"({"result": "missed", "task": 2})"), ElementsAre());
  EXPECT_THAT(ids(R"({"limit": 2, "offset": 3})"), ElementsAre(3, 2));
  EXPECT_THAT(ids(R"({"offset": 6})"), ElementsAre());
  EXPECT_EQ(list(R"({"task": 2, "limit": 1})")["total"], 4);
}

TEST_F(TaskRunsTest, TheRevisionChangesWithEveryTaskAndRunAndWithNothingElse) {
  std::int64_t before = revision();
  const auto expect_change = [&](const char* what) {
    const std::int64_t now = revision();
    EXPECT_NE(now, before) << what;
    before = now;
  };
  const int task = store("task");
  expect_change("a new task");
  const std::int64_t run = waiting(task);
  expect_change("a run claimed");
  kavo::mark_started(run, 1);
  expect_change("a run started");
  kavo::append_output(run, 0, "output");
  kavo::SessionStore::find(kavo::SessionStore::open("root"));
  kavo::SessionStore::make_link("root");
  kavo::SessionStore::wait_before_sign_in("root", "::1");
  EXPECT_EQ(revision(), before);
  kavo::end_run(run, {kavo::result::kOk, 0, "", ""});
  expect_change("a run ended");
  const TaskPtr loaded = load(task);
  KAVOSchedCTaskSetState(loaded.get(), 0);
  KAVOSchedTaskSave(loaded.get());
  expect_change("a task changed");
  kavo::remove_task(task);
  expect_change("a task removed");
  clock_.set(kNoon + std::int64_t{86400} * 400);
  ASSERT_EQ(kavo::trim_old_runs(kNoon + std::int64_t{86400} * 400, 10), 1);
  expect_change("a run trimmed");
}

TEST_F(TaskRunsTest, LastGivesTheNewestRunOfEachTask) {
  const int one = store("one");
  const int two = store("two");
  ended(one, {kavo::result::kOk, 0, "", ""});
  ended(one, {kavo::result::kStopped, {}, "", ""});
  Json::Value data = call("TaskRun", "last", json(R"({"tasks": [2, 1, 77, 1]})"));
  EXPECT_THAT(data["runs"].getMemberNames(), ElementsAre("1", "2", "77"));
  EXPECT_EQ(data["runs"]["1"], list("{}")["runs"][0]);
  EXPECT_EQ(data["runs"]["1"]["result"], "stopped");
  EXPECT_TRUE(data["runs"]["2"].isNull() && data["runs"]["77"].isNull());
  EXPECT_EQ(data["next"]["1"], Json::Int64{kNoon + 12 * 3600});
  EXPECT_TRUE(data["next"].isMember("77") && data["next"]["77"].isNull());

  Json::Value parameters = json(R"({"tasks": [1, 2]})");
  parameters["revision"] = data["revision"];
  data["runs"] = data["next"] = Json::Value(Json::objectValue);
  EXPECT_EQ(call("TaskRun", "last", parameters).toStyledString(), data.toStyledString());
  waiting(two);
  EXPECT_EQ(call("TaskRun", "last", parameters)["runs"]["2"]["result"], "waiting");
  EXPECT_EQ(call("TaskRun", "last", json(R"({"tasks": []})"))["runs"], Json::objectValue);
}

TEST_F(TaskRunsTest, OutputComesInPiecesOfWholeCharacters) {
  // Characters of one to four bytes, stored in pieces that cut through them.
  std::string written;
  while (written.size() < 600 << 10) {
    written += "a\u00e4\u20ac\U0001F600\n";
  }
  const std::int64_t run = running(store("talker"));
  for (std::size_t position = 0; position < written.size(); position += 10001) {
    ASSERT_TRUE(kavo::append_output(run, position, written.substr(position, 10001)));
  }
  std::string read;
  Json::Value data;
  std::uint64_t offset = 0;
  int pieces = 0;
  for (; offset < written.size() && pieces < 10; ++pieces) {
    data = piece(run, offset);
    EXPECT_EQ(data["size"].asUInt64(), written.size());
    EXPECT_LE(data["output"].asString().size(), kPiece);
    read += data["output"].asString();
    offset = data["offset"].asUInt64();
  }
  EXPECT_EQ(read, written);
  EXPECT_EQ(pieces, 3);
  EXPECT_EQ(data["ended"], false);
  EXPECT_EQ(piece(run, 1)["output"].asString().substr(0, 3), "\u00e4\u20ac"s.substr(0, 3));

  // Nothing more yet, and beyond the end.
  EXPECT_EQ(piece(run, offset)["output"], "");
  EXPECT_EQ(piece(run, offset + 1000)["offset"].asUInt64(), written.size());
}

TEST_F(TaskRunsTest, BytesThatAreNoTextAreReplacedAndACutCharacterWaitsForItsRest) {
  const std::int64_t run = running(store("talker"));
  ASSERT_TRUE(kavo::append_output(run, 0,
                                  std::string("a\0b\xFF\xC3(\xED\xA0\x80\xF4\x90\x80\x80"
                                              "\xE2\x82",
                                              15)));
  Json::Value data = piece(run, 0);
  const std::string r = "\uFFFD";
  EXPECT_EQ(data["output"].asString(), "a\0b"s + r + r + "(" + r + r + r + r + r + r + r);
  EXPECT_EQ(data["offset"], 13);
  EXPECT_EQ(data["size"], 15);
  ASSERT_TRUE(kavo::append_output(run, 15, "\xAC!\xE2\x82"));
  EXPECT_EQ(piece(run, 13)["output"].asString(), "\u20ac!");
  kavo::end_run(run, {kavo::result::kOk, 0, "", "", 19});
  data = piece(run, 17);
  EXPECT_EQ(data["output"].asString(), r + r);
  EXPECT_EQ(data["offset"], 19);
  EXPECT_EQ(data["ended"], true);

  // Replaced, nothing but wrong bytes would be three times as long as a piece may be.
  const std::int64_t noise =
      ended(store("noise"), {kavo::result::kOk, 0, "", std::string(kPiece, '\xFF')});
  data = piece(noise, 0);
  EXPECT_LE(data["output"].asString().size(), kPiece);
  EXPECT_EQ(data["offset"].asUInt64(), kPiece / 3);
  EXPECT_EQ(data["output"].asString().substr(0, 3), r);
}

TEST_F(TaskRunsTest, StoppingEndsAWaitingRunAndRefusesAnEndedOne) {
  const std::int64_t run = waiting(store("task"));
  Json::Value parameters;
  parameters["id"] = Json::Int64{run};
  EXPECT_EQ(call("TaskRun", "stop", parameters), Json::objectValue);
  EXPECT_EQ(list("{}")["runs"][0]["result"], "stopped");
  EXPECT_THAT(error("TaskRun", "stop", parameters),
              testing::Pair(117, HasSubstr("has ended already: stopped")));
}

}  // namespace
