// Tasks that start or stop services and packages.
#pragma once

#include "basic_handler.h"

// Stored section: {"service_store": [{"name", "service_type", "display_name", "enabled"}...],
// "service_action": "1" to start, "0" to stop}. The edit form sees {"action", "services"}; it
// changes the action and the choices, never the entries.
class TaskSchedulerServiceHandler : public TaskSchedulerBasicHandler {
 public:
  using TaskSchedulerBasicHandler::TaskSchedulerBasicHandler;

  bool ConvertToJson_App(const _tag_kavo_sched_task_& task, Json::Value& doc) override;
  bool ConvertFromJson_App(const Json::Value& doc, _tag_kavo_sched_task_& task) override;
  bool ReConstructJsonGet_App(Json::Value& app) override;
  bool ReConstructJsonSet_App(Json::Value& app) override;
  bool GetAppEditOwnerValue() override;
};
