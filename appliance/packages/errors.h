// The error codes that the package library sets (XLIBCErrSetEx, XLIBCErrGet).
#pragma once

namespace kavo {

enum PackageError : int {
  // The folder of packages is there but cannot be read.
  kPackagesUnreadable = 0x1000,
  // There is no package of that name.
  kPackageNotInstalled = 0x1001,
  // The package's manifest is missing, cannot be read, or breaks a rule of manifest.h.
  kManifestBroken = 0x1002,
  // An argument that the contract rules out.
  kPackageInvalidArgument = 0x1003,
};

}  // namespace kavo
