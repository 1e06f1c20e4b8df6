// What the module exports: its method table and the entry function of each method.
//
// The server calls an entry function once for a request, on any thread. Every request that reaches
// a handler leaves its string parser allocated, on purpose. Exceptions of the JSON library pass
// through to the server; the handler is destroyed on the way.
#pragma once

#include <kavowebapi.h>

#pragma GCC visibility push(default)

extern "C" {

// The rows of the module, ended by a row of zeros. Static data that is only read.
extern const KAVO::APIMethod gTable[];

// The address of gTable.
const KAVO::APIMethod* GetAPITable();

}  // extern "C"

void TaskSchedulerList_v1(KAVO::APIRequest* request, KAVO::APIResponse* response);
void TaskSchedulerSetEnable_v1(KAVO::APIRequest* request, KAVO::APIResponse* response);
void TaskSchedulerDelete_v1(KAVO::APIRequest* request, KAVO::APIResponse* response);
void TaskSchedulerRun_v1(KAVO::APIRequest* request, KAVO::APIResponse* response);

// The class that serves "get" follows the request's "type", or else the stored task's app; "set"
// follows the stored task's app; "create" follows the request's "type".
void TaskSchedulerGet(KAVO::APIRequest* request, KAVO::APIResponse* response, int version);
void TaskSchedulerSet(KAVO::APIRequest* request, KAVO::APIResponse* response, int version);
void TaskSchedulerCreate(KAVO::APIRequest* request, KAVO::APIResponse* response, int version);

void TaskSchedulerGet_v1(KAVO::APIRequest* request, KAVO::APIResponse* response);
void TaskSchedulerGet_v2(KAVO::APIRequest* request, KAVO::APIResponse* response);
void TaskSchedulerSet_v1(KAVO::APIRequest* request, KAVO::APIResponse* response);
void TaskSchedulerSet_v2(KAVO::APIRequest* request, KAVO::APIResponse* response);
void TaskSchedulerCreate_v1(KAVO::APIRequest* request, KAVO::APIResponse* response);
void TaskSchedulerCreate_v2(KAVO::APIRequest* request, KAVO::APIResponse* response);

#pragma GCC visibility pop
