#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <tuple>

#include <kavopackage.h>
#include <xlibc.h>
#include "packages/errors.h"
#include "packages/manifest.h"
#include "temporary_folder.h"

namespace {

using KAVOPackageTool::PackageInfo;
using KAVOPackageTool::PackageManager;
using testing::ElementsAre;

class Packages : public testing::Test {
 protected:
  void install(const std::string& name, const std::string& manifest) const {
    root_.write("usr/kavo/packages/" + name + "/manifest.json", manifest);
  }

  const TemporaryRoot root_;
};

TEST_F(Packages, ListsFoldersInByteOrder) {
  install("b", R"({"name": "b"})");
  install("B", "broken");
  install("a \"b\"\n", R"({"name": "a \"b\"\n"})");
  install(".hidden", R"({"name": ".hidden"})");
  install("-rf", R"({"name": "-rf"})");
  const std::filesystem::path folder = root_.path() / "usr/kavo/packages";
  std::filesystem::create_directory(folder / "empty");
  std::filesystem::create_directory_symlink("b", folder / "link");
  root_.write("usr/kavo/packages/file", "");

  PackageManager packages;
  ASSERT_TRUE(packages.init());
  EXPECT_THAT(packages.enumPackages(nullptr), ElementsAre("B", "a \"b\"\n", "b", "empty"));

  // An instance shows what is there when it is opened.
  std::filesystem::remove_all(folder);
  ASSERT_TRUE(packages.init());
  EXPECT_THAT(packages.enumPackages(nullptr), ElementsAre());
  root_.write("usr/kavo/packages", "not a folder");
  EXPECT_FALSE(packages.init());
  EXPECT_EQ(XLIBCErrGet(), kavo::kPackagesUnreadable);
}

TEST_F(Packages, TellsWhatTheManifestSays) {
  install("a", R"({"name": "a", "display_name": "Für alle", "startable": true,
                   "units": ["a.service", "a@1.socket"], "other": [1]})");
  install("b", R"({"name": "b", "startable": true, "script": "bin/control"})");
  install("c", R"({"name": "c", "startable": false})");
  const PackageManager packages;
  PackageInfo info;
  for (const auto& [name, display_name, can_be_started] :
       {std::tuple("a", "Für alle", true), std::tuple("c", "c", false)}) {
    ASSERT_TRUE(packages.getPackageInfo(name, info, nullptr));
    EXPECT_EQ(info.display_name, display_name);
    EXPECT_EQ(info.can_be_started, can_be_started);
  }
  EXPECT_THAT(kavo::read_manifest("a")->units, ElementsAre("a.service", "a@1.socket"));
  EXPECT_EQ(kavo::read_manifest("b")->script, "bin/control");
}

TEST_F(Packages, RefusesWhatIsNotInstalledOrBroken) {
  install("a", R"({"name": "a"})");
  const auto refused = [](const std::string& name, int code) {
    PackageInfo info{"untouched", true};
    XLIBCErrSetEx(0, "", 0);
    return !PackageManager().getPackageInfo(name, info, nullptr) && XLIBCErrGet() == code &&
           info.display_name == "untouched";
  };
  for (const char* name : {"b", "", ".", "..", "../packages/a", "a/", "-a"}) {
    EXPECT_TRUE(refused(name, kavo::kPackageNotInstalled)) << name;
  }
  // clang-format off
  for (const std::string& manifest : std::initializer_list<std::string>{
           "", "[]", "{", "{}", R"({"name": "b"})", R"({"name": 1})", R"({"name": "a"} x)",
           R"({"name": "a", "display_name": ""})", R"({"name": "a", "display_name": 3})",
           R"({"name": "a", "display_name": "x\u0000y"})", R"({"name": "a", "startable": 1})",
           R"({"name": "a", "startable": true})", R"({"name": "a", "units": []})", R"({"name": "a", "units": "a.service"})",
           R"({"name": "a", "units": ["a.service", 1]})", R"({"name": "a", "units": ["--now.service"]})",
           R"({"name": "a", "units": ["*.service"]})", R"({"name": "a", "units": ["a"]})",
           R"({"name": "a", "script": "/bin/sh"})", R"({"name": "a", "script": "bin/../../b/control"})",
           R"({"name": "a", "script": ""})", R"({"name": "a", "script": "x", "units": ["a.service"]})",
           std::string(5000, '['), std::string((1 << 20) + 1, ' ')}) {
    // clang-format on
    install("a", manifest);
    EXPECT_TRUE(refused("a", kavo::kManifestBroken)) << manifest.substr(0, 80);
  }
}

}  // namespace
