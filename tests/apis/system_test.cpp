// Accounts, shares and languages.

#include <pwd.h>

#include "apis_fixture.h"

namespace {

using testing::HasSubstr;

TEST_F(ApisTest, AccountsAreRootAndThoseOfPeople) {
  const Json::Value accounts = call("Account", "list")["accounts"];
  std::vector<std::string> names;
  for (const Json::Value& account : accounts) {
    names.push_back(account["name"].asString());
    const passwd* entry = getpwnam(names.back().c_str());
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(account["uid"].asUInt(), entry->pw_uid);
    EXPECT_TRUE(account["full_name"].isString());
  }
  EXPECT_THAT(names, testing::Contains("root"));
  for (const char* service : {"nobody", "daemon", "bin", "sync"}) {
    EXPECT_THAT(names, testing::Not(testing::Contains(service)));
  }
  EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
}

TEST_F(ApisTest, SharesByNameOrWhyTheyCannotBeRead) {
  EXPECT_EQ(call("Share", "list"), json(R"({"shares": []})"));
  root_.write("etc/kavo/shares.json",
              R"({"shares": [{"name": "photo ä", "path": "/v/p", "recycle_bin": true},
                             {"name": "music", "path": "/v/m"}]})");
  EXPECT_EQ(call("Share", "list"),
            json(R"({"shares": [{"name": "music", "path": "/v/m", "recycle_bin": false},
                                {"name": "photo ä", "path": "/v/p", "recycle_bin": true}]})"));
  root_.write("etc/kavo/shares.json", R"({"shares": [{"name": "../etc", "path": "/v"}]})");
  EXPECT_THAT(error("Share", "list"), testing::Pair(117, HasSubstr("no valid name")));
}

TEST_F(ApisTest, LanguagesThatCanBeReadByTheirOwnNames) {
  EXPECT_EQ(call("Language", "list"), json(R"({"languages": []})"));
  const std::string texts = "usr/kavo/kavoman/webman/texts/";
  root_.write(texts + "de-DE/strings.json", R"({"common": {"language_name": "Deutsch"}})");
  root_.write(texts + "en-US/strings.json", R"({"common": {"run": "Run"}})");
  root_.write(texts + "fr-FR/strings.json", R"({"common": {"language_name": ["?"]}})");
  root_.write(texts + "it-IT/strings.json", R"({"common": "none"})");
  root_.write(texts + "nl-NL/strings.json", R"({"common": )");
  root_.write(texts + "xx/other.json", "{}");
  EXPECT_EQ(call("Language", "list"), json(R"({"languages": [{"id": "de-DE", "name": "Deutsch"},
                                               {"id": "en-US", "name": "en-US"},
                                               {"id": "fr-FR", "name": "fr-FR"},
                                               {"id": "it-IT", "name": "it-IT"}]})"));
}

}  // namespace
