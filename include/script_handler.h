// Tasks that run a command line of the user's.
#pragma once

#include "basic_handler.h"

// The app section is {"script": the command line}. It is kept as it was sent, and the command is
// the user's text without any quoting: it is a shell command line already.
class TaskSchedulerScriptHandler : public TaskSchedulerBasicHandler {
 public:
  using TaskSchedulerBasicHandler::TaskSchedulerBasicHandler;

  bool ConvertToJson_App(const _tag_kavo_sched_task_& task, Json::Value& doc) override;
  bool ConvertFromJson_App(const Json::Value& doc, _tag_kavo_sched_task_& task) override;
  bool GetAppEditOwnerValue() override;
};
