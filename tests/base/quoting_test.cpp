#include <gtest/gtest.h>

#include <array>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <xlibc.h>
#include "base/errors.h"
#include "shell_command.h"

namespace {

// What quoting must not get wrong: each byte alone, all pairs of awkward ones, random texts.
std::vector<std::string> texts_to_quote() {
  // clang-format off
  std::vector<std::string> texts = {"photo", "-rf", "~", "~root", "A=b", "a:~", "$HOME", "$(id)", "`id`", "a'b", "\\\n",
                                    "\"$`\\", "\\\\\\", "{a,b}", "caf\u00e9"};
  // clang-format on
  for (int byte = 1; byte <= 255; ++byte) texts.emplace_back(1, static_cast<char>(byte));

  const std::string awkward =
      "'\"\\$`\n\t *?[~#!&;|<>(){}=%^]a\r\x80\x81\x82\x83\x84\x85\x86\x87\x88\xff\xc3\xa9";
  for (const char first : awkward) {
    for (const char second : awkward) texts.push_back({first, second});
  }

  std::mt19937 random(20240229);  // the same texts in every run
  std::uniform_int_distribution<size_t> length(3, 40);
  std::uniform_int_distribution<int> any_byte(1, 255);
  std::uniform_int_distribution<size_t> awkward_byte(0, awkward.size() - 1);
  for (int i = 0; i < 300; ++i) {
    std::string bytes(length(random), ' ');
    for (char& c : bytes) c = static_cast<char>(any_byte(random));
    texts.push_back(bytes);
    for (char& c : bytes) c = awkward[awkward_byte(random)];
    texts.push_back(bytes);
  }
  return texts;
}

std::string quoted(const std::string& text) {
  std::string buffer(2 * text.size() + 2, '\x7f');
  const int length = XLIBCEncShParam(text.c_str(), buffer.data(), buffer.size());
  if (length < 0) throw std::runtime_error("does not fit");
  EXPECT_EQ(std::char_traits<char>::length(buffer.c_str()), static_cast<size_t>(length));
  buffer.resize(static_cast<size_t>(length));
  return buffer;
}

TEST(Quoting, ShellsReadTextsBack) {
  const std::vector<std::string> texts = texts_to_quote();
  std::string script = "# every word, closed by a zero byte\n";
  for (const std::string& text : texts) script += "printf '%s\\0' " + quoted(text) + "\n";
  const TemporaryFolder folder;
  folder.write("script", script);
  for (const std::string shell : {"/bin/sh", "LC_ALL=C bash", "LC_ALL=C.UTF-8 bash"}) {
    const Finished done = run_in(folder, shell + " script");
    EXPECT_EQ(done.code, 0) << shell;
    std::istringstream output(done.out);
    for (const std::string& text : texts) {
      std::string read_back;
      ASSERT_TRUE(std::getline(output, read_back, '\0')) << testing::PrintToString(text);
      ASSERT_EQ(read_back, text) << shell << quoted(text);
    }
    EXPECT_EQ(output.get(), std::char_traits<char>::eof());
  }
}

TEST(Quoting, SmallerThanNeededFailsAndWritesNothingBeyond) {
  for (const std::string& text : texts_to_quote()) {
    const size_t needed = quoted(text).size() + 1;
    for (size_t size = 0; size < needed; ++size) {
      std::string buffer(needed + 1, '\x7f');
      XLIBCErrSetEx(0, "", 0);
      ASSERT_EQ(XLIBCEncShParam(text.c_str(), buffer.data(), size), -1);
      ASSERT_EQ(XLIBCErrGet(), kavo::kBufferTooSmall);
      if (size > 0) {
        ASSERT_EQ(buffer[0], '\0');
      }
      ASSERT_EQ(buffer.find_first_not_of('\x7f', size > 0 ? 1 : 0), std::string::npos);
    }
    std::string exact(needed, '\x7f');
    ASSERT_EQ(XLIBCEncShParam(text.c_str(), exact.data(), needed), static_cast<int>(needed) - 1);
  }
}

TEST(Quoting, EmptyTextAndNullArguments) {
  std::array<char, 2> buffer = {'x', 'y'};
  EXPECT_EQ(XLIBCEncShParam("", buffer.data(), buffer.size()), 0);
  EXPECT_STREQ(buffer.data(), "");
  EXPECT_EQ(XLIBCEncShParam(nullptr, buffer.data(), buffer.size()), -1);
  EXPECT_EQ(XLIBCErrGet(), kavo::kInvalidArgument);
}

}  // namespace
