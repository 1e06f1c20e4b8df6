#include <climits>
#include <cstring>
#include <string_view>

#include <xlibc.h>
#include "base/errors.h"

namespace {

// Characters that mean nothing to a shell wherever they stand in a word. '=' and '~' are not among
// them: at the start of a command the one makes an assignment, the other a home folder.
bool is_plain(char c) {
  constexpr std::string_view kPlain =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_./:@%+,-";
  return kPlain.find(c) != std::string_view::npos;
}

// Characters that keep a meaning inside double quotes.
bool needs_backslash(char c) {
  return c == '$' || c == '`' || c == '"' || c == '\\';
}

// How a text becomes one word.
enum class Form { kBare, kDoubleQuoted, kBackslashed };

struct Quoting {
  Form form;
  size_t length;  // of the word, without the terminating zero
};

// Why a text of n bytes, k of which need a backslash, always fits into 2n + 2 bytes: with k < n,
// double quotes take n + k + 2 bytes and the zero, at most 2n + 2; with k = n, bare backslashes
// take 2n and the zero. (A backslash before a line feed would vanish with it, so it is no escape
// for other characters; before any of the four it is one, inside double quotes and outside.)
Quoting choose_quoting(std::string_view text) {
  size_t plain = 0;
  size_t escaped = 0;
  for (const char c : text) {
    plain += is_plain(c) ? 1 : 0;
    escaped += needs_backslash(c) ? 1 : 0;
  }
  if (plain == text.size()) return {Form::kBare, text.size()};
  if (escaped == text.size()) return {Form::kBackslashed, 2 * text.size()};
  return {Form::kDoubleQuoted, text.size() + escaped + 2};
}

}  // namespace

int XLIBCEncShParam(const char* text, char* buffer, size_t size) {
  if (buffer != nullptr && size > 0) *buffer = '\0';
  if (text == nullptr || buffer == nullptr) {
    XLIBCErrSetEx(kavo::kInvalidArgument, __FILE_NAME__, __LINE__);
    return -1;
  }
  const std::string_view bytes(text);
  const Quoting quoting = choose_quoting(bytes);
  if (quoting.length >= size || quoting.length > INT_MAX) {
    XLIBCErrSetEx(kavo::kBufferTooSmall, __FILE_NAME__, __LINE__);
    return -1;
  }
  char* out = buffer;
  if (quoting.form == Form::kDoubleQuoted) *out++ = '"';
  for (const char c : bytes) {
    if (needs_backslash(c)) *out++ = '\\';
    *out++ = c;
  }
  if (quoting.form == Form::kDoubleQuoted) *out++ = '"';
  *out = '\0';
  return static_cast<int>(quoting.length);
}
