#include "module/fake_platform.h"

#include <gtest/gtest.h>
#include <kavoconf.h>
#include <kavopackage.h>
#include <kavoshare.h>
#include <kavozel.h>
#include <xlibc.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <utility>

FakePlatform platform;

FakeTask& FakePlatform::add(int id, const std::string& app, const std::string& app_args) {
  FakeTask& task = tasks[id];
  task.id = id;
  task.name = "task " + std::to_string(id);
  task.app = app;
  task.app_args = app_args;
  return task;
}

// --- Parsers that stay allocated -----------------------------------------------------------------
// The parser's class has no destructor to count, so the program's own operator delete tells whether
// the block that a parser lies in was released. The places are kept inverted: as they are, the leak
// checker would take them for references to the parsers.

namespace {

std::array<uintptr_t, 1024> parser_places;
size_t parser_count = 0;

}  // namespace

int live_parsers() {
  return static_cast<int>(parser_count);
}

#pragma GCC diagnostic ignored "-Wsized-deallocation"
void operator delete(void* block, size_t size) noexcept {
  const auto begin = reinterpret_cast<uintptr_t>(block);
  const auto last = parser_places.begin() + parser_count;
  const auto kept = std::remove_if(parser_places.begin(), last,
                                   [&](uintptr_t place) { return ~place - begin < size; });
  parser_count = static_cast<size_t>(kept - parser_places.begin());
  operator delete(block);
}

// --- System log ----------------------------------------------------------------------------------
// Declared here, because the C library's header would make the fortified form inline.

constexpr int kLogErr = 3;
#define DEFINE_SYSLOG(head)                                                                      \
  extern "C" head;                                                                               \
  head {                                                                                         \
    std::array<char, 16384> line{};                                                              \
    va_list arguments;                                                                           \
    va_start(arguments, format);                                                                 \
    EXPECT_LT(std::vsnprintf(line.data(), line.size(), format, arguments), int{line.size()});    \
    va_end(arguments);                                                                           \
    platform.log.push_back((priority == kLogErr ? "" : std::to_string(priority)) + line.data()); \
  }
DEFINE_SYSLOG(void syslog(int priority, const char* format, ...))
DEFINE_SYSLOG(void __syslog_chk(int priority, int, const char* format, ...))

// --- Base library --------------------------------------------------------------------------------

namespace {

// Puts a text into a buffer; `result`, or -1 when it does not fit.
int fill(char* buffer, const std::string& text, size_t size, int result) {
  if (text.size() >= size) return -1;
  std::memcpy(buffer, text.c_str(), text.size() + 1);
  return result;
}

}  // namespace

// clang-format off
void XLIBCErrSetEx(int code, const char* file, int line) { platform.error = {code, file, line}; }
int XLIBCErrGet() { return platform.error.code; }
const char* XLIBCErrorGetFile() { return platform.error.file; }
int XLIBCErrorGetLine() { return platform.error.line; }
// clang-format on

// A backslash before every byte but letters and digits: at most 2n + 1 bytes with the zero.
int XLIBCEncShParam(const char* text, char* buffer, size_t size) {
  const bool arrived = platform.enter("XLIBCEncShParam", text, size);
  std::string quoted;
  for (; *text != '\0'; quoted += *text++) {
    if (std::isalnum(static_cast<unsigned char>(*text)) == 0) quoted += '\\';
  }
  errno = arrived ? 0 : ENOSPC;
  return arrived ? fill(buffer, quoted, size, static_cast<int>(quoted.size())) : -1;
}

int XLIBCStrReplace(char* buffer, const char* from, const char* to, int ignore_case, size_t size) {
  EXPECT_EQ(ignore_case, 0);
  if (!platform.enter("XLIBCStrReplace", from)) return -1;
  std::string text = buffer;
  int count = 0;
  for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += std::strlen(to)) {
    text.replace(at, std::strlen(from), to);
    ++count;
  }
  return fill(buffer, text, size, count);
}

struct XLIBCSzHash : std::map<std::string, std::string> {};
struct XLIBCSzList : Lines {};

namespace {

// Hands out an object and takes it back, and counts those that are out.
template <typename Object, typename... Arguments>
Object* hand_out(int& out, const char* operation, Arguments... arguments) {
  if (!platform.enter(operation, arguments...)) return nullptr;
  ++out;
  return new Object;
}
template <typename Object>
void take_back(Object* object, int& out) {
  if (object != nullptr) --out;
  delete object;
}

}  // namespace

