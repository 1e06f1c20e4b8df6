// What the server refuses by itself, over real sockets.
#include <future>
#include <tuple>

#include "webd_fixture.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

constexpr char kList[] = "/webapi/KAVO.Core.TaskScheduler/1/list";

class WebdRefusalsTest : public WebdTest {
 protected:
  void SetUp() override {
    add_module(TASK_SCHEDULER);
    add_module(FIXTURES_FOLDER "hard.so");
  }
  std::string raw(const std::string& bytes) const {
    const RawConnection connection(port_);
    connection.send(bytes);
    return connection.read();
  }
};

TEST_F(WebdRefusalsTest, EveryRefusalIsAnEnvelopeWithItsStatus) {
  start();
  const auto client = signed_in();
  const std::string deep = R"({"a": )" + std::string(100, '[') + std::string(100, ']') + "}";
  const auto rows = {
      std::tuple("POST", kList, "", "{}", 200),
      std::tuple("POST", kList, "Content-Type: application/json; charset=utf-8", "{}", 200),
      std::tuple("POST", kList, "Origin: OWN", "{}", 200),
      std::tuple("POST", kList, "Host: LOCALHOST:5050", "{}", 200),
      std::tuple("GET", "/webapi/methods", "", "", 200),
      std::tuple("POST", kList, "", "", 400),
      std::tuple("POST", kList, "", "[]", 400),
      std::tuple("POST", kList, "", "{} {}", 400),
      std::tuple("POST", kList, "", "{\"a\": 1, \"a\": 2}", 400),
      std::tuple("POST", kList, "", "{\"a\": \"\xff\"}", 400),
      std::tuple("POST", kList, "", deep.c_str(), 400),
      std::tuple("POST", kList, "X-Kavo-Language: xx-XX", "{}", 400),
      std::tuple("GET", "/%00", "", "", 400),
      std::tuple("POST", kList, "Origin: http://evil.example", "{}", 403),
      std::tuple("POST", kList, "Origin: null", "{}", 403),
      std::tuple("POST", kList, "Origin: https://localhost", "{}", 403),
      std::tuple("GET", "/webapi/session", "Origin: http://evil.example", "", 403),
      std::tuple("GET", "/nothing.html", "", "", 404),
      std::tuple("GET", "/webapi/nothing", "", "", 404),
      std::tuple("POST", "/webapi/KAVO.Core.TaskScheduler/1/lists", "", "{}", 404),
      std::tuple("POST", "/webapi/KAVO.Core.TaskScheduler/9/list", "", "{}", 404),
      std::tuple("POST", "/webapi/KAVO.Core.TaskScheduler/01/list", "", "{}", 404),
      std::tuple("POST", "/webapi/KAVO.Core.TaskScheduler/-1/list", "", "{}", 404),
      std::tuple("POST", "/webapi/KAVO.Core.TaskScheduler/1/list/", "", "{}", 404),
      std::tuple("POST", "/webapi/nothing/1/list", "", "{}", 404),
      std::tuple("POST", "/webapi/%2e%2e/1/list", "", "{}", 404),
      std::tuple("GET", kList, "", "", 405),
      std::tuple("PUT", kList, "", "{}", 405),
      std::tuple("POST", "/", "", "{}", 405),
      std::tuple("DELETE", "/index.html", "", "", 405),
      std::tuple("POST", "/webapi/session", "", "{}", 405),
      std::tuple("POST", kList, "Content-Type: text/plain", "{}", 415),
      std::tuple("POST", kList, "Content-Type:", "{}", 415),
      std::tuple("POST", kList, "Content-Type: application/jsonp", "{}", 415),
      std::tuple("POST", kList, "Host: evil.example", "{}", 421),
      std::tuple("POST", kList, "Host: evil.example:80@localhost", "{}", 421),
      std::tuple("POST", kList, "Host: 127.0.0.1.evil.example", "{}", 421),
      std::tuple("GET", "/", "Host: 192.0.2.1", "", 421),
      std::tuple("GET", "/healthz", "", "", 503),  // no scheduler
  };
  for (const auto& [method, path, header, body, status] : rows) {
    Client one(base_);
    std::string extra = header;
    if (extra == "Origin: OWN") extra = "Origin: " + base_;
    for (const std::string& line : client->headers) {
      if (!extra.starts_with(line.substr(0, line.find(':') + 1))) one.headers.push_back(line);
    }
    const std::string text = body;
    const Reply reply = one.send(method, path, {extra}, *method == 'P' ? &text : nullptr);
    EXPECT_EQ(reply.status, status) << method << ' ' << path << ' ' << header << ' ' << body;
    EXPECT_THAT(reply.header("content-security-policy"), HasSubstr("default-src 'none'; "));
    EXPECT_EQ(reply.header("x-content-type-options"), "nosniff");
    EXPECT_EQ(reply.json()["success"], status == 200) << reply.body;
    if (status == 200) continue;
    EXPECT_EQ(reply.json()["error"]["code"], status);
    EXPECT_EQ(reply.message().empty(), status == 503);
    EXPECT_EQ(reply.header("allow").empty(), status != 405);
  }
}

