// Noticing that the appliance's zone or the zone database was changed.
#pragma once

#include <string>
#include <vector>

#include "base/descriptor.h"

namespace kavo {

class ZoneWatch {
 public:
  // Watches the link "localtime" in the folder `settings`, and every file of `database`.
  explicit ZoneWatch(std::string settings = "/etc", std::string database = "/usr/share/zoneinfo");

  // Readable when changed() is worth asking; -1 when the system does not tell.
  int descriptor() const { return events_.get(); }
  // Whether something was changed since it was asked last. Does not block. An update of the
  // database changes many files, one after the other.
  bool changed();

  // A text that differs when the zone or the database differs.
  std::string state() const;

 private:
  void watch_folders();
  std::vector<std::string> database_folders() const;

  std::string settings_;
  std::string database_;
  Descriptor events_;
  int settings_watch_ = -1;
};

}  // namespace kavo
