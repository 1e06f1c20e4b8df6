// The loader over real libraries, most of which break the rules. FIXTURES_FOLDER comes from the
// build.
#include <gmock/gmock.h>

#include <json/writer.h>

#include <tuple>

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

// The answer of a method, or what its failure or that of finding it says.
std::string answer_of(const kavo::Modules& modules, const std::string& api, int version,
                      const std::string& method) {
  Json::Value parameters;
  parameters["word"] = "value";
  kavo::JsonRequest request(parameters, "en-US");
  kavo::JsonResponse response;
  try {
    kavo::call(modules.find(api, version, method), request, response);
    return Json::FastWriter().write(response.envelope()["data"]);
  } catch (const kavo::ModuleFailure& failure) {
    return failure.what();
  } catch (const kavo::UnknownMethod& error) {
    return error.what();
  }
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
  for (const auto& [api, version, method, answer] :
       {std::tuple("Test.Good", 1, "echo", "{\"word\":\"value\"}"),
        std::tuple("Test.Good", 2, "later", "{\"word\":\"value\"}"),
        std::tuple("Test.Second", 1, "own", "\"second\""),
        std::tuple("Test.NullHandler", 1, "first", "no API \"Test.NullHandler\""),
        std::tuple("test.good", 1, "echo", "no API \"test.good\""),
        std::tuple("Test.Good", 3, "echo", "no version 3"),
        std::tuple("Test.Good", 2, "echo", "no method \"echo\" in version 2"),
        // A method that breaks its promise fails alone with the reason.
        std::tuple("Test.Good", 1, "silent", "Test.Good 1 silent gave no answer"),
        std::tuple("Test.Good", 1, "twice", "Test.Good 1 twice gave more than one answer"),
        std::tuple("Test.Good", 1, "runtime_error", "the disk is on fire"),
        std::tuple("Test.Good", 1, "number", "unknown exception"),
        std::tuple("Test.Good", 1, "json_error", "requires objectValue"),
        std::tuple("Test.Good", 1, "answer_and_throw", "an afterthought"),
        std::tuple("Test.Good", 1, "echo", "{\"word\":\"value\"}")}) {
    EXPECT_THAT(answer_of(modules, api, version, method), HasSubstr(answer)) << method;
  }
}

TEST_F(LoaderTest, FirstModuleInByteOrderKeepsAMethod) {
  add("b.so", "good.so");
  add("a.so", "second.so");
  const kavo::Modules modules = load();
  EXPECT_EQ(answer_of(modules, "Test.Good", 1, "echo"), "\"second\"\n");
  EXPECT_THAT(modules.failures(), ElementsAre(HasSubstr("b.so")));
}

TEST_F(LoaderTest, FolderThatCannotBeReadHoldsNoModules) {
  const kavo::Modules modules(folder_.path() / "missing");
  EXPECT_THAT(modules.failures(), ElementsAre(HasSubstr("cannot be read")));
  EXPECT_THAT(modules.methods(), IsEmpty());
  EXPECT_THAT(load().failures(), IsEmpty());
}

}  // namespace
