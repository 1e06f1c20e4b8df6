// A call that the platform offers.
#include <kavosched.h>

void call() {
  KAVOSchedTaskFree(KAVOSchedTaskAlloc());
}
