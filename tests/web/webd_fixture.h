// kavo-webd as a program, on a root and a port of its own, and clients for it.
#pragma once

#include <arpa/inet.h>
#include <curl/curl.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/descriptor.h"
#include "base/strict_json.h"
#include "temporary_folder.h"

using namespace std::chrono_literals;

struct Reply {
  long status = 0;                             // 0: none
  std::map<std::string, std::string> headers;  // names in lower case
  std::string body;

  Json::Value json() const { return kavo::parse_strict_json(body).value_or(Json::Value()); }
  std::string header(const std::string& name) const {
    const auto found = headers.find(name);
    return found == headers.end() ? "" : found->second;
  }
  // What a refusal says.
  std::string message() const { return json()["error"]["data"]["msg"].asString(); }
};

// One connection, kept for as long as the server keeps it. One thread at a time.
class Client {
 public:
  explicit Client(std::string base) : base_(std::move(base)), curl_(curl_easy_init()) {}
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;
  ~Client() { curl_easy_cleanup(curl_); }

  std::vector<std::string> headers;  // "Name: value", sent with each request
  std::string interface;             // the address to come from

  Reply get(const std::string& path, const std::vector<std::string>& more = {}) {
    return send("GET", path, more, nullptr);
  }
  Reply post(const std::string& path, const std::string& body,
             const std::vector<std::string>& more = {}) {
    return send("POST", path, more, &body);
  }
  Reply send(const std::string& method, const std::string& path,
             const std::vector<std::string>& more, const std::string* body) {
    Reply reply;
    curl_easy_reset(curl_);
    set(CURLOPT_URL, (base_ + path).c_str());
    set(CURLOPT_CUSTOMREQUEST, method.c_str());
    set(CURLOPT_PATH_AS_IS, 1L);
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_TIMEOUT, 60L);
    set(CURLOPT_SSL_VERIFYPEER, 0L);
    set(CURLOPT_SSL_VERIFYHOST, 0L);
    set(CURLOPT_NOBODY, method == "HEAD" ? 1L : 0L);
    if (!interface.empty()) set(CURLOPT_INTERFACE, interface.c_str());
    if (body != nullptr) {
      set(CURLOPT_POSTFIELDSIZE, static_cast<long>(body->size()));
      set(CURLOPT_POSTFIELDS, body->c_str());
      set(CURLOPT_CUSTOMREQUEST, method.c_str());
    }
    curl_slist* list = curl_slist_append(nullptr, "Expect:");
    for (const std::vector<std::string>& lines : {headers, more}) {
      for (const std::string& line : lines) list = curl_slist_append(list, line.c_str());
    }
    set(CURLOPT_HTTPHEADER, list);
    set(CURLOPT_WRITEFUNCTION, &take_body);
    set(CURLOPT_WRITEDATA, &reply.body);
    set(CURLOPT_HEADERFUNCTION, &take_header);
    set(CURLOPT_HEADERDATA, &reply);
    if (curl_easy_perform(curl_) == CURLE_OK) {
      curl_easy_getinfo(curl_, CURLINFO_RESPONSE_CODE, &reply.status);
    }
    curl_slist_free_all(list);
    return reply;
  }

 private:
  template <typename Value>
  void set(CURLoption option, Value value) {
    curl_easy_setopt(curl_, option, value);
  }
  static std::size_t take_body(char* bytes, std::size_t, std::size_t size, void* body) {
    static_cast<std::string*>(body)->append(bytes, size);
    return size;
  }
  static std::size_t take_header(char* bytes, std::size_t, std::size_t size, void* reply) {
    const std::string line(bytes, size);
    const std::size_t colon = line.find(": ");
    if (colon == std::string::npos) return size;
    std::string name = line.substr(0, colon);
    for (char& c : name) c = static_cast<char>(std::tolower(c));
    static_cast<Reply*>(reply)->headers[name] =
        line.substr(colon + 2, line.find_last_not_of("\r\n") - colon - 1);
    return size;
  }

  const std::string base_;
  CURL* curl_;
};

