// Tasks that make the appliance beep.
#pragma once

#include "basic_handler.h"

// The app section is {"beep_duration": seconds}. It is kept as it was sent; the command and the
// action carry the duration brought into the range 1 to 600.
class TaskSchedulerBeepHandler : public TaskSchedulerBasicHandler {
 public:
  using TaskSchedulerBasicHandler::TaskSchedulerBasicHandler;

  bool ConvertToJson_App(const _tag_kavo_sched_task_& task, Json::Value& doc) override;
  bool ConvertFromJson_App(const Json::Value& doc, _tag_kavo_sched_task_& task) override;
  bool GetAppEditOwnerValue() override;
};
