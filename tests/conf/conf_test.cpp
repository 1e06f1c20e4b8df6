#include "conf/conf.h"

#include <gmock/gmock.h>
#include <kavoconf.h>

#include <string>

#include "temporary_folder.h"

namespace {

using testing::ElementsAre;
using testing::Pair;

TEST(ParseConf, TakesKeysAndValues) {
  EXPECT_THAT(
      kavo::parse_conf("# appliance\n\nsupportNFS=\"yes\"\n \tsupportweb =\t\"no\" \r\nempty=\"\"\n"
                       "commented=\"a # b\" # c \"d\"\nescaped=\"say \\\"hi\\\" c:\\\\x = y\"\n"
                       "last=\"without a line feed\""),
      ElementsAre(Pair("commented", "a # b"), Pair("empty", ""),
                  Pair("escaped", "say \"hi\" c:\\x = y"), Pair("last", "without a line feed"),
                  Pair("supportNFS", "yes"), Pair("supportweb", "no")));
}

TEST(ParseConf, SkipsBrokenLinesOnly) {
  // clang-format off
  for (const std::string& line : std::initializer_list<std::string>{
           "key", "=\"x\"", "key=", "key=x", "key=\"x", "key=\"x\\\"", "key=\"x\\", "key=\"\\n\"", "key=\"x\" y",
           "two words=\"\"", "#key=\"x\"", "key=\"x\"\"y\"", std::string("k\0y=\"x\"", 7)}) {
    // clang-format on
    EXPECT_THAT(kavo::parse_conf("a=\"1\"\n" + line + "\nb=\"2\"\n"),
                ElementsAre(Pair("a", "1"), Pair("b", "2")))
        << line;
  }
}

TEST(ConfDef, ReadsTheFileAtEveryCall) {
  const TemporaryRoot root;
  EXPECT_EQ(KavoConf::Def("supportNFS", "no"), "no");
  root.write("etc/kavo/kavo.conf", "supportNFS=\"no\"\nsupportNFS=\"yes\"\nempty=\"\"\n");
  EXPECT_EQ(KavoConf::Def("supportNFS", "no"), "yes");  // the last of two lines
  EXPECT_EQ(KavoConf::Def("empty", "fallback"), "");
  EXPECT_EQ(KavoConf::Def("supportnfs", "fallback"), "fallback");
  root.write("etc/kavo/kavo.conf", "supportNFS=\"no\"\n");
  EXPECT_EQ(KavoConf::Def("supportNFS", "yes"), "no");
}

}  // namespace
