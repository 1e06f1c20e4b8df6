#include "log.h"

#include <syslog.h>
#include <xlibc.h>

#include <cstdarg>
#include <cstdio>
#include <string>

namespace {

std::string Format(const char* format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  const int length = vsnprintf(nullptr, 0, format, again);
  va_end(again);
  std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
  (void)vsnprintf(text.data(), text.size() + 1, format, arguments);
  return text;
}

}  // namespace

void LogError(const char* source, int line, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const std::string text = Format(format, arguments);
  va_end(arguments);
  syslog(LOG_ERR, "%s:%d %s", source, line, text.c_str());
}

void LogPlatformError(const char* source, int line, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const std::string text = Format(format, arguments);
  va_end(arguments);
  syslog(LOG_ERR, "%s:%d %s [0x%04X %s:%d]", source, line, text.c_str(),
         static_cast<unsigned int>(XLIBCErrGet()), XLIBCErrorGetFile(), XLIBCErrorGetLine());
}
