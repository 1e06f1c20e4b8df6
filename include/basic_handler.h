// Reading and writing one task as a JSON task document.
#pragma once

#include "handler.h"

// Serves "get" and "set" for tasks of any app, and is the base of the handlers of the apps with an
// edit form of their own, which override some of the five operations below. Handlers are destroyed
// by their exact type, so there is no virtual destructor.
class TaskSchedulerBasicHandler : public TaskSchedulerHandler {
 public:
  using TaskSchedulerHandler::TaskSchedulerHandler;

  // Runs "get" or "set" for the API version 1 or 2 and answers the request, as
  // TaskSchedulerHandler::Process_v1 does. "create" is a "set" of a request without an id.
  void Process(const char* method, int version);
  void Process_v1(const char* method);
  void Process_v2(const char* method);

  // Fills `result` with the task document of the task that the request names.
  bool GetData(Json::Value& result, int version);
  // Stores the request's task document and sets `result` to {"id": N}.
  bool SetData(Json::Value& result, int version);

  // The five operations of an app, in this order. Each returns false on failure.

  // Writes the app's settings of `task` into doc["app"].
  virtual bool ConvertToJson_App(const _tag_kavo_sched_task_& task, Json::Value& doc);
  // Sets the app's properties of `task` from doc["app"].
  virtual bool ConvertFromJson_App(const Json::Value& doc, _tag_kavo_sched_task_& task);
  // Turns the stored app section into what the edit form shows, in place.
  virtual bool ReConstructJsonGet_App(Json::Value& app);
  // Turns what the edit form sent into the app section to store, in place. Runs before a task
  // record exists; the task's stored section is to be had from GetOriginAppObj.
  virtual bool ReConstructJsonSet_App(Json::Value& app);
  // Whether the edit form may change the task's owner.
  virtual bool GetAppEditOwnerValue();

 protected:
  // Fills `app_obj` with the app section of the task that the request names, or of a new task when
  // it names none. False after an error has been recorded.
  bool GetOriginAppObj(Json::Value& app_obj);

 private:
  // Write a line to the log, with the error state and for the first also the task's id, and record
  // an error. Always false.
  bool FailForTask(int line, const char* text, int id, int code, const char* message);
  bool Fail(int line, const char* text, int code, const char* message);

  // The steps of GetData: the stored sections of a task, and their reshaping into the document.
  bool ReadSections(int id, Json::Value& doc);
  bool ReConstructJsonGet(Json::Value& doc, int version);
  bool ReConstructJsonGet_Basic(Json::Value& doc);
  bool ReConstructJsonGet_Schedule(Json::Value& schedule);

  // The steps of SetData: the reshaping of the document, and its storing.
  bool ReConstructJsonSet(Json::Value& doc, int version);
  bool ReConstructJsonSet_Basic(Json::Value& doc);
  bool ReConstructJsonSet_Schedule(Json::Value& schedule);
  bool SaveSections(const Json::Value& doc, int& id);
};