// A plain connection.
class RawConnection {
 public:
  explicit RawConnection(int port) : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    EXPECT_EQ(connect(socket_.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  }
  void send(const std::string& bytes) const {
    (void)::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
  }
  // All that comes until the server closes.
  std::string read() const {
    std::string text;
    char bytes[4096];
    ssize_t size = 0;
    while ((size = recv(socket_.get(), bytes, sizeof bytes, 0)) > 0) {
      text.append(bytes, static_cast<std::size_t>(size));
    }
    return text;
  }

 private:
  kavo::Descriptor socket_;
};

class WebdTest : public testing::Test {
 protected:
  WebdTest() {
    std::filesystem::create_directories(path("usr/kavo/lib/webapi"));
    root_.write("usr/kavo/kavoman/webman/index.html", "<!doctype html><title>page</title>");
    std::filesystem::copy(TEXTS_FOLDER, path("usr/kavo/kavoman/webman/texts"),
                          std::filesystem::copy_options::recursive);
  }
  void TearDown() override {
    end(SIGTERM);
    EXPECT_THAT(read("log"), testing::Not(testing::HasSubstr("Sanitizer")));
  }

  std::filesystem::path path(const std::string& relative) const { return root_.path() / relative; }

  void add_module(const std::string& file) const {
    std::filesystem::create_symlink(
        file, path("usr/kavo/lib/webapi") / std::filesystem::path(file).filename());
  }

  // Starts the server and waits until it serves.
  void start(const std::string& configuration = "", std::vector<std::string> arguments = {}) {
    root_.write("etc/kavo/kavo.conf", configuration);
    arguments.insert(arguments.begin(), {KAVO_WEBD, "--print-link", "--verbose"});
    if (std::find(arguments.begin(), arguments.end(), "--listen") == arguments.end()) {
      arguments.insert(arguments.end(), {"--port", "0"});
    }
    process_ = spawn(arguments, path("out"), path("log"));
    ASSERT_TRUE(eventually([&] { return read("out").find("#sign-in=") != std::string::npos; }))
        << read("log");
    const std::string out = read("out");
    const std::size_t url = out.find("http");
    base_ = out.substr(url, out.find_first_of("/\n", url + 8) - url);
    port_ = std::stoi(base_.substr(base_.rfind(':') + 1));
    link_ = out.substr(out.find("#sign-in=") + 9, 64);
  }

  // Its exit code.
  int end(int signal) {
    if (process_ <= 0) return -1;
    kill(process_, signal);
    int status = 0;
    waitpid(process_, &status, 0);
    process_ = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  // A client that is signed in.
  std::unique_ptr<Client> signed_in() {
    if (cookie_.empty()) {
      const Reply reply =
          Client(base_).post("/webapi/sign-in", R"({"link": ")" + link_ + "\"}", {kJson});
      EXPECT_EQ(reply.status, 200) << reply.body;
      cookie_ = "Cookie: " + reply.header("set-cookie").substr(0, 77);
      token_ = "X-Kavo-Token: " + reply.json()["data"]["token"].asString();
    }
    auto client = std::make_unique<Client>(base_);
    client->headers = {kJson, cookie_, token_};
    return client;
  }

  static Reply call(Client& client, const std::string& method, const std::string& body = "{}") {
    return client.post("/webapi/" + method, body);
  }

  std::string read(const std::string& relative) const {
    std::ifstream stream(path(relative), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  template <typename Holds>
  static bool eventually(Holds holds) {
    for (int i = 0; i < 2000; ++i) {
      if (holds()) return true;
      std::this_thread::sleep_for(5ms);
    }
    return false;
  }

  static pid_t spawn(const std::vector<std::string>& arguments, const std::string& out,
                     const std::string& err) {
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, out.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&files, STDERR_FILENO, err.c_str(),
                                     O_WRONLY | O_CREAT | O_APPEND, 0600);
    std::vector<char*> pointers;
    for (const std::string& argument : arguments) {
      pointers.push_back(const_cast<char*>(argument.c_str()));
    }
    pointers.push_back(nullptr);
    pid_t process = -1;
    EXPECT_EQ(posix_spawn(&process, pointers[0], &files, nullptr, pointers.data(), environ), 0);
    posix_spawn_file_actions_destroy(&files);
    return process;
  }

  static constexpr char kJson[] = "Content-Type: application/json";

  TemporaryRoot root_;
  pid_t process_ = 0;
  std::string base_;  // "http://127.0.0.1:12345"
  int port_ = 0;
  std::string link_;
  std::string cookie_;  // as header lines
  std::string token_;
};
