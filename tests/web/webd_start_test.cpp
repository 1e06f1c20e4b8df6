// How the server is started, and what it listens on.
#include <tuple>

#include "webd_fixture.h"

namespace {

using testing::HasSubstr;

class WebdStartTest : public WebdTest {
 protected:
  // The exit code of a command line that is refused; what it says is in "log".
  int run(std::vector<std::string> arguments) const {
    std::filesystem::remove(path("log"));
    arguments.insert(arguments.begin(), KAVO_WEBD);
    const pid_t process = spawn(arguments, path("out2"), path("log"));
    int status = 0;
    waitpid(process, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  bool make_certificate() const {
    const std::string command =
        "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 "
        "-nodes -subj /CN=localhost -days 2 -keyout " +
        path("key.pem").string() + " -out " + path("cert.pem").string() + " 2>/dev/null";
    return std::system(command.c_str()) == 0;
  }
};

TEST_F(WebdStartTest, WrongCommandLinesAreRefusedWithTheReason) {
  root_.write("empty.pem", "");
  start();
  const std::string port = std::to_string(port_);
  for (const auto& [arguments, code, message] :
       {std::tuple(std::vector<std::string>{"--port", port}, 1, "127.0.0.1:" + port + " is taken"),
        std::tuple(std::vector<std::string>{"--listen", "[::1]:" + port}, 1,
                   "[::1]:" + port + " is taken"),
        std::tuple(std::vector<std::string>{"--listen", "0.0.0.0"}, 2, std::string("plain text")),
        std::tuple(std::vector<std::string>{"--listen", "[::]:0"}, 2, std::string("plain text")),
        std::tuple(std::vector<std::string>{"--listen", "localhost"}, 2,
                   std::string("not a numeric address")),
        std::tuple(std::vector<std::string>{"--listen", "127.0.0.1:70000"}, 2,
                   std::string("not a port")),
        std::tuple(std::vector<std::string>{"--listen", "192.0.2.1:0", "--proxy", "127.0.0.1"}, 1,
                   std::string("none of the addresses")),
        std::tuple(std::vector<std::string>{"--proxy", "proxy.example"}, 2,
                   std::string("not a numeric address")),
        std::tuple(std::vector<std::string>{"--key", path("empty.pem")}, 2,
                   std::string("belong together")),
        std::tuple(std::vector<std::string>{"--key", path("none"), "--certificate", path("none")},
                   2, std::string("cannot be read")),
        std::tuple(std::vector<std::string>{"--port", "-1"}, 2, std::string("--port")),
        std::tuple(std::vector<std::string>{"--nonsense"}, 2, std::string("--nonsense"))}) {
    EXPECT_EQ(run(arguments), code) << arguments.back();
    EXPECT_THAT(read("log"), HasSubstr(message));
  }
  EXPECT_EQ(run({"--help"}), 0);
  EXPECT_EQ(Client(base_).get("/").status, 200);
  EXPECT_EQ(Client("http://[::1]:" + port).get("/").status, 200);
}

TEST_F(WebdStartTest, BeyondTheLoopbackWithACertificate) {
  if (!make_certificate()) GTEST_SKIP() << "There is no openssl.";
  root_.write("other.pem", "no key");
  EXPECT_EQ(run({"--port", "0", "--certificate", path("cert.pem"), "--key", path("other.pem")}), 1);
  EXPECT_THAT(read("log"), HasSubstr("No worker can do its work"));
  start("", {"--listen", "0.0.0.0:0", "--certificate", path("cert.pem"), "--key", path("key.pem"),
             "--host", "NAS.example"});
  base_ = "https://127.0.0.1:" + std::to_string(port_);
  Client client(base_);
  EXPECT_EQ(client.get("/", {"Host: nas.example", "Origin: https://nas.example"}).status, 200);
  EXPECT_EQ(client.get("/", {"Host: other.example"}).status, 421);
  EXPECT_EQ(client.get("/", {"Origin: http://127.0.0.1:" + std::to_string(port_)}).status, 403);
  const Reply reply = client.post("/webapi/sign-in", R"({"link": ")" + link_ + "\"}", {kJson});
  EXPECT_THAT(reply.header("set-cookie"), HasSubstr("; Secure"));
  EXPECT_EQ(Client("http://127.0.0.1:" + std::to_string(port_)).get("/").status, 0);
  const RawConnection stalled(port_);  // in its handshake
  EXPECT_EQ(client.get("/").status, 200);
}

TEST_F(WebdStartTest, BehindAProxyThatIsNamed) {
  start("", {"--listen", "127.0.0.1:0", "--proxy", "127.0.0.3", "--host", "nas.example"});
  for (const auto& [from, address, secure] :
       {std::tuple("127.0.0.3", "192.0.2.7", true), std::tuple("127.0.0.4", "127.0.0.4", false)}) {
    Client client(base_);
    client.interface = from;
    client.headers = {kJson, "Host: nas.example", "X-Forwarded-For: 10.9.9.9, 192.0.2.7",
                      "X-Forwarded-Proto: https"};
    EXPECT_EQ(client.get("/", {"Origin: https://nas.example"}).status, secure ? 200 : 403);
    const Reply reply = client.post("/webapi/sign-in", R"({"link": ")" + link_ + "\"}");
    EXPECT_EQ(reply.header("set-cookie").ends_with("; Secure"), secure);
    EXPECT_THAT(read("log"), HasSubstr("from=" + std::string(address) + " method=sign-in"));
  }
}

}  // namespace
