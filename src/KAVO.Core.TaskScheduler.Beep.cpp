// Tasks that make the appliance beep.

#include <algorithm>

#include "beep_handler.h"
#include "json_text.h"

namespace {

constexpr int kMinSeconds = 1;
constexpr int kMaxSeconds = 600;

}  // namespace

bool TaskSchedulerBeepHandler::ConvertToJson_App(const _tag_kavo_sched_task_& task,
                                                 Json::Value& doc) {
  Json::Value app;
  if (KAVOSchedTaskIsNew(task)) {
    app["beep_duration"] = "60";
  } else {
    app = ParseText(KAVOSchedTaskGetAppArgs(task));
  }
  doc["app"] = app;
  return true;
}

bool TaskSchedulerBeepHandler::ConvertFromJson_App(const Json::Value& doc,
                                                   _tag_kavo_sched_task_& task) {
  KAVOSchedCTaskSetEditForm(&task, "KAVO.ZEL.TaskScheduler.Beep.FormPanel");
  KAVOSchedCTaskSetSimpleEditForm(&task, 1);
  KAVOSchedCTaskSetCanEditName(&task, 1);
  KAVOSchedCTaskSetCanEditOwner(&task, 0);
  KAVOSchedCTaskSetCanRunAppSameTime(&task, 1);
  KAVOSchedCTaskSetListable(&task, 1);
  KAVOSchedCTaskSetApp(&task, "KAVO.ZEL.TaskScheduler.Beep");
  KAVOSchedCTaskSetAppName(&task, "#beep:beep_title#");

  const Json::Value& app = doc["app"];
  KAVOSchedCTaskSetAppArgs(&task, CompactText(app).c_str());
  const int duration = std::clamp(app["beep_duration"].asInt(), kMinSeconds, kMaxSeconds);
  const std::string seconds = std::to_string(duration);
  KAVOSchedCTaskSetAction(&task,
                          ("#volume:beep_on# " + seconds + " #common:time_seconds#").c_str());
  KAVOSchedCTaskSetCommand(&task, ("/tmp/kavoschedtool --beep " + seconds).c_str());
  return true;
}

bool TaskSchedulerBeepHandler::GetAppEditOwnerValue() {
  return false;
}