TEST_F(WebdRefusalsTest, MalformedRequestsEndTheirConnectionOnly) {
  start("webBodyLimit=\"4\"\n");
  const std::string post = "POST " + std::string(kList) +
                           " HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n";
  const std::string chunk = "400\r\n" + std::string(0x400, ' ') + "\r\n";
  std::string chunks;
  for (int i = 0; i < 2000; ++i) chunks += chunk;
  for (const auto& [bytes, status] :
       {std::pair(post + "Content-Length: 2\r\nTransfer-Encoding: chunked\r\n\r\n{}", "400"),
        std::pair(post + "Transfer-Encoding: gzip, chunked\r\n\r\n", "400"),
        std::pair(post + "Content-Length: 2\r\nContent-Length: 3\r\n\r\n{}", "400"),
        std::pair(post + "Content-Length: -1\r\n\r\n", "400"),
        std::pair(post + "Content-Length: 2x\r\n\r\n{}", "400"),
        std::pair(post + "Host: localhost\r\nContent-Length: 2\r\n\r\n{}", "400"),
        std::pair(post + "Content-Length: 4097\r\n\r\n", "413"),
        std::pair(post + "Content-Length: 99999999999999999999\r\n\r\n", "413"),
        // More than the client gets rid of before the answer comes.
        std::pair(post + "Content-Length: 9000000\r\n\r\n" + std::string(9000000, ' '), "413"),
        std::pair(post + "Transfer-Encoding: chunked\r\n\r\n" + chunks, "413"),
        std::pair(post + "X-Long: " + std::string(20000, 'x') + "\r\n\r\n", "431"),
        std::pair(post + "X-Long: " + std::string(200000, 'x') + "\r\n\r\n", "431"),
        std::pair(std::string("GET / HTTP/1.1\r\nConnection: close\r\n\r\n"), "400"),
        std::pair(std::string("GET http://localhost/ HTTP/1.1\r\nHost: localhost\r\n"
                              "Connection: close\r\n\r\n"),
                  "400"),
        std::pair(std::string("nonsense\r\n\r\n"), "")}) {
    const std::string answer = raw(bytes);
    EXPECT_THAT(answer.substr(0, answer.find(' ', 9)),
                *status == 0 ? "" : std::string("HTTP/1.1 ") + status)
        << bytes.substr(0, 300);
    EXPECT_EQ(Client(base_).get("/").status, 200);
  }
}