// clang-format off
XLIBCSzHash* XLIBCSzHashAlloc(int size) { return hand_out<XLIBCSzHash>(platform.hashes, "XLIBCSzHashAlloc", size); }
XLIBCSzList* XLIBCSzListAlloc(int size) { return hand_out<XLIBCSzList>(platform.string_lists, "XLIBCSzListAlloc", size); }
void XLIBCSzHashFree(XLIBCSzHash* hash) { take_back(hash, platform.hashes); }
void XLIBCSzListFree(XLIBCSzList* list) { take_back(list, platform.string_lists); }
int XLIBCSzListPush(XLIBCSzList** list, const char* text) { return (*list)->emplace_back(text), XLIBCSzListCount(*list); }
int XLIBCSzListCount(const XLIBCSzList* list) { return static_cast<int>(list->size()); }
const char* XLIBCSzListGet(const XLIBCSzList* list, int index) { return list->at(static_cast<size_t>(index)).c_str(); }
int XLIBCSzHashSetValue(XLIBCSzHash** hash, const char* key, const char* value) { return (**hash)[key] = value, 0; }
const char* XLIBCSzHashGetValue(const XLIBCSzHash* hash, const char* key) {
  return hash->contains(key) ? hash->at(key).c_str() : nullptr;
}
// clang-format on

// --- Configuration, strings, packages, shares ----------------------------------------------------

std::string KavoConf::Def(const std::string& key, const std::string& fallback) {
  platform.enter("KavoConf::Def", key, fallback);
  return platform.configuration.contains(key) ? platform.configuration[key] : fallback;
}

KAVO::ZEL::JSConfigParser::JSConfigParser(const std::string& language) : language_(language) {
  parser_places.at(parser_count++) = ~reinterpret_cast<uintptr_t>(this);
}
// clang-format off
bool KAVO::ZEL::JSConfigParser::Parse() { return texts_ = platform.app_locations, true; }
Json::Value KAVO::ZEL::JSConfigParser::GetTexts() const { return texts_; }
bool KAVOPackageTool::PackageManager::init() { return platform.enter("PackageManager::init"); }
// clang-format on
Json::Value KAVO::ZEL::LocalizedStringParser::ParseTexts(const std::string& path) const {
  platform.parsed_paths.push_back(path);
  if (path.ends_with("throws")) throw std::runtime_error("strings cannot be parsed");
  return platform.strings.contains(path) ? platform.strings[path] : Json::Value();
}

std::list<std::string> KAVOPackageTool::PackageManager::enumPackages(const void* filter) const {
  EXPECT_EQ(filter, nullptr);
  std::list<std::string> names;
  for (const FakePackage& package : platform.packages) names.push_back(package.name);
  return names;
}
bool KAVOPackageTool::PackageManager::getPackageInfo(const std::string& name, PackageInfo& info,
                                                     const void* locale) const {
  EXPECT_EQ(locale, nullptr);
  for (const FakePackage& package : platform.packages) {
    if (package.name != name || !package.has_info) continue;
    info = {package.display_name, package.can_be_started};
    return true;
  }
  return false;
}

int KAVOShareEnum(XLIBCSzList** list, unsigned int flags) {
  if (!platform.enter("KAVOShareEnum", flags)) return -1;
  for (const std::string& share : platform.shares) XLIBCSzListPush(list, share.c_str());
  return static_cast<int>(platform.shares.size());
}
int KAVORecycleStatusSet(const char* name, int status) {
  return platform.enter("KAVORecycleStatusSet", name, status) ? 0 : -1;
}

// --- Task store ----------------------------------------------------------------------------------

struct _tag_kavo_sched_task_ : FakeTask {
  _tag_kavo_sched_task_* next = nullptr;
};

namespace {

// Whether a call with an id arrives and the id is one that it can have.
bool found(const char* operation, int id) {
  if (!platform.enter(operation, id)) return false;
  const bool stored = id == -1 || platform.tasks.contains(id);
  if (!stored) platform.error = {0x0404, "store.c", 9};
  return stored;
}

}  // namespace

_tag_kavo_sched_task_* KAVOSchedTaskAlloc() {
  return hand_out<_tag_kavo_sched_task_>(platform.records, "KAVOSchedTaskAlloc");
}
void KAVOSchedTaskFree(_tag_kavo_sched_task_* task) {
  take_back(task, platform.records);
}
int KAVOSchedTaskLoad(int id, _tag_kavo_sched_task_* task) {
  if (!found("KAVOSchedTaskLoad", id)) return -1;
  static_cast<FakeTask&>(*task) = id == -1 ? FakeTask() : platform.tasks[id];
  return 0;
}
int KAVOSchedTaskSave(_tag_kavo_sched_task_* task) {
  if (!found("KAVOSchedTaskSave", task->id)) return -1;
  if (task->id == -1) task->id = platform.tasks.empty() ? 1 : platform.tasks.rbegin()->first + 1;
  platform.tasks[task->id] = *task;
  return 0;
}
int KAVOSchedTaskRun(int id, int reserved1, int reserved2) {
  EXPECT_TRUE(reserved1 == 0 && reserved2 == 0);
  return found("KAVOSchedTaskRun", id) ? 0 : -1;
}
int KAVOSchedTaskRemove(int id) {
  return found("KAVOSchedTaskRemove", id) && platform.tasks.erase(id) == 1 ? 0 : -1;
}

