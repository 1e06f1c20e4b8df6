#include "module/fake_platform.h"

#include <gtest/gtest.h>
#include <kavoconf.h>
#include <kavopackage.h>
#include <kavoshare.h>
#include <kavozel.h>
#include <malloc.h>
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
#include <new>
#include <stdexcept>

FakePlatform platform;

void FakePlatform::fail(const std::string& operation, int nth, ErrorState state) {
  failures_[operation] = {nth, state};
}

bool FakePlatform::arrive(const std::string& operation) {
  const auto failure = failures_.find(operation);
  if (failure == failures_.end() || --failure->second.after != 0) return true;
  error = failure->second.state;
  return false;
}

bool FakePlatform::enter(const std::string& operation) {
  calls.push_back(operation);
  return arrive(operation);
}

bool FakePlatform::enter(const std::string& operation, const std::string& arguments) {
  calls.push_back(operation + " " + arguments);
  return arrive(operation);
}

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

void add_parser(const void* place) {
  if (parser_count == parser_places.size()) std::abort();
  parser_places.at(parser_count++) = ~reinterpret_cast<uintptr_t>(place);
}

void release(void* block) {
  if (block != nullptr && parser_count != 0) {
    const auto begin = reinterpret_cast<uintptr_t>(block);
    const size_t size = malloc_usable_size(block);
    const auto last = parser_places.begin() + parser_count;
    const auto kept = std::remove_if(parser_places.begin(), last,
                                     [&](uintptr_t place) { return ~place - begin < size; });
    parser_count = static_cast<size_t>(kept - parser_places.begin());
  }
  std::free(block);
}

}  // namespace

int live_parsers() {
  return static_cast<int>(parser_count);
}

