// The examples of docs/api.md that call the server: run as they stand. API_DOCUMENT and KAVO come
// from the build.
#include "webd_fixture.h"

namespace {

class WebdDocumentsTest : public WebdTest {
 protected:
  struct Session {
    std::string commands;
    std::string answers;
  };

  // The commands of a section's examples, and what it shows as their answers.
  static Session session_of(const std::string& document, const std::string& title) {
    std::ifstream lines(document);
    Session session;
    bool inside = false;
    bool command = false;
    for (std::string line; std::getline(lines, line);) {
      if (line.starts_with("# ")) inside = line == "# " + title;
      if (!inside || !line.starts_with("    ")) continue;
      if (line.starts_with("    $ ")) {
        session.commands += line.substr(6) + "\n";
      } else if (command) {
        session.commands += line + "\n";
      } else if (!session.commands.empty()) {
        session.answers += line.substr(4) + "\n";
      }
      // A command goes on after a backslash, and inside of quotes.
      const auto quotes = std::count(session.commands.begin(), session.commands.end(), '\'');
      command = session.commands.ends_with("\\\n") || quotes % 2 == 1;
    }
    return session;
  }
};

TEST_F(WebdDocumentsTest, ExamplesAnswerAsTheyAreShown) {
  add_module(TASK_SCHEDULER);
  start();
  const Session session = session_of(API_DOCUMENT, "Over HTTP");
  ASSERT_GE(std::count(session.answers.begin(), session.answers.end(), '\n'), 8);
  // The server stands on another port here.
  root_.write(".curlrc", "connect-to = 127.0.0.1:5050:127.0.0.1:" + std::to_string(port_) + "\n");
  root_.write("session", "set -e\ncd " + root_.path().string() +
                             "\nPATH=" + std::filesystem::path(KAVO).parent_path().string() +
                             ":$PATH\nexport CURL_HOME=$PWD\n" + session.commands);
  const pid_t shell = spawn({"/bin/bash", path("session")}, path("answers"), path("errors"));
  int status = 0;
  waitpid(shell, &status, 0);
  EXPECT_EQ(status, 0) << read("errors");
  EXPECT_EQ(read("answers"), session.answers);
}

}  // namespace
