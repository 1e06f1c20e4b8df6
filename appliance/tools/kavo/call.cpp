#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string_view>

#include "base/strict_json.h"
#include "strings/languages.h"
#include "tools/kavo/commands.h"
#include "tools/kavo/json_output.h"
#include "tools/kavo/table.h"
#include "web/module.h"

namespace kavo {
namespace {

Json::Value read_parameters(const std::string& file) {
  std::string text;
  if (file == "-") {
    text.assign(std::istreambuf_iterator<char>(std::cin), {});
  } else {
    std::ifstream stream(file, std::ios::binary);
    stream.peek();  // a folder can be opened, but not read
    if (!stream) {
      throw UsageError("The file " + file + " cannot be read.");
    }
    text.assign(std::istreambuf_iterator<char>(stream), {});
  }
  std::string error;
  const auto parameters = parse_strict_json(text, &error);
  if (!parameters || !parameters->isObject()) {
    throw UsageError("The parameters in " + (file == "-" ? "standard input" : file) +
                     " are not a JSON object. " + error);
  }
  return *parameters;
}

// Whether a text that the reader takes for a number is one in JSON. The reader also takes "-",
// "007", "+1" and "1.".
bool is_json_number(std::string_view text) {
  constexpr std::string_view kDigits = "0123456789";
  text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
  text.remove_prefix(text.starts_with('-') ? 1 : 0);
  const std::size_t digits = std::min(text.find_first_not_of(kDigits), text.size());
  if (digits == 0 || (digits > 1 && text.front() == '0')) {
    return false;
  }
  text.remove_prefix(digits);
  return !text.starts_with('.') || (text.size() > 1 && kDigits.find(text[1]) != kDigits.npos);
}

// The value of a text that is JSON, or else the text itself.
Json::Value value_of(const std::string& text) {
  const auto value = parse_strict_json(text);
  const bool is_json = value && (!value->isNumeric() || is_json_number(text));
  return is_json ? *value : Json::Value(text);
}

void set_parameter(const std::string& assignment, Json::Value& parameters) {
  const std::size_t equals = assignment.find('=');
  if (equals == std::string::npos || equals == 0) {
    throw UsageError("A parameter is written name=value: \"" + assignment + "\".");
  }
  parameters[assignment.substr(0, equals)] = value_of(assignment.substr(equals + 1));
}

Modules load_modules() {
  Modules modules(module_folder());
  for (const std::string& failure : modules.failures()) {
    std::cerr << "kavo: " << failure << '\n';
  }
  return modules;
}

}  // namespace

int call_method(const CallOptions& options) {
  if (!is_language(options.language)) {
    throw UsageError("There are no strings for the language \"" + options.language + "\".");
  }
  Json::Value parameters(Json::objectValue);
  if (!options.json_file.empty()) {
    parameters = read_parameters(options.json_file);
  }
  for (const std::string& assignment : options.parameters) {
    set_parameter(assignment, parameters);
  }
  const Modules modules = load_modules();
  const KAVO::APIMethod& method = [&]() -> const KAVO::APIMethod& {
    try {
      return modules.find(options.api, options.version, options.method);
    } catch (const UnknownMethod& error) {
      throw UsageError(error.what());
    }
  }();
  JsonRequest request(parameters, options.language);
  JsonResponse response;
  call(method, request, response);
  print_json(response.envelope());
  return response.success() ? 0 : 1;
}

int list_methods() {
  const Modules modules = load_modules();
  std::vector<std::vector<std::string>> rows = {{"API", "VERSION", "METHOD"}};
  for (const KAVO::APIMethod& row : modules.methods()) {
    rows.push_back({row.api, std::to_string(row.version), row.method});
  }
  print_table(rows);
  return modules.failures().empty() ? 0 : 1;
}

}  // namespace kavo