int KAVOSchedTaskListGet(_tag_kavo_sched_task_** head,
                         bool (*filter)(const _tag_kavo_sched_task_* task)) {
  EXPECT_EQ(*head, nullptr);
  if (!platform.enter("KAVOSchedTaskListGet")) return -1;
  int count = 0;
  for (const auto& [id, task] : platform.tasks) {
    const _tag_kavo_sched_task_ candidate{task};
    if (!filter(&candidate)) continue;
    head = &(*head = new _tag_kavo_sched_task_{task})->next;
    ++platform.records;
    ++count;
  }
  return count;
}
// Orders by id, whatever the key, so that a descending list has another head.
int KAVOSchedTaskListSort(_tag_kavo_sched_task_** head, const char* key, int ascending) {
  if (!platform.enter("KAVOSchedTaskListSort", key, ascending)) return -1;
  if (ascending != 0) return 0;
  for (auto* task = std::exchange(*head, nullptr); task != nullptr;) {
    std::swap(task->next, *head);
    std::swap(task, *head);
  }
  return 0;
}
_tag_kavo_sched_task_* KAVOSchedTaskNext(const _tag_kavo_sched_task_* task) {
  return task->next;
}
void KAVOSchedTaskListFree(_tag_kavo_sched_task_** head) {
  EXPECT_NE(*head, nullptr);
  while (*head != nullptr) KAVOSchedTaskFree(std::exchange(*head, (*head)->next));
}

bool KAVOSchedTaskConvertToJson_Basic(const _tag_kavo_sched_task_& task, Json::Value& doc) {
  if (!platform.enter("KAVOSchedTaskConvertToJson_Basic")) return false;
  Json::Value& basic = doc["basic"] = task.basic;
  if (!basic.isNull()) return true;
  basic["id"] = task.id;
  basic["task_name"] = task.name;
  basic["owner"] = task.owner;
  basic["enabled"] = task.enabled ? "on" : "off";
  basic["app"] = task.app;
  basic["action"] = task.action;
  basic["can_edit_name"] = true;
  return true;
}
bool KAVOSchedTaskConvertToJson_Schedule(const _tag_kavo_sched_task_& task, Json::Value& doc) {
  doc["schedule"] = task.schedule;
  return platform.enter("KAVOSchedTaskConvertToJson_Schedule");
}
bool KAVOSchedTaskConvertFromJson_Basic(const Json::Value& doc, _tag_kavo_sched_task_& task) {
  platform.basic_document = doc;
  if (!platform.enter("KAVOSchedTaskConvertFromJson_Basic")) return false;
  const Json::Value& basic = doc["basic"];
  task.id = std::stoi(basic["id"].asString());
  task.name = basic["task_name"].asString();
  task.owner = basic["owner"].asString();
  task.enabled = basic["enabled"] == "on";
  return true;
}
bool KAVOSchedTaskConvertFromJson_Schedule(const Json::Value& doc, _tag_kavo_sched_task_& task) {
  platform.schedule_document = doc;
  task.schedule = doc["schedule"];
  return platform.enter("KAVOSchedTaskConvertFromJson_Schedule");
}

// clang-format off
#define GETTER(type, name, value) type name(const _tag_kavo_sched_task_& task) { return task.value; }
#define SETTER(name, type, set) \
  int KAVOSchedCTask##name(_tag_kavo_sched_task_* task, type value) { \
    if (!platform.enter(#name, value)) return -1; \
    return (void)task, (void)(set), 0; \
  }

GETTER(int, KAVOSchedTaskGetID, id)
GETTER(std::string, KAVOSchedTaskGetName, name)
GETTER(std::string, KAVOSchedTaskGetApp, app)
GETTER(std::string, KAVOSchedTaskGetAppName, app_name)
GETTER(std::string, KAVOSchedTaskGetAppArgs, app_args)
GETTER(std::string, KAVOSchedTaskGetAction, action)
GETTER(std::string, KAVOSchedTaskGetNextTriggerTime, next_trigger_time)
GETTER(bool, KAVOSchedTaskIsNew, id == -1)
GETTER(bool, KAVOSchedTaskIsEnabled, enabled)
GETTER(bool, KAVOSchedTaskIsListable, listable)
GETTER(bool, KAVOSchedTaskIsCanRunFromUI, can_run)
GETTER(bool, KAVOSchedTaskIsCanEditFromUI, can_edit)
GETTER(bool, KAVOSchedTaskIsCanDeleteFromUI, can_delete)

SETTER(SetApp, const char*, task->app = value)
SETTER(SetAppName, const char*, task->app_name = value)
SETTER(SetAppArgs, const char*, task->app_args = value)
SETTER(SetAction, const char*, task->action = value)
SETTER(SetCommand, const char*, task->command = value)
SETTER(SetState, int, task->enabled = value != 0)
// Of these it is only recorded that they were set.
SETTER(SetEditForm, const char*, 0)
SETTER(SetSimpleEditForm, int, 0)
SETTER(SetCanEditName, int, 0)
SETTER(SetCanEditOwner, int, 0)
SETTER(SetCanRunAppSameTime, int, 0)
SETTER(SetCanRunTaskSameTime, int, 0)
SETTER(SetListable, int, 0)
// clang-format on