TEST_F(WebdRefusalsTest, LanguagesAreCheckedWhereverTheyAreNamed) {
  root_.write("etc/strings.json", "{}");
  start();
  const auto client = signed_in();
  const auto language = [&](const std::string& header) {
    return client->post("/webapi/Test.Hard/1/language", "{}", {header});
  };
  for (const auto& [name, texts] :
       {std::pair("../../etc", 404), std::pair("..", 404), std::pair(".", 404),
        std::pair("/etc", 404), std::pair("de-DE/", 200), std::pair("de-DE/../en-US", 404),
        std::pair("de%2DDE", 200), std::pair("xx-XX", 404), std::pair("\xff", 400)}) {
    const std::string text = name;
    EXPECT_EQ(language("X-Kavo-Language: " + text).status, 400) << text;
    // What a browser prefers is only a wish, and no path.
    EXPECT_THAT(language("Accept-Language: " + text).json()["data"].asString(),
                testing::AnyOf("de-DE", "en-US"))
        << text;
    EXPECT_EQ(client->get("/texts/" + text + "/strings.json").status, texts) << text;
  }
  EXPECT_EQ(language("X-Kavo-Language: de-DE").json()["data"], "de-DE");
  EXPECT_EQ(language("Accept-Language: fr, de;q=0.8").json()["data"], "de-DE");
  EXPECT_EQ(language("Accept-Language: fr").json()["data"], "en-US");
}

TEST_F(WebdRefusalsTest, SlowClientsAreToldAndKeepNobodyWaiting) {
  start("webRequestSeconds=\"1\"\nwebIdleSeconds=\"1\"\n");
  const auto client = signed_in();
  std::vector<RawConnection> slow;
  const std::string head = "POST " + std::string(kList) + " HTTP/1.1\r\nHost: localhost\r\n";
  for (int i = 0; i < 100; ++i) {
    const std::string more = i % 3 == 0 ? "" : "Content-Type: application/json\r\n";
    slow.emplace_back(port_).send(i % 3 == 2 ? head + more + "Content-Length: 9\r\n\r\n{"
                                             : (head + more).substr(0, i % 3 == 0 ? 3 : 500));
  }
  const RawConnection silent(port_);
  const RawConnection idle(port_);
  idle.send("GET / HTTP/1.1\r\nHost: localhost\r\n\r\n");
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(call(*client, kList + 8).status, 200);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 800ms);
  for (const RawConnection& connection : slow) {
    EXPECT_THAT(connection.read(), AllOf(StartsWith("HTTP/1.1 408 "), HasSubstr("\"code\":408"),
                                         HasSubstr("Content-Security-Policy: ")));
  }
  EXPECT_EQ(silent.read(), "");
  EXPECT_THAT(idle.read(), AllOf(StartsWith("HTTP/1.1 200 "), testing::Not(HasSubstr("408"))));
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 5s);
}

TEST_F(WebdRefusalsTest, AsManyRequestsWaitAsMayAndListsEndWhereTheyMust) {
  start("webWorkers=\"2\"\nwebThreads=\"1\"\nwebInFlight=\"1\"\nwebListResults=\"100\"\n");
  const auto client = signed_in();
  for (const auto& [size, status] : {std::pair("100", 200), std::pair("101", 413)}) {
    EXPECT_EQ(call(*client, "Test.Hard/1/list", R"({"size": )" + std::string(size) + "}").status,
              status);
  }
  // One served and one waiting in each of the two workers.
  std::vector<std::future<Reply>> replies;
  for (int i = 0; i < 12; ++i) {
    replies.push_back(std::async(std::launch::async, [&] {
      return call(*signed_in(), "Test.Hard/1/wait", R"({"file": ")" + path("go").string() + "\"}");
    }));
  }
  const auto done = [](const std::future<Reply>& reply) {
    return reply.wait_for(0s) == std::future_status::ready;
  };
  EXPECT_TRUE(eventually([&] { return std::count_if(replies.begin(), replies.end(), done) >= 8; }));
  root_.write("go", "");
  int served = 0;
  for (auto& future : replies) {
    const Reply reply = future.get();
    served += reply.status == 200 ? 1 : 0;
    if (reply.status == 200) continue;
    EXPECT_EQ(reply.status, 503);
    EXPECT_EQ(reply.header("retry-after"), "1");
  }
  EXPECT_GE(served, 2);
  EXPECT_LE(served, 4);
}

}  // namespace
