// The desktop's strings file, an app's strings file, the app's manifest and a text to be shown,
// separated by lines of "---".
#include <fcntl.h>
#include <sys/stat.h>

#include <json/writer.h>

#include <array>

#include "app_parser.h"
#include "base/strict_json.h"
#include "fuzz/fuzz.h"
#include "strings/layout.h"
#include "temporary_folder.h"

namespace {

constexpr char kSeparator[] = "\n---\n";
constexpr char kWebman[] = "usr/kavo/kavoman/webman/";

std::array<std::string, 4> parts_of(std::string text) {
  std::array<std::string, 4> parts;
  for (std::string& part : parts) {
    const std::size_t end = text.find(kSeparator);
    part = text.substr(0, end);
    text.erase(0, end == std::string::npos ? end : end + sizeof kSeparator - 1);
  }
  return parts;
}

// Writes a file with a time of change of its own: inputs follow each other faster than the clock of
// a file system ticks, and a file that looks the same is not read again.
void write_anew(const TemporaryRoot& root, const std::string& path, const std::string& text) {
  static time_t version = 1;
  root.write(kWebman + path, text);
  const timespec times[] = {{version, 0}, {version, 0}};
  ++version;
  require(utimensat(AT_FDCWD, (root.path() / kWebman / path).c_str(), times, 0) == 0,
          "the file's time is set");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const TemporaryRoot root;
  const auto [desktop, app, manifest, text] = parts_of(text_of(data, size));
  write_anew(root, "texts/en-US/strings.json", desktop);
  write_anew(root, "3rdparty/App/texts/en-US/strings.json", app);
  write_anew(root, "3rdparty/App/manifest.json", manifest);

  KAVO::ZEL::JSConfigParser config("en-US");
  require(config.Parse(), "the folder of apps can be read");
  const Json::Value places = config.GetTexts();
  require(places.size() <= 1, "there is one app");
  const KAVO::Core::TaskScheduler::AppParser parser("en-US");
  for (const std::string& name : places.getMemberNames()) {
    require(parser.Is3rdPartyApp(name), "an app with strings is known");
    require(kavo::stays_inside(places[name].asString()), "strings lie in the desktop's folder");
    require(kavo::has_strings(kavo::kWebmanFolder + places[name].asString()),
            "strings are where they are said to be");
  }
  for (const std::string& name : {std::string("Test.App"), std::string()}) {
    const std::string shown = parser.GetString(name, text);
    require(!shown.empty() || text.empty(), "what has a text is shown");
    require(shown == text || parser.IsSectionKey(text), "only a key is replaced");
    require(kavo::parse_strict_json(Json::FastWriter().write(shown)).has_value(),
            "a text can be answered");
  }
  return 0;
}
