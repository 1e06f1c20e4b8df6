#include "web/module.h"

#include <dlfcn.h>

#include <algorithm>
#include <filesystem>
#include <string_view>

#include "base/root.h"

namespace kavo {
namespace {

bool is_end(const KAVO::APIMethod& row) {
  return row.api == nullptr && row.version == 0 && row.method == nullptr && row.handler == nullptr;
}

std::string name_of(const KAVO::APIMethod& row) {
  return std::string(row.api) + " " + std::to_string(row.version) + " " + row.method;
}

}  // namespace

std::vector<KAVO::APIMethod> load_module(const std::string& file) {
  void* library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    throw ModuleFailure("The module " + file + " cannot be loaded: " + dlerror());
  }
  using TableFunction = const KAVO::APIMethod* (*)();
  const auto table_of = reinterpret_cast<TableFunction>(dlsym(library, "GetAPITable"));
  if (table_of == nullptr) {
    throw ModuleFailure("The module " + file + " has no GetAPITable.");
  }
  const KAVO::APIMethod* row = table_of();
  if (row == nullptr) {
    throw ModuleFailure("The module " + file + " has no method table.");
  }
  std::vector<KAVO::APIMethod> rows;
  for (; !is_end(*row); ++row) {
    if (row->api == nullptr || row->method == nullptr || row->handler == nullptr) {
      throw ModuleFailure("Row " + std::to_string(rows.size() + 1) + " of the module " + file +
                          " is incomplete.");
    }
    rows.push_back(*row);
  }
  return rows;
}

Modules::Modules(const std::string& folder) {
  std::vector<std::string> files;
  try {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      if (entry.path().extension() == ".so") {
        files.push_back(entry.path().string());
      }
    }
  } catch (const std::filesystem::filesystem_error& error) {
    failures_.push_back("The folder of modules cannot be read: " + std::string(error.what()));
  }
  std::sort(files.begin(), files.end());
  for (const std::string& file : files) {
    add(file);
  }
}

void Modules::add(const std::string& file) {
  try {
    for (const KAVO::APIMethod& row : load_module(file)) {
      const bool taken = std::any_of(methods_.begin(), methods_.end(), [&](const auto& other) {
        return name_of(other) == name_of(row);
      });
      if (taken) {
        failures_.push_back("The method " + name_of(row) + " of the module " + file +
                            " belongs to an earlier module already.");
      } else {
        methods_.push_back(row);
      }
    }
  } catch (const ModuleFailure& failure) {
    failures_.emplace_back(failure.what());
  }
}

const KAVO::APIMethod& Modules::find(const std::string& api, int version,
                                     const std::string& method) const {
  bool api_known = false;
  bool version_known = false;
  for (const KAVO::APIMethod& row : methods_) {
    if (api != row.api) {
      continue;
    }
    api_known = true;
    if (version != row.version) {
      continue;
    }
    version_known = true;
    if (method == row.method) {
      return row;
    }
  }
  if (!api_known) {
    throw UnknownMethod("There is no API \"" + api + "\".");
  }
  if (!version_known) {
    throw UnknownMethod("The API \"" + api + "\" has no version " + std::to_string(version) + ".");
  }
  throw UnknownMethod("The API \"" + api + "\" has no method \"" + method + "\" in version " +
                      std::to_string(version) + ".");
}

void call(const KAVO::APIMethod& method, JsonRequest& request, JsonResponse& response) {
  try {
    method.handler(&request, &response);
  } catch (const std::exception& error) {
    throw ModuleFailure("The method " + name_of(method) + " failed: " + error.what());
  } catch (...) {
    throw ModuleFailure("The method " + name_of(method) + " failed with an unknown exception.");
  }
  if (response.answers() != 1) {
    throw ModuleFailure("The method " + name_of(method) + " gave " +
                        (response.answers() == 0 ? "no answer." : "more than one answer."));
  }
}

std::string module_folder() {
  return rooted("/usr/kavo/lib/webapi");
}

}  // namespace kavo
