#include <xlibc.h>

namespace {

struct ErrorState {
  int code = 0;
  const char* file = "";
  int line = 0;
};

thread_local ErrorState error_state;

}  // namespace

void XLIBCErrSetEx(int code, const char* file, int line) {
  error_state = {code, file != nullptr ? file : "", line};
}

int XLIBCErrGet() {
  return error_state.code;
}

const char* XLIBCErrorGetFile() {
  return error_state.file;
}

int XLIBCErrorGetLine() {
  return error_state.line;
}
