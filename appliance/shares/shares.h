// The shared folders of the appliance.
//
// They are kept in "/etc/kavo/shares.json":
//   {"shares": [{"name": "photo", "path": "/volume1/photo", "recycle_bin": true}, ...]}
// A name is 1 to 255 bytes of UTF-8 without a zero byte or "/", does not begin with "-", and is not
// "." or ".."; no two shares have the same. A path is absolute and in its shortest form (no empty,
// "." or ".." part, no "/" at its end). "recycle_bin" is false when missing. Other members are left
// alone. A file that breaks a rule is refused as a whole, so that a slip in it never acts on a
// folder that nobody meant.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace kavo {

struct Share {
  std::string name;
  std::string path;
  bool recycle_bin = false;
};

// All shares in byte order of their names; none when the file is not there. Nothing, with the error
// state set and the reason in `*why` where given, when the file cannot be read or breaks a rule.
std::optional<std::vector<Share>> read_shares(std::string* why = nullptr);

}  // namespace kavo
