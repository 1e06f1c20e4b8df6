// A handler whose app operations are recorded by the fake platform and fail where it is told to.
#pragma once

#include "basic_handler.h"
#include "module/fake_platform.h"

class HookHandler : public TaskSchedulerBasicHandler {
 public:
  using TaskSchedulerBasicHandler::GetOriginAppObj;
  using TaskSchedulerBasicHandler::TaskSchedulerBasicHandler;

  bool ConvertToJson_App(const _tag_kavo_sched_task_& task, Json::Value& doc) override {
    document = doc;
    doc["app"]["of"] = KAVOSchedTaskGetID(task);
    return platform.enter("ConvertToJson_App");
  }
  bool ConvertFromJson_App(const Json::Value& doc, _tag_kavo_sched_task_& task) override {
    document = doc;
    KAVOSchedCTaskSetCommand(&task, "of the app");
    return platform.enter("ConvertFromJson_App");
  }
  bool ReConstructJsonGet_App(Json::Value& app) override {
    app["shown"] = true;
    return platform.enter("ReConstructJsonGet_App");
  }
  bool ReConstructJsonSet_App(Json::Value& app) override {
    section = app;
    app = "reshaped";
    return platform.enter("ReConstructJsonSet_App");
  }
  bool GetAppEditOwnerValue() override { return true; }

  Json::Value document;  // what a conversion was given last
  Json::Value section;   // what the reshaping for "set" was given
};
