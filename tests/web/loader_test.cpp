// The loader over real libraries, most of which break the rules. FIXTURES_FOLDER comes from the
// build.
#include <gmock/gmock.h>

#include "temporary_folder.h"
#include "web/module.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// A folder of modules.
class LoaderTest : public testing::Test {
 protected:
  void add(const std::string& name, const std::string& fixture) const {
    std::filesystem::create_symlink(FIXTURES_FOLDER + fixture, folder_.path() / name);
  }
  kavo::Modules load() const { return kavo::Modules(folder_.path()); }

  TemporaryFolder folder_;
};

// The answer of a method.
Json::Value answer_of(const KAVO::APIMethod& method) {
  Json::Value parameters;
  parameters["word"] = "value";
  kavo::JsonRequest request(parameters, "en-US");
  kavo::JsonResponse response;
  kavo::call(method, request, response);
  return response.envelope();
}

// What the failure of a call says; empty when it does not fail.
std::string failure_of(const KAVO::APIMethod& method) {
  try {
    answer_of(method);
  } catch (const kavo::ModuleFailure& failure) {
    return failure.what();
  }
  return "";
}

std::string unknown(const kavo::Modules& modules, const std::string& api, int version,
                    const std::string& method) {
  try {
    modules.find(api, version, method);
  } catch (const kavo::UnknownMethod& error) {
    return error.what();
  }
  return "";
}

TEST_F(LoaderTest, ModulesThatBreakTheRulesAreToldAboutAndTheOthersServed) {
  add("10-no-table.so", "no_table.so");
  add("20-null-table.so", "null_table.so");
  add("30-null-handler.so", "null_handler.so");
  add("40-undefined.so", "undefined_symbol.so");
  folder_.write("50-text.so", "This is a text.\n");
  std::filesystem::create_directory(folder_.path() / "60-folder.so");
  add("70-dangling.so", "no_such_fixture.so");
  add("80-good.so", "good.so");
  add("90-second.so", "second.so");
  folder_.write("README", "Not a module, and not taken for one.\n");
  add("good.so.old", "good.so");

  const kavo::Modules modules = load();
  EXPECT_THAT(
      modules.failures(),
      ElementsAre(
          AllOf(HasSubstr("10-no-table.so"), HasSubstr("has no GetAPITable")),
          AllOf(HasSubstr("20-null-table.so"), HasSubstr("has no method table")),
          AllOf(HasSubstr("30-null-handler.so"), HasSubstr("Row 2 "), HasSubstr("incomplete")),
          AllOf(HasSubstr("40-undefined.so"), HasSubstr("a_table_that_nobody_has")),
          AllOf(HasSubstr("50-text.so"), HasSubstr("cannot be loaded")),
          AllOf(HasSubstr("60-folder.so"), HasSubstr("cannot be loaded")),
          AllOf(HasSubstr("70-dangling.so"), HasSubstr("cannot be loaded")),
          AllOf(HasSubstr("90-second.so"), HasSubstr("Test.Good 1 echo"), HasSubstr("earlier"))));
  // Eight of the good module and one of the second; nothing of a module with an incomplete row.
  EXPECT_EQ(modules.methods().size(), 9U);
  EXPECT_EQ(answer_of(modules.find("Test.Good", 1, "echo"))["data"]["word"], "value");
  EXPECT_EQ(answer_of(modules.find("Test.Good", 2, "later"))["success"], true);
  EXPECT_EQ(answer_of(modules.find("Test.Second", 1, "own"))["data"], "second");
  EXPECT_EQ(unknown(modules, "Test.NullHandler", 1, "first"),
            "There is no API \"Test.NullHandler\".");
}

TEST_F(LoaderTest, FirstModuleInByteOrderKeepsAMethod) {
  add("b.so", "good.so");
  add("a.so", "second.so");
  const kavo::Modules modules = load();
  EXPECT_EQ(answer_of(modules.find("Test.Good", 1, "echo"))["data"], "second");
  EXPECT_THAT(modules.failures(), ElementsAre(HasSubstr("b.so")));
}

TEST_F(LoaderTest, UnknownPartIsNamed) {
  add("good.so", "good.so");
  const kavo::Modules modules = load();
  EXPECT_THAT(modules.failures(), IsEmpty());
  EXPECT_THAT(unknown(modules, "Test.Bad", 1, "echo"), HasSubstr("no API \"Test.Bad\""));
  EXPECT_THAT(unknown(modules, "Test.Good", 3, "echo"), HasSubstr("no version 3"));
  EXPECT_THAT(unknown(modules, "Test.Good", 2, "echo"),
              AllOf(HasSubstr("no method \"echo\""), HasSubstr("version 2")));
  EXPECT_THAT(unknown(modules, "test.good", 1, "echo"), HasSubstr("no API"));
}

TEST_F(LoaderTest, FolderThatCannotBeReadHoldsNoModules) {
  const kavo::Modules modules(folder_.path() / "missing");
  EXPECT_THAT(modules.failures(), ElementsAre(HasSubstr("cannot be read")));
  EXPECT_THAT(modules.methods(), IsEmpty());
  EXPECT_THAT(load().failures(), IsEmpty());
}

TEST_F(LoaderTest, MethodThatBreaksItsPromiseFailsAloneWithTheReason) {
  struct Row {
    const char* method;
    const char* reason;
  };
  add("good.so", "good.so");
  const kavo::Modules modules = load();
  for (const Row& row :
       {Row{"silent", "no answer"}, Row{"twice", "more than one answer"},
        Row{"runtime_error", "the disk is on fire"}, Row{"number", "unknown exception"},
        Row{"json_error", "requires objectValue"}, Row{"answer_and_throw", "an afterthought"}}) {
    EXPECT_THAT(failure_of(modules.find("Test.Good", 1, row.method)),
                AllOf(HasSubstr(std::string("Test.Good 1 ") + row.method), HasSubstr(row.reason)));
    EXPECT_EQ(answer_of(modules.find("Test.Good", 1, "echo"))["success"], true);
  }
}

}  // namespace
