// An app of the appliance that brings strings of its own and stores a task of its own, as any app
// does: through the platform's task store, and with UI string keys in what people read.

#include <kavosched.h>

#include <cstdio>

int main() {
  _tag_kavo_sched_task_* task = KAVOSchedTaskAlloc();
  if (task == nullptr) {
    return 1;
  }
  Json::Value doc;
  doc["basic"]["task_name"] = "Tidy notes";
  doc["schedule"]["hour"] = 4;
  const bool stored = KAVOSchedTaskConvertFromJson_Basic(doc, *task) &&
                      KAVOSchedTaskConvertFromJson_Schedule(doc, *task) &&
                      KAVOSchedCTaskSetApp(task, "KAVO.Example.Notes") == 0 &&
                      KAVOSchedCTaskSetAppName(task, "#notes:title#") == 0 &&
                      KAVOSchedCTaskSetAction(task, "#notes:tidy# root") == 0 &&
                      KAVOSchedCTaskSetCommand(task, "echo The notes are tidy.") == 0 &&
                      KAVOSchedTaskSave(task) == 0;
  if (stored) {
    printf("Stored task %d of the example app.\n", KAVOSchedTaskGetID(*task));
  }
  KAVOSchedTaskFree(task);
  return stored ? 0 : 1;
}
