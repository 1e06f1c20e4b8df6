#include "lib.h"

#include <json/value.h>
#include <kavosched.h>
#include <xlibc.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "app_parser.h"
#include "log.h"
#include "task_record.h"

namespace {

constexpr char kSource[] = "lib";
constexpr char kWebmanDirectory[] = "/usr/kavo/kavoman/webman/";

struct AppKeyRow {
  const char* app_namespace;
  const char* app_key;
};

constexpr AppKeyRow kAppKeys[] = {
    {"KAVO.ZEL.TaskScheduler.Beep", "beep"},
    {"KAVO.ZEL.TaskScheduler.Script", "script"},
    {"KAVO.ZEL.TaskScheduler.Service", "service"},
    {"KAVO.ZEL.TaskScheduler.Recycle", "recycle"},
    {"KAVO.ZEL.DataAnalysis", "report"},
    {"KAVO.ZEL.TaskScheduler.AutoPower", "power"},
    {"KAVO.ZEL.TaskScheduler.ZOMAutoUpdate", "zomupdate"},
    {"KAVO.ZEL.BackupApp.NetBackup", "backup"},
    {"KAVO.ZEL.BackupApp.LocalBackup", "backup"},
    {"KAVO.ZEL.BackupApp.LUNBackup", "backup"},
    {"KAVO.ZEL.BackupApp.S3Backup", "backup"},
};

// The text at strings[section][key], or the empty text when there is none.
std::string FindText(const Json::Value& strings, const std::string& section,
                     const std::string& key) {
  if (!strings.isObject() || !strings[section].isObject()) {
    return "";
  }
  const Json::Value& text = strings[section][key];
  return text.isString() ? text.asString() : "";
}

}  // namespace

std::string GetAppKeyFromNameSpace(const std::string& app_namespace) {
  for (const AppKeyRow& row : kAppKeys) {
    if (app_namespace == row.app_namespace) {
      return row.app_key;
    }
  }
  return "custom";
}

bool GetAppTypeByID(int id, std::string& app_key) {
  Json::Value doc;
  const TaskPtr task(KAVOSchedTaskAlloc());
  if (!task) {
    LogPlatformError(kSource, 38, "alloc task failed. id:[%d]", id);
    return false;
  }
  if (KAVOSchedTaskLoad(id, task.get()) < 0) {
    LogPlatformError(kSource, 43, "load task failed. id:[%d]", id);
    return false;
  }
  if (!KAVOSchedTaskConvertToJson_Basic(*task, doc)) {
    LogPlatformError(kSource, 48, "convert task to json (basic) faield. id:[%d]", id);
    return false;
  }
  app_key = GetAppKeyFromNameSpace(doc["basic"]["app"].asString());
  return true;
}

std::string EscapeShellName(std::string name) {  // NOLINT(performance-unnecessary-value-param)
  const size_t size = 2 * strlen(name.c_str()) + 2;
  const std::unique_ptr<char, decltype(&free)> buffer(static_cast<char*>(calloc(size, 1)), &free);
  if (!buffer) {
    LogError(kSource, 16, "malloc failed, errno=%s", strerror(errno));
    return "";
  }
  if (XLIBCEncShParam(name.c_str(), buffer.get(), size) < 0 || buffer.get()[0] == '\0') {
    LogError(kSource, 21, "escape cmd=%s failed, errno=%s", name.c_str(), strerror(errno));
    return "";
  }
  return buffer.get();
}

namespace KAVO::Core::TaskScheduler {

AppParser::AppParser(const std::string& language) : language_(language), config_parser_(language) {
  config_parser_.Parse();
  app_strings_locations_ = config_parser_.GetTexts();
  desktop_strings_ =
      strings_parser_.ParseTexts(std::string(kWebmanDirectory) + "texts/" + language_);
}

bool AppParser::IsSectionKey(const std::string& text) {
  return text.starts_with('#') && text.ends_with('#') && text.find(':') != std::string::npos;
}

bool AppParser::Is3rdPartyApp(const std::string& app) const {
  return app_strings_locations_.isObject() && app_strings_locations_.isMember(app);
}

std::string AppParser::GetString(const std::string& app, const std::string& text) const {
  if (!IsSectionKey(text)) {
    return text;
  }
  const size_t colon = text.find(':');
  const std::string section = text.substr(1, colon - 1);
  const std::string key = text.substr(colon + 1, text.size() - colon - 2);

  std::string result;
  if (Is3rdPartyApp(app)) {
    const std::string location = app_strings_locations_[app].asString();
    result = FindText(strings_parser_.ParseTexts(kWebmanDirectory + location), section, key);
  }
  if (result.empty()) {
    result = FindText(desktop_strings_, section, key);
  }
  return result.empty() ? text : result;
}

}  // namespace KAVO::Core::TaskScheduler
