// Tasks that run a command line of the user's.

#include "json_text.h"
#include "script_handler.h"

bool TaskSchedulerScriptHandler::ConvertToJson_App(const _tag_kavo_sched_task_& task,
                                                   Json::Value& doc) {
  Json::Value app;
  if (KAVOSchedTaskIsNew(task)) {
    app["script"] = "";
  } else {
    app = ParseText(KAVOSchedTaskGetAppArgs(task));
  }
  doc["app"] = app;
  return true;
}

bool TaskSchedulerScriptHandler::ConvertFromJson_App(const Json::Value& doc,
                                                     _tag_kavo_sched_task_& task) {
  KAVOSchedCTaskSetEditForm(&task, "KAVO.ZEL.TaskScheduler.Script.FormPanel");
  KAVOSchedCTaskSetSimpleEditForm(&task, 1);
  KAVOSchedCTaskSetCanEditName(&task, 1);
  KAVOSchedCTaskSetCanEditOwner(&task, 1);
  KAVOSchedCTaskSetCanRunTaskSameTime(&task, 0);
  KAVOSchedCTaskSetCanRunAppSameTime(&task, 1);
  KAVOSchedCTaskSetListable(&task, 1);
  KAVOSchedCTaskSetAppName(&task, "#common:command_line#");
  KAVOSchedCTaskSetApp(&task, "KAVO.ZEL.TaskScheduler.Script");

  const Json::Value& app = doc["app"];
  const Json::Value& script = app["script"];
  KAVOSchedCTaskSetAppArgs(&task, CompactText(app).c_str());
  KAVOSchedCTaskSetAction(&task, ("#common:run#: " + script.asString()).c_str());
  // The user's text is a shell command line already. Only a text has a C string; a script that was
  // left out is the empty command.
  KAVOSchedCTaskSetCommand(&task, script.isNull() ? "" : script.asCString());
  return true;
}

bool TaskSchedulerScriptHandler::GetAppEditOwnerValue() {
  return true;
}
