#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <thread>

#include <xlibc.h>
#include "base/errors.h"
#include "base/utf8.h"

namespace {

TEST(ErrorState, IsOfTheThreadAndStartsClear) {
  XLIBCErrSetEx(7, "here", 12);
  std::thread([] {
    EXPECT_EQ(XLIBCErrGet(), 0);
    EXPECT_STREQ(XLIBCErrorGetFile(), "");
    EXPECT_EQ(XLIBCErrorGetLine(), 0);
    XLIBCErrSetEx(8, nullptr, 1);
    EXPECT_STREQ(XLIBCErrorGetFile(), "");
  }).join();
  EXPECT_EQ(XLIBCErrGet(), 7);
  EXPECT_STREQ(XLIBCErrorGetFile(), "here");
  EXPECT_EQ(XLIBCErrorGetLine(), 12);
}

struct Replacement {
  std::string text;
  const char* from;
  const char* to;
  size_t size;  // of the buffer
  int ignore_case;
  int count;  // expected, as is the result
  const char* result;
};

TEST(Replace, Rows) {
  // clang-format off
  const Replacement rows[] = {
      {"SFTP and SFTP", "SFTP", "#tree:leaf_sftp#", 64, 0, 2, "#tree:leaf_sftp# and #tree:leaf_sftp#"},
      {"aaa", "aa", "b", 8, 0, 1, "ba"},
      {"aaaa", "a", "aa", 9, 0, 4, "aaaaaaaa"},  // exactly full; replacements are not rescanned
      {"aaaa", "a", "aa", 8, 0, -1, "aaaa"},     // one byte short
      {"xay", "a", "", 4, 0, 1, "xy"},
      {"aXbXc", "X", "--", 8, 0, 2, "a--b--c"},  // the unread text is never overwritten
      {"XbXcX", "X", "12345", 18, 0, 3, "12345b12345c12345"},
      {"none", "FTP", "x", 5, 0, 0, "none"},  // a full buffer without a match is fine
      {"ftp Ftp", "FTP", "x", 16, 0, 0, "ftp Ftp"},
      {"ftp Ftp", "FTP", "x", 16, 1, 2, "x x"},
      {"\xc3\x84[", "\xc3\xa4{", "x", 8, 1, 0, "\xc3\x84["},  // only ASCII letters have cases
      {"abc", "", "x", 16, 0, -1, "abc"},
      {"abc", nullptr, "x", 16, 0, -1, "abc"},
      {"", "a", "b", 1, 0, 0, ""}};
  // clang-format on
  for (const Replacement& row : rows) {
    std::string buffer(row.size + 1, '\x7f');  // one guard byte behind
    buffer.replace(0, row.text.size() + 1, row.text.c_str(), row.text.size() + 1);
    EXPECT_EQ(XLIBCStrReplace(buffer.data(), row.from, row.to, row.ignore_case, row.size),
              row.count)
        << row.text;
    EXPECT_STREQ(buffer.c_str(), row.result);
    EXPECT_EQ(buffer[row.size], '\x7f') << row.text;
  }
  char open[] = {'a', 'b', 'c'};  // without its end
  EXPECT_EQ(XLIBCStrReplace(open, "a", "x", 0, sizeof open), -1);
  EXPECT_EQ(XLIBCErrGet(), kavo::kInvalidArgument);
  EXPECT_EQ(open[0], 'a');
}

TEST(CleanText, IsUtf8WithoutZeroBytes) {
  using std::string_view_literals::operator""sv;
  for (const std::string_view text :
       {"", "plain", "\x7f", "\xc2\x80", "\xdf\xbf", "\xe0\xa0\x80", "\xed\x9f\xbf", "\xee\x80\x80",
        "\xef\xbf\xbf", "\xf0\x90\x80\x80", "\xf4\x8f\xbf\xbf", "gr\xc3\xbc\xc3\x9f"}) {
    EXPECT_TRUE(kavo::is_clean_text(text)) << text;
  }
  for (const std::string_view text :
       {"\0"sv, "a\0b"sv, "\x80"sv, "\xbf"sv, "a\xc3"sv, "\xc3("sv, "\xe2\x82"sv, "\xf0\x9f\x98"sv,
        "\xc0\x80"sv, "\xc1\xbf"sv, "\xe0\x9f\xbf"sv, "\xf0\x8f\xbf\xbf"sv,  // overlong
        "\xed\xa0\x80"sv, "\xed\xbf\xbf"sv,                                  // surrogates
        "\xf4\x90\x80\x80"sv, "\xf8\x88\x80\x80\x80"sv, "\xfe"sv, "\xff"sv}) {
    EXPECT_FALSE(kavo::is_clean_text(text)) << testing::PrintToString(std::string(text));
  }
}

}  // namespace
