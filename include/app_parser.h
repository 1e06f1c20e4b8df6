// UI strings: turning keys such as "#common:run#" into text of one language.
#pragma once

#include <json/value.h>
#include <kavozel.h>

#include <string>

namespace KAVO::Core::TaskScheduler {

// The UI strings of one language: the desktop's own, and those that apps bring along. Built once
// for a request and only read afterwards. Missing or unreadable strings are no failure: the keys
// are then shown as they are.
class AppParser {
 public:
  // Loads the desktop's strings of `language`, a code that names a folder under "texts/".
  explicit AppParser(const std::string& language);

  // True when `text` is a UI string key: its first and last characters are "#", and it has a ":".
  static bool IsSectionKey(const std::string& text);

  // True when the app with the namespace `app` brings strings of its own.
  bool Is3rdPartyApp(const std::string& app) const;

  // The text to show for `text` in a task of the app with the namespace `app`: the app's own text
  // for the key, else the desktop's, else `text` itself. An empty text counts as none.
  std::string GetString(const std::string& app, const std::string& text) const;

 private:
  std::string language_;
  KAVO::ZEL::JSConfigParser config_parser_;
  KAVO::ZEL::LocalizedStringParser strings_parser_;
  Json::Value app_strings_locations_;
  Json::Value desktop_strings_;
};

}  // namespace KAVO::Core::TaskScheduler
