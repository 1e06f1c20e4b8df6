// A program that reaches for a handler inside the module.
#include "handler.h"

void call(TaskSchedulerHandler& handler) {
  handler.ReportError();
}

int main() {}
