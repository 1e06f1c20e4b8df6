// The files of the desktop, over real sockets.
#include <tuple>

#include "webd_fixture.h"

namespace {

using testing::HasSubstr;

constexpr char kWebman[] = "usr/kavo/kavoman/webman/";

class WebdFilesTest : public WebdTest {
 protected:
  void SetUp() override {
    write("assets/page-1f2e.js", std::string(2000, ' ') + "page()");
    write("assets/logo.png", "\x89PNG");
    write("app.css", "a{}");
    write("secret", "no extension");
    write(".hidden.json", "{}");
    write(".git/config.json", "{}");
    write("3rdparty/Notes/manifest.json", "{}");
    write("3rdparty/Notes/texts/en-US/strings.json", "{}");
    root_.write("usr/kavo/kavoman/outside.json", "{}");
    root_.write("etc/shadow.json", "{}");
    link("out.json", "../outside.json");
    link("absolute.json", path("etc/shadow.json"));
    link("folder", path("etc"));
    link("inside.css", "app.css");
    std::filesystem::create_directory(path(kWebman) / "folder.json");
    ASSERT_EQ(mkfifo((path(kWebman) / "pipe.json").c_str(), 0600), 0);
  }
  void write(const std::string& name, const std::string& bytes) const {
    root_.write(kWebman + name, bytes);
  }
  void link(const std::string& name, const std::filesystem::path& target) const {
    std::filesystem::create_symlink(target, path(kWebman) / name);
  }
};

TEST_F(WebdFilesTest, OnlyThePagesFilesAreServed) {
  start();
  Client client(base_);
  for (const auto& [target, status, type] : {
           std::tuple("/", 200, "text/html; charset=utf-8"),
           std::tuple("/index.html?x=../../etc", 200, "text/html; charset=utf-8"),
           std::tuple("/assets/page-1f2e.js", 200, "text/javascript; charset=utf-8"),
           std::tuple("/assets/logo.png", 200, "image/png"),
           std::tuple("/inside.css", 200, "text/css; charset=utf-8"),
           std::tuple("/assets/../app.css", 404, ""),
           std::tuple("/texts/de-DE/strings.json", 200, "application/json"),
           std::tuple("/3rdparty/Notes/texts/en-US/strings.json", 200, "application/json"),
           std::tuple("/3rdparty/Notes/manifest.json", 404, ""),
           std::tuple("/../outside.json", 404, ""),
           std::tuple("/texts/../../outside.json", 404, ""),
           std::tuple("/%2e%2e/outside.json", 404, ""),
           std::tuple("/texts%2f..%2f..%2foutside.json", 404, ""),
           std::tuple("//etc/shadow.json", 404, ""),
           std::tuple("/out.json", 404, ""),
           std::tuple("/absolute.json", 404, ""),
           std::tuple("/folder/shadow.json", 404, ""),
           std::tuple("/folder.json", 404, ""),
           std::tuple("/pipe.json", 404, ""),
           std::tuple("/secret", 404, ""),
           std::tuple("/.hidden.json", 404, ""),
           std::tuple("/.git/config.json", 404, ""),
           std::tuple("/texts/", 404, ""),
           std::tuple("/texts", 404, ""),
           std::tuple("/index.html/", 404, ""),
       }) {
    const Reply reply = client.get(target);
    EXPECT_EQ(reply.status, status) << target;
    EXPECT_EQ(reply.header("content-type"), status == 200 ? type : "application/json") << target;
    EXPECT_THAT(reply.header("content-security-policy"), HasSubstr("script-src 'self'"));
  }
}

TEST_F(WebdFilesTest, ClientsKeepWhatHasNotChanged) {
  start();
  Client client(base_);
  const Reply plain = client.get("/assets/page-1f2e.js");
  EXPECT_EQ(plain.body.size(), 2006U);
  EXPECT_THAT(plain.header("cache-control"), HasSubstr("immutable"));
  const Reply packed = client.get("/assets/page-1f2e.js", {"Accept-Encoding: br, gzip;q=0.8"});
  EXPECT_EQ(packed.header("content-encoding"), "gzip");
  EXPECT_LT(packed.body.size(), 100U);
  EXPECT_EQ(packed.header("vary"), "Accept-Encoding");
  EXPECT_NE(packed.header("etag"), plain.header("etag"));
  EXPECT_EQ(client.get("/assets/page-1f2e.js", {"Accept-Encoding: gzip;q=0"}).body, plain.body);
  const Reply head = client.send("HEAD", "/assets/page-1f2e.js", {}, nullptr);
  EXPECT_EQ(head.body, "");
  EXPECT_EQ(head.header("content-length"), "2006");

  const std::string tag = client.get("/app.css").header("etag");
  EXPECT_EQ(client.get("/app.css").header("cache-control"), "no-cache");
  for (const std::string& known : {tag, "W/" + tag, "\"x\", " + tag, std::string("*")}) {
    const Reply reply = client.get("/app.css", {"If-None-Match: " + known});
    EXPECT_EQ(reply.status, 304) << known;
    EXPECT_EQ(reply.body, "");
  }
  write("app.css", "b{}");  // of the same size
  const Reply changed = client.get("/app.css", {"If-None-Match: " + tag});
  EXPECT_EQ(changed.status, 200);
  EXPECT_EQ(changed.body, "b{}");
}

}  // namespace
