// Workers that come and go while the server serves.
#include <atomic>
#include <set>

#include "webd_fixture.h"

namespace {

using testing::HasSubstr;
using testing::Not;

class WebdWorkersTest : public WebdTest {
 protected:
  void SetUp() override { add_module(FIXTURES_FOLDER "hard.so"); }

  pid_t worker_of(Client& client, const std::string& method = "process") {
    const Reply reply = call(client, "Test.Hard/1/" + method);
    EXPECT_EQ(reply.status, 200) << reply.body;
    return reply.json()["data"].asInt();
  }
};

TEST_F(WebdWorkersTest, NoRequestFailsByAWorkerThatIsReplaced) {
  start("webWorkerRequests=\"20\"\n");
  (void)signed_in();
  std::atomic<int> served = 0;
  std::mutex mutex;
  std::set<pid_t> workers;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      const auto client = signed_in();  // one connection, kept while the server keeps it
      for (int request = 0; request < 250; ++request) {
        const Reply reply = call(*client, "Test.Hard/1/process");
        served += reply.status == 200 ? 1 : 0;
        const std::lock_guard lock(mutex);
        workers.insert(reply.json()["data"].asInt());
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(served, 1000);
  EXPECT_GE(workers.size(), 5U);  // a worn one serves until another one does
  EXPECT_THAT(read("log"), Not(HasSubstr("The worker ")));
  EXPECT_EQ(end(SIGTERM), 0);
}

TEST_F(WebdWorkersTest, WorkerEndsAboveItsMemory) {
  start("webWorkerMemory=\"100\"\n");
  std::set<pid_t> workers;
  const auto client = signed_in();
  EXPECT_TRUE(eventually([&] {
    workers.insert(worker_of(*client, "grow"));
    return workers.size() == 5;
  }));
}

TEST_F(WebdWorkersTest, KilledWorkersAreReplaced) {
  start();
  std::set<pid_t> killed;
  for (int i = 0; i < 6; ++i) {
    const auto client = signed_in();
    const pid_t worker = worker_of(*client);
    EXPECT_TRUE(killed.insert(worker).second);
    kill(worker, SIGKILL);
    // Its own connection is gone with it; the client opens another one.
    EXPECT_TRUE(eventually([&] { return call(*client, "Test.Hard/1/process").status == 200; }));
  }
  EXPECT_THAT(read("log"), HasSubstr("was ended by the signal Killed"));
}

TEST_F(WebdWorkersTest, TermEndsAfterTheRequestsInFlight) {
  start();
  Client idle(base_);
  EXPECT_EQ(idle.get("/").status, 200);
  const auto client = signed_in();
  Reply reply;
  std::thread request([&] {
    reply = call(*client, "Test.Hard/1/wait", R"({"file": ")" + path("go").string() + "\"}");
  });
  std::this_thread::sleep_for(200ms);
  kill(process_, SIGTERM);
  EXPECT_TRUE(eventually([&] { return Client(base_).get("/").status == 0; }));
  root_.write("go", "");
  request.join();
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.header("connection"), "close");
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(end(SIGTERM), 0);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s);
}

TEST_F(WebdWorkersTest, WorkersDoNotOutliveTheirSupervisor) {
  start();
  EXPECT_EQ(Client(base_).get("/").status, 200);
  end(SIGKILL);
  EXPECT_TRUE(eventually([&] { return Client(base_).get("/").status == 0; }));
}

}  // namespace
