// The error codes that the base library sets (XLIBCErrSetEx, XLIBCErrGet).
#pragma once

namespace kavo {

enum BaseError : int {
  // An argument that the function's contract rules out: null, empty, not positive, not terminated.
  kInvalidArgument = 0x0D00,
  // Memory was short; nothing was changed.
  kOutOfMemory = 0x0D01,
  // The result does not fit into the buffer that was given.
  kBufferTooSmall = 0x0D02,
};

}  // namespace kavo