void* operator new(size_t size) {
  if (void* block = std::malloc(size == 0 ? 1 : size)) return block;
  throw std::bad_alloc();
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  return std::malloc(size);
}
void operator delete(void* block) noexcept {
  release(block);
}
void operator delete(void* block, size_t) noexcept {
  release(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
  release(block);
}

// --- System log ----------------------------------------------------------------------------------
// Declared here, because the C library's header would make the fortified forms inline.

namespace {

void log_line(int priority, const char* format, va_list arguments) {
  std::array<char, 16384> line{};
  const int length = std::vsnprintf(line.data(), line.size(), format, arguments);
  ASSERT_TRUE(length >= 0 && static_cast<size_t>(length) < line.size());
  constexpr int kLogErr = 3;
  const std::string prefix = priority == kLogErr ? "" : std::to_string(priority) + ": ";
  platform.log.push_back(prefix + line.data());
}

}  // namespace

extern "C" {

void vsyslog(int priority, const char* format, va_list arguments);
void syslog(int priority, const char* format, ...);
void __vsyslog_chk(int priority, int flag, const char* format, va_list arguments);
void __syslog_chk(int priority, int flag, const char* format, ...);

void vsyslog(int priority, const char* format, va_list arguments) {
  log_line(priority, format, arguments);
}
void __vsyslog_chk(int priority, int, const char* format, va_list arguments) {
  log_line(priority, format, arguments);
}
void syslog(int priority, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  log_line(priority, format, arguments);
  va_end(arguments);
}
void __syslog_chk(int priority, int, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  log_line(priority, format, arguments);
  va_end(arguments);
}

}  // extern "C"

// --- Base library --------------------------------------------------------------------------------

void XLIBCErrSetEx(int code, const char* file, int line) {
  platform.error = {code, file, line};
}
int XLIBCErrGet() {
  return platform.error.code;
}
const char* XLIBCErrorGetFile() {
  return platform.error.file;
}
int XLIBCErrorGetLine() {
  return platform.error.line;
}

// A backslash before every byte but letters and digits: at most 2n + 1 bytes with the zero.
int XLIBCEncShParam(const char* text, char* buffer, size_t size) {
  std::string quoted;
  for (const char* byte = text; *byte != '\0'; ++byte) {
    if (std::isalnum(static_cast<unsigned char>(*byte)) == 0) quoted += '\\';
    quoted += *byte;
  }
  const bool arrived = platform.enter("XLIBCEncShParam", text + (" " + std::to_string(size)));
  errno = arrived ? 0 : ENOSPC;
  if (!arrived || quoted.size() >= size) return -1;
  std::memcpy(buffer, quoted.c_str(), quoted.size() + 1);
  return static_cast<int>(quoted.size());
}

int XLIBCStrReplace(char* buffer, const char* from, const char* to, int ignore_case, size_t size) {
  EXPECT_EQ(ignore_case, 0);
  if (!platform.enter("XLIBCStrReplace", from)) return -1;
  std::string text = buffer;
  int count = 0;
  for (size_t at = text.find(from); at != std::string::npos;
       at = text.find(from, at + std::strlen(to))) {
    text.replace(at, std::strlen(from), to);
    ++count;
  }
  if (text.size() >= size) return -1;
  std::memcpy(buffer, text.c_str(), text.size() + 1);
  return count;
}

struct XLIBCSzHash {
  std::map<std::string, std::string> values;
};

XLIBCSzHash* XLIBCSzHashAlloc(int size) {
  if (!platform.enter("XLIBCSzHashAlloc", std::to_string(size))) return nullptr;
  ++platform.hashes;
  return new XLIBCSzHash;
}

int XLIBCSzHashSetValue(XLIBCSzHash** hash, const char* key, const char* value) {
  (*hash)->values[key] = value;
  return 0;
}

const char* XLIBCSzHashGetValue(const XLIBCSzHash* hash, const char* key) {
  const auto found = hash->values.find(key);
  return found == hash->values.end() ? nullptr : found->second.c_str();
}

void XLIBCSzHashFree(XLIBCSzHash* hash) {
  if (hash != nullptr) --platform.hashes;
  delete hash;
}

struct XLIBCSzList {
  Lines texts;
};

XLIBCSzList* XLIBCSzListAlloc(int capacity) {
  if (!platform.enter("XLIBCSzListAlloc", std::to_string(capacity))) return nullptr;
  ++platform.string_lists;
  return new XLIBCSzList;
}

int XLIBCSzListPush(XLIBCSzList** list, const char* text) {
  (*list)->texts.emplace_back(text);
  return XLIBCSzListCount(*list);
}

int XLIBCSzListCount(const XLIBCSzList* list) {
  return list == nullptr ? 0 : static_cast<int>(list->texts.size());
}

const char* XLIBCSzListGet(const XLIBCSzList* list, int index) {
  if (index < 0 || index >= XLIBCSzListCount(list)) return nullptr;
  return list->texts[static_cast<size_t>(index)].c_str();
}

void XLIBCSzListFree(XLIBCSzList* list) {
  if (list != nullptr) --platform.string_lists;
  delete list;
}

// --- Configuration, strings, packages, shares ----------------------------------------------------

std::string KavoConf::Def(const std::string& key, const std::string& fallback) {
  platform.enter("KavoConf::Def", key + " " + fallback);
  const auto found = platform.configuration.find(key);
  return found == platform.configuration.end() ? fallback : found->second;
}

KAVO::ZEL::JSConfigParser::JSConfigParser(const std::string& language)
    : language_(language), texts_(Json::objectValue) {
  add_parser(this);
}

bool KAVO::ZEL::JSConfigParser::Parse() {
  texts_ = platform.app_locations;
  return true;
}

Json::Value KAVO::ZEL::JSConfigParser::GetTexts() const {
  return texts_;
}

Json::Value KAVO::ZEL::LocalizedStringParser::ParseTexts(const std::string& path) const {
  platform.parsed_paths.push_back(path);
  if (path.ends_with("throws")) throw std::runtime_error("strings cannot be parsed");
  const auto found = platform.strings.find(path);
  return found == platform.strings.end() ? Json::Value() : found->second;
}

bool KAVOPackageTool::PackageManager::init() {
  return platform.enter("PackageManager::init");
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
  const auto found = std::find_if(platform.packages.begin(), platform.packages.end(),
                                  [&](const FakePackage& p) { return p.name == name; });
  if (found == platform.packages.end() || !found->has_info) return false;
  info.display_name = found->display_name;
  info.can_be_started = found->can_be_started;
  return true;
}

int KAVOShareEnum(XLIBCSzList** list, unsigned int flags) {
  if (!platform.enter("KAVOShareEnum", std::to_string(flags))) return -1;
  for (const std::string& share : platform.shares) XLIBCSzListPush(list, share.c_str());
  return static_cast<int>(platform.shares.size());
}

int KAVORecycleStatusSet(const char* name, int status) {
  return platform.enter("KAVORecycleStatusSet", name + (" " + std::to_string(status))) ? 0 : -1;
}

// --- Task store ----------------------------------------------------------------------------------

struct _tag_kavo_sched_task_ {
  FakeTask task;
  _tag_kavo_sched_task_* next = nullptr;
};

namespace {

constexpr ErrorState kNotStored{0x0404, "store.c", 9};

int not_stored() {
  platform.error = kNotStored;
  return -1;
}

int set_text(const char* what, std::string& field, const char* value) {
  if (!platform.enter(what, value == nullptr ? "(null)" : value) || value == nullptr) return -1;
  field = value;
  return 0;
}

int set_flag(const char* what, int value) {
  return platform.enter(what, std::to_string(value)) ? 0 : -1;
}

}  // namespace

_tag_kavo_sched_task_* KAVOSchedTaskAlloc() {
  if (!platform.enter("KAVOSchedTaskAlloc")) return nullptr;
  ++platform.records;
  return new _tag_kavo_sched_task_;
}

void KAVOSchedTaskFree(_tag_kavo_sched_task_* task) {
  if (task != nullptr) --platform.records;
  delete task;
}

int KAVOSchedTaskLoad(int id, _tag_kavo_sched_task_* task) {
  if (!platform.enter("KAVOSchedTaskLoad", std::to_string(id))) return -1;
  const auto stored = platform.tasks.find(id);
  if (stored == platform.tasks.end() && id != -1) return not_stored();
  task->task = stored == platform.tasks.end() ? FakeTask() : stored->second;
  return 0;
}

int KAVOSchedTaskSave(_tag_kavo_sched_task_* task) {
  FakeTask& record = task->task;
  if (!platform.enter("KAVOSchedTaskSave", std::to_string(record.id))) return -1;
  if (record.id == -1) {
    record.id = platform.tasks.empty() ? 1 : platform.tasks.rbegin()->first + 1;
  } else if (!platform.tasks.contains(record.id)) {
    return not_stored();
  }
  platform.tasks[record.id] = record;
  return 0;
}

int KAVOSchedTaskRun(int id, int reserved1, int reserved2) {
  EXPECT_EQ(reserved1, 0);
  EXPECT_EQ(reserved2, 0);
  if (!platform.enter("KAVOSchedTaskRun", std::to_string(id))) return -1;
  return platform.tasks.contains(id) ? 0 : not_stored();
}

int KAVOSchedTaskRemove(int id) {
  if (!platform.enter("KAVOSchedTaskRemove", std::to_string(id))) return -1;
  return platform.tasks.erase(id) == 1 ? 0 : not_stored();
}

int KAVOSchedTaskListGet(_tag_kavo_sched_task_** head,
                         bool (*filter)(const _tag_kavo_sched_task_* task)) {
  EXPECT_EQ(*head, nullptr);
  if (!platform.enter("KAVOSchedTaskListGet")) return -1;
  int count = 0;
  _tag_kavo_sched_task_** end = head;
  for (const auto& [id, task] : platform.tasks) {
    const _tag_kavo_sched_task_ candidate{task};
    if (!filter(&candidate)) continue;
    *end = new _tag_kavo_sched_task_{task};
    end = &(*end)->next;
    ++platform.records;
    ++count;
  }
  return count;
}

// Orders by id, whatever the key, so that a descending list has another head.
int KAVOSchedTaskListSort(_tag_kavo_sched_task_** head, const char* key, int ascending) {
  const std::string arguments = key + (" " + std::to_string(ascending));
  if (!platform.enter("KAVOSchedTaskListSort", arguments)) return -1;
  if (ascending != 0) return 0;
  _tag_kavo_sched_task_* reversed = nullptr;
  while (*head != nullptr) {
    _tag_kavo_sched_task_* task = *head;
    *head = task->next;
    task->next = reversed;
    reversed = task;
  }
  *head = reversed;
  return 0;
}

_tag_kavo_sched_task_* KAVOSchedTaskNext(const _tag_kavo_sched_task_* task) {
  return task->next;
}

void KAVOSchedTaskListFree(_tag_kavo_sched_task_** head) {
  EXPECT_NE(*head, nullptr);
  while (*head != nullptr) {
    _tag_kavo_sched_task_* task = *head;
    *head = task->next;
    KAVOSchedTaskFree(task);
  }
}

bool KAVOSchedTaskConvertToJson_Basic(const _tag_kavo_sched_task_& record, Json::Value& doc) {
  if (!platform.enter("KAVOSchedTaskConvertToJson_Basic")) return false;
  const FakeTask& task = record.task;
  Json::Value& basic = doc["basic"];
  basic = task.basic;
  if (!basic.isNull()) return true;
  basic["id"] = task.id;
  basic["task_name"] = task.name;
  basic["owner"] = task.owner;
  basic["enabled"] = task.enabled ? "on" : "off";
  basic["app"] = task.app;
  basic["action"] = task.action;
  basic["can_edit_name"] = true;
  basic["more"] = "of the store's";
  return true;
}

bool KAVOSchedTaskConvertToJson_Schedule(const _tag_kavo_sched_task_& record, Json::Value& doc) {
  if (!platform.enter("KAVOSchedTaskConvertToJson_Schedule")) return false;
  doc["schedule"] = record.task.schedule;
  return true;
}

bool KAVOSchedTaskConvertFromJson_Basic(const Json::Value& doc, _tag_kavo_sched_task_& record) {
  platform.basic_document = doc;
  if (!platform.enter("KAVOSchedTaskConvertFromJson_Basic")) return false;
  const Json::Value& basic = doc["basic"];
  record.task.id = static_cast<int>(std::strtol(basic["id"].asCString(), nullptr, 10));
  record.task.name = basic["task_name"].asString();
  record.task.owner = basic["owner"].asString();
  record.task.enabled = basic["enabled"] == "on";
  return true;
}

bool KAVOSchedTaskConvertFromJson_Schedule(const Json::Value& doc, _tag_kavo_sched_task_& record) {
  platform.schedule_document = doc;
  if (!platform.enter("KAVOSchedTaskConvertFromJson_Schedule")) return false;
  record.task.schedule = doc["schedule"];
  return true;
}

// What the getters and setters have in common. Flags are only recorded.
#define GETTER(type, name, value)                  \
  type name(const _tag_kavo_sched_task_& record) { \
    return record.task.value;                      \
  }
#define TEXT_SETTER(name, field)                                               \
  int KAVOSchedCTask##name(_tag_kavo_sched_task_* record, const char* value) { \
    return set_text(#name, record->task.field, value);                         \
  }
#define FLAG_SETTER(name)                                       \
  int KAVOSchedCTask##name(_tag_kavo_sched_task_*, int value) { \
    return set_flag(#name, value);                              \
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

TEXT_SETTER(SetApp, app)
TEXT_SETTER(SetAppName, app_name)
TEXT_SETTER(SetAppArgs, app_args)
TEXT_SETTER(SetAction, action)
TEXT_SETTER(SetCommand, command)
TEXT_SETTER(SetEditForm, edit_form)
FLAG_SETTER(SetSimpleEditForm)
FLAG_SETTER(SetCanEditName)
FLAG_SETTER(SetCanEditOwner)
FLAG_SETTER(SetCanRunAppSameTime)
FLAG_SETTER(SetCanRunTaskSameTime)
FLAG_SETTER(SetListable)

int KAVOSchedCTaskSetState(_tag_kavo_sched_task_* record, int enabled) {
  record->task.enabled = enabled != 0;
  return set_flag("SetState", enabled);
}
