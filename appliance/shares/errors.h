// The error codes that the share library sets (XLIBCErrSetEx, XLIBCErrGet).
#pragma once

namespace kavo {

enum ShareError : int {
  // The file of shares is there but cannot be read.
  kSharesUnreadable = 0x0F00,
  // The file of shares breaks a rule of shares.h.
  kSharesBroken = 0x0F01,
  // There is no share of that name.
  kShareUnknown = 0x0F02,
  // The changed file could not be stored; the old one still holds.
  kSharesNotStored = 0x0F03,
  // An argument that the contract rules out.
  kShareInvalidArgument = 0x0F04,
};

}  // namespace kavo
