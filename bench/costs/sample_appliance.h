// An appliance in a folder of its own for the measurements: a desktop with 3,000 strings, an app
// with strings of its own, and a task store with as many tasks as asked for.
#pragma once

#include <json/value.h>
#include <kavowebapi.h>

#include <string>

#include "web/module.h"

namespace bench {

inline constexpr char kLanguage[] = "en-US";
inline constexpr char kAppWithStrings[] = "KAVO.Example.Notes";

// The value of a JSON text, which must be one.
Json::Value json(const std::string& text);

class SampleAppliance {
 public:
  // Makes the appliance in `folder`, which is emptied first, and enters it. Of ten tasks one is of
  // services and one of the app with strings; all actions hold keys.
  SampleAppliance(std::string folder, int tasks);

  // Makes this the appliance that the platform works on.
  void enter() const;
  std::string store() const { return folder_ + "/var/lib/kavo/tasks.db"; }

 private:
  void write_strings() const;
  void store_tasks(int tasks) const;

  std::string folder_;
};

// The module under test, as the server loads it, and one of its methods.
const KAVO::APIMethod& method(int version, const std::string& name);

// Calls a method and answers its data. Ends the program when it fails.
Json::Value answer(const KAVO::APIMethod& method, const Json::Value& parameters);

// As answer(), for measuring: the request is made before.
void call(const KAVO::APIMethod& method, kavo::JsonRequest& request);

}  // namespace bench
