#include "costs/sample_appliance.h"

#include <json/reader.h>
#include <json/writer.h>
#include <kavosched.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <utility>

#include "costs/raw_store.h"

namespace bench {
namespace {

constexpr char kApi[] = "KAVO.Core.TaskScheduler";
constexpr char kWebman[] = "/usr/kavo/kavoman/webman/";
constexpr int kSections = 60;
constexpr int kTextsOfASection = 50;
constexpr int kTemplates = 10;

void write(const std::string& file, const Json::Value& value) {
  std::filesystem::create_directories(std::filesystem::path(file).parent_path());
  std::ofstream stream(file);
  stream << value;
  if (!stream.flush()) {
    throw std::runtime_error("cannot write " + file);
  }
}

// Strings with those that the tasks need among them.
Json::Value strings(int sections) {
  Json::Value all = json(R"({
    "common": {"run": "Run", "command_line": "User-defined script"},
    "network": {"wnds_file_service": "Windows file service"},
    "service": {"start": "Start", "stop": "Stop"},
    "tree": {"leaf_ftp": "FTP", "leaf_sftp": "SFTP"}})");
  for (int section = 0; static_cast<int>(all.size()) < sections; ++section) {
    all["section" + std::to_string(section)] = Json::Value(Json::objectValue);
  }
  for (Json::Value& section : all) {
    for (int text = 0; static_cast<int>(section.size()) < kTextsOfASection; ++text) {
      section["a_text_of_the_desktop_" + std::to_string(text)] =
          "Text " + std::to_string(text) + " as it is shown to people";
    }
  }
  return all;
}

void require(bool condition, const char* what) {
  if (!condition) {
    throw std::runtime_error(what);
  }
}

// Stores a task as an app without a form here does.
void store_app_task() {
  const std::unique_ptr<_tag_kavo_sched_task_, decltype(&KAVOSchedTaskFree)> task(
      KAVOSchedTaskAlloc(), KAVOSchedTaskFree);
  const Json::Value doc =
      json(R"({"basic": {"task_name": "Tidy notes"}, "schedule": {"hour": 4}})");
  require(KAVOSchedTaskConvertFromJson_Basic(doc, *task) &&
              KAVOSchedTaskConvertFromJson_Schedule(doc, *task) &&
              KAVOSchedCTaskSetApp(task.get(), kAppWithStrings) == 0 &&
              KAVOSchedCTaskSetAppName(task.get(), "#notes:title#") == 0 &&
              KAVOSchedCTaskSetAction(task.get(), "#notes:tidy# root, #common:run#") == 0 &&
              KAVOSchedCTaskSetCommand(task.get(), "true") == 0 &&
              KAVOSchedTaskSave(task.get()) == 0,
          "the app's task cannot be stored");
}

const kavo::Modules& modules() {
  static const kavo::Modules loaded(KAVO_MODULE_FOLDER);
  return loaded;
}

}  // namespace

Json::Value json(const std::string& text) {
  Json::Value value;
  std::string errors;
  const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
  require(reader->parse(text.data(), text.data() + text.size(), &value, &errors), text.c_str());
  return value;
}

SampleAppliance::SampleAppliance(std::string folder, int tasks) : folder_(std::move(folder)) {
  std::filesystem::remove_all(folder_);
  enter();
  write_strings();
  store_tasks(tasks);
}

void SampleAppliance::enter() const {
  setenv("KAVO_ROOT", folder_.c_str(), 1);
}

void SampleAppliance::write_strings() const {
  const std::string webman = folder_ + kWebman;
  write(webman + "texts/" + kLanguage + "/strings.json", strings(kSections));
  Json::Value app = strings(6);
  app["notes"] = json(R"({"title": "Notes", "tidy": "Tidy up the notes of"})");
  write(webman + "3rdparty/Notes/texts/" + kLanguage + "/strings.json", app);
  write(webman + "3rdparty/Notes/manifest.json",
        json(R"({"namespace": "KAVO.Example.Notes", "texts": "texts"})"));
}

void SampleAppliance::store_tasks(int tasks) const {
  const KAVO::APIMethod& create = method(2, "create");
  const auto store = [&](const char* document) { answer(create, json(document)); };
  for (int i = 0; i < 6; ++i) {
    store(R"({"type": "script", "name": "Copy the photos", "owner": "root", "enable": true,
              "schedule": {"hour": 2, "minute": 30, "timezone": "Europe/Berlin"},
              "extra": {"script": "rsync -a --delete /shares/photos/ backup:/photos/"}})");
  }
  store(R"({"type": "beep", "name": "Wake up", "owner": "root", "enable": true,
            "schedule": {"hour": 8, "week_day": "1,2,3,4,5"}, "extra": {"beep_duration": 2}})");
  store(R"({"type": "recycle", "name": "Empty the bins", "owner": "root", "enable": true,
            "schedule": {"type": "date", "repeat_date": "monthly"}, "extra": {}})");
  store(R"({"type": "service", "name": "Share by night", "owner": "root", "enable": true,
            "schedule": {"hour": 1}, "extra": {"action": "start", "services": [
              {"id": "Samba", "enable": true}, {"id": "SFTP", "enable": true}]}})");
  store_app_task();

  // Of these, as many as asked for; names and times stand in no order.
  const std::string n = std::to_string(tasks);
  RawStore raw(folder_ + "/var/lib/kavo/tasks.db");
  raw.run(
      "INSERT INTO tasks SELECT i + 11, printf('%s %05d', name, i * 7919 % 100003), owner, app, "
      "app_name, app_args, action, command, edit_form, enabled, simple_edit_form, can_edit_name, "
      "can_edit_owner, can_run_app_same_time, can_run_task_same_time, listable, can_run_from_ui, "
      "can_edit_from_ui, can_delete_from_ui, schedule, 1900000000 + i * 104729 % 1000003 * 60 "
      "FROM (WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i + 1 < " +
      n + ") SELECT i FROM n) JOIN tasks ON id = 1 + i % 10");
  raw.run("DELETE FROM tasks WHERE id <= " + std::to_string(kTemplates));
}

const KAVO::APIMethod& method(int version, const std::string& name) {
  return modules().find(kApi, version, name);
}

Json::Value answer(const KAVO::APIMethod& method, const Json::Value& parameters) {
  kavo::JsonRequest request(parameters, kLanguage);
  kavo::JsonResponse response;
  kavo::call(method, request, response);
  if (!response.success()) {
    fprintf(stderr, "%s failed: %s\n", method.method, response.envelope().toStyledString().c_str());
    exit(1);
  }
  return response.envelope()["data"];
}

void call(const KAVO::APIMethod& method, kavo::JsonRequest& request) {
  kavo::JsonResponse response;
  kavo::call(method, request, response);
  if (!response.success()) {
    fprintf(stderr, "%s failed: %s\n", method.method, response.envelope().toStyledString().c_str());
    exit(1);
  }
}

}  // namespace bench
