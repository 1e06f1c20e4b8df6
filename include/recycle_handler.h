// Tasks that clean the recycle bins of shares, or switch them on or off.
#pragma once

#include "basic_handler.h"

// The stored section is flat and mirrors the options of the recycle-bin tool; the edit form sees
// the nested {"clean_share_policy", "clean_file_policy"}.
class TaskSchedulerRecycleHandler : public TaskSchedulerBasicHandler {
 public:
  using TaskSchedulerBasicHandler::TaskSchedulerBasicHandler;

  bool ConvertToJson_App(const _tag_kavo_sched_task_& task, Json::Value& doc) override;
  bool ConvertFromJson_App(const Json::Value& doc, _tag_kavo_sched_task_& task) override;
  bool ReConstructJsonGet_App(Json::Value& app) override;
  bool ReConstructJsonSet_App(Json::Value& app) override;
  bool GetAppEditOwnerValue() override;

  // Switches recycle bins on: those of `shares` when `enable` is "select", else those of all
  // shares, and of "home" too for "all_include_home". A share that cannot be switched is logged and
  // passed over. False when the list of shares cannot be had.
  bool EnableRecycleBin(const Json::Value& shares, const Json::Value& enable);
};
