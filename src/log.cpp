#include "log.h"

#include <syslog.h>
#include <xlibc.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace {

std::string Format(const char* format, va_list arguments) {
  char* text = nullptr;
  if (vasprintf(&text, format, arguments) < 0) {
    return format;
  }
  const std::unique_ptr<char, decltype(&free)> owner(text, &free);
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
