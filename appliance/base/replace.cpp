#include <algorithm>
#include <climits>
#include <cstring>
#include <string_view>

#include <xlibc.h>
#include "base/errors.h"

namespace {

char ascii_lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Finds occurrences of a text, with or without regard to the case of ASCII letters.
class Finder {
 public:
  Finder(std::string_view wanted, bool ignore_case) : wanted_(wanted), ignore_case_(ignore_case) {}

  // The first occurrence in [begin, end), or `end`.
  const char* find(const char* begin, const char* end) const {
    return std::search(begin, end, wanted_.begin(), wanted_.end(), [this](char a, char b) {
      return ignore_case_ ? ascii_lower(a) == ascii_lower(b) : a == b;
    });
  }

  size_t count(const char* begin, const char* end) const {
    size_t found = 0;
    for (begin = find(begin, end); begin != end; begin = find(begin, end)) {
      ++found;
      begin += wanted_.size();
    }
    return found;
  }

 private:
  std::string_view wanted_;
  bool ignore_case_;
};

}  // namespace

int XLIBCStrReplace(char* buffer, const char* from, const char* to, int ignore_case, size_t size) {
  if (buffer == nullptr || from == nullptr || to == nullptr || *from == '\0' ||
      strnlen(buffer, size) == size) {
    XLIBCErrSetEx(kavo::kInvalidArgument, __FILE_NAME__, __LINE__);
    return -1;
  }
  const size_t length = strlen(buffer);
  const size_t from_length = strlen(from);
  const size_t to_length = strlen(to);
  const Finder finder({from, from_length}, ignore_case != 0);
  const size_t count = finder.count(buffer, buffer + length);
  if (count == 0) return 0;

  const size_t kept = length - count * from_length;
  const size_t room = size - 1 - kept;
  if (count > INT_MAX || to_length > room / count) {
    XLIBCErrSetEx(kavo::kBufferTooSmall, __FILE_NAME__, __LINE__);
    return -1;
  }
  // The text is moved to the end of the buffer and then copied back to its start with the
  // replacements put in. As the result fits, what is written never reaches what is still unread.
  const char* const end = buffer + size - 1;
  const char* in = static_cast<char*>(memmove(buffer + size - 1 - length, buffer, length));
  char* out = buffer;
  while (true) {
    const char* match = finder.find(in, end);
    out = static_cast<char*>(memmove(out, in, static_cast<size_t>(match - in))) + (match - in);
    if (match == end) break;
    out = static_cast<char*>(memcpy(out, to, to_length)) + to_length;
    in = match + from_length;
  }
  *out = '\0';
  return static_cast<int>(count);
}
