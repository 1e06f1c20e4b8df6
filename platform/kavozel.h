// The desktop's parsers: which apps bring strings of their own, and the strings files themselves.
//
// A missing or unreadable file is not an error here: it shows as absent members. Objects of both
// classes are used by one thread at a time; different objects may be used at once.
#pragma once

#include <json/value.h>

#include <string>

#pragma GCC visibility push(default)

namespace KAVO::ZEL {

// Reads what the desktop knows about its apps, for one UI language.
class JSConfigParser {
 public:
  explicit JSConfigParser(const std::string& language);

  // Looks through the apps' manifests. False when the folder of apps cannot be read.
  bool Parse();

  // One member for each app with strings of its own: the app namespace, with the place of its
  // strings for this language, relative to the webman directory, as text. An empty object before
  // Parse() and when there is no such app.
  Json::Value GetTexts() const;

 private:
  std::string language_;
  Json::Value texts_;
};

// Reads strings files: an object of sections, each an object of keys with text values.
class LocalizedStringParser {
 public:
  // The strings in the folder `path`, or null when there are none or they are not an object.
  Json::Value ParseTexts(const std::string& path) const;
};

}  // namespace KAVO::ZEL

#pragma GCC visibility pop
