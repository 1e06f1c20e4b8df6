// Loading modules and calling their methods. A module is not trusted to keep the rules.
#pragma once

#include <kavowebapi.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "web/request.h"

namespace kavo {

// A module, or a method of one, cannot be used. The message is for people.
class ModuleFailure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// There is no such API, version or method.
class UnknownMethod : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The rows of a module's table, without the one that ends it. Loads the shared library for the life
// of the process. Throws ModuleFailure when it cannot be loaded, has no table, or a row of it is
// incomplete.
std::vector<KAVO::APIMethod> load_module(const std::string& file);

// The methods of all modules in one folder.
class Modules {
 public:
  // Loads every "*.so" of the folder, in byte order. One that cannot be used is left out and told
  // about in failures(); so is a method that an earlier module has already, and a folder that
  // cannot be read.
  explicit Modules(const std::string& folder);

  const std::vector<KAVO::APIMethod>& methods() const { return methods_; }
  const std::vector<std::string>& failures() const { return failures_; }

  // Throws UnknownMethod, saying which of the three is not known.
  const KAVO::APIMethod& find(const std::string& api, int version, const std::string& method) const;

 private:
  void add(const std::string& file);

  std::vector<KAVO::APIMethod> methods_;
  std::vector<std::string> failures_;
};

// Calls a method. Throws ModuleFailure when an exception comes out of it, or when it has answered
// nothing or more than once.
void call(const KAVO::APIMethod& method, JsonRequest& request, JsonResponse& response);

// Where the appliance's modules lie ("/usr/kavo/lib/webapi").
std::string module_folder();

}  // namespace kavo
