// Tasks that clean the recycle bins of shares, or switch them on or off.

#include <kavoshare.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <utility>

#include "json_text.h"
#include "lib.h"
#include "log.h"
#include "recycle_handler.h"

namespace {

constexpr char kSource[] = "KAVO.Core.TaskScheduler.Recycle";
constexpr unsigned int kAllShares = 0x30F;

constexpr char kActionDisable[] = "0";
constexpr char kActionEnable[] = "1";
constexpr char kActionClean[] = "2";
constexpr char kPolicySize[] = "clean_policy_by_size";
constexpr char kPolicyTime[] = "clean_policy_by_time";
constexpr char kPolicyDefault[] = "clean_policy_default";
constexpr char kSortLargeFirst[] = "Delete large files first";
constexpr char kSortOldFirst[] = "Delete old files first";

// One of the three kinds of files that a clean keeps: its switch and its value in the form and in
// the stored section.
struct ReserveRow {
  const char* form_check;
  const char* form_value;
  const char* stored_check;
  const char* stored_value;
  bool is_size;
};

constexpr ReserveRow kReserves[] = {
    {"size_greater_check", "size_greater", "reserve_policy_size_greater_check",
     "reserve_policy_size_greater", true},
    {"size_smaller_check", "size_smaller", "reserve_policy_size_smaller_check",
     "reserve_policy_size_smaller", true},
    {"extension_check", "extension", "reserve_policy_extension_check", "reserve_policy_extension",
     false},
};

struct ListFree {
  void operator()(XLIBCSzList* list) const { XLIBCSzListFree(list); }
};

// The decimal number that a text begins with, 0 when there is none, in 32 bits.
int LeadingNumber(const Json::Value& text) {
  return static_cast<int>(strtol(text.asString().c_str(), nullptr, 10));
}

// The bytes of a number of megabytes, as the tool's options take them. The product has 32 bits and
// is widened with its sign, so 2048 MB and more wrap around: the tool and its users know these
// numbers.
std::string ByteCount(const Json::Value& megabytes) {
  const auto product = static_cast<std::uint32_t>(LeadingNumber(megabytes)) << 20;
  const std::int64_t bytes = static_cast<std::int32_t>(product);
  return std::to_string(static_cast<std::uint64_t>(bytes));
}

Json::Value FormCleanPolicy(const Json::Value& stored) {
  Json::Value form;
  const std::string policy = stored["clean_policy"].asString();
  if (policy == kPolicySize) {
    form["policy"] = "size";
    form["size"] = LeadingNumber(stored["clean_policy_by_size_MB_number"]);
    form["sort_type"] =
        stored["clean_policy_by_size_sort_type"].asString() == kSortLargeFirst ? 0 : 1;
  } else if (policy == kPolicyTime) {
    form["policy"] = "time";
    form["time"] = LeadingNumber(stored["clean_policy_by_time_day"]);
  } else {
    form["policy"] = "clean_all";
  }
  return form;
}

Json::Value FormReservePolicy(const Json::Value& advconfig) {
  Json::Value form;
  for (const ReserveRow& row : kReserves) {
    const bool on =
        advconfig.isMember(row.stored_check) && advconfig[row.stored_check].asString() == "on";
    form[row.form_check] = on;
    if (on) {
      const Json::Value& value = advconfig[row.stored_value];
      form[row.form_value] = row.is_size ? Json::Value(LeadingNumber(value)) : value;
    }
  }
  return form;
}

void StoreCleanPolicy(const Json::Value& form, Json::Value& stored) {
  if (!form["policy"].isString()) {
    return;
  }
  const std::string policy = form["policy"].asString();
  if (policy == "size") {
    stored["clean_policy"] = kPolicySize;
    if (form["size"].isInt()) {
      stored["clean_policy_by_size_MB_number"] = std::to_string(form["size"].asInt());
    }
    if (form["sort_type"].isInt()) {
      stored["clean_policy_by_size_sort_type"] =
          form["sort_type"].asInt() == 1 ? kSortOldFirst : kSortLargeFirst;
    }
  } else if (policy == "time") {
    stored["clean_policy"] = kPolicyTime;
    if (form["time"].isInt()) {
      stored["clean_policy_by_time_day"] = std::to_string(form["time"].asInt());
    }
  } else {
    stored["clean_policy"] = kPolicyDefault;
  }
}

void StoreReservePolicy(const Json::Value& form, Json::Value& stored) {
  for (const ReserveRow& row : kReserves) {
    if (!form[row.form_check].isBool()) {
      continue;
    }
    Json::Value& advconfig = stored["advconfig"];
    const bool on = form[row.form_check].asBool();
    advconfig[row.stored_check] = on ? "on" : "off";
    const Json::Value& value = form[row.form_value];
    if (on && row.is_size && value.isInt()) {
      advconfig[row.stored_value] = std::to_string(value.asInt());
    } else if (on && !row.is_size && value.isArray()) {
      advconfig[row.stored_value] = value;
    }
  }
}

// A text or a number has no entries either, though the library does not call it empty.
bool HasEntries(const Json::Value& value) {
  return value.size() != 0;  // NOLINT(readability-container-size-empty)
}

// The tool's options for what a clean removes and what it keeps.
std::string CleanOptions(const Json::Value& app) {
  std::string options;
  const std::string policy = app["clean_policy"].asString();
  if (policy == kPolicyTime) {
    options += " -t " + app["clean_policy_by_time_day"].asString();
  } else if (policy == kPolicySize) {
    options += " -s " + ByteCount(app["clean_policy_by_size_MB_number"]);
    options +=
        app["clean_policy_by_size_sort_type"].asString() == kSortLargeFirst ? " -o 2" : " -o 1";
  }
  const Json::Value& advconfig = app["advconfig"];
  const Json::Value& extensions = advconfig["reserve_policy_extension"];
  if (advconfig["reserve_policy_extension_check"].asString() == "on" && HasEntries(extensions)) {
    std::string names;
    const char* separator = "";
    for (const Json::Value& extension : extensions) {
      names += separator + extension["file_ext"].asString();
      separator = ".";
    }
    options += " -file_ext=\"" + names + "\"";
  }
  if (advconfig["reserve_policy_size_greater_check"].asString() == "on") {
    options += " -m " + ByteCount(advconfig["reserve_policy_size_greater"]);
  }
  if (advconfig["reserve_policy_size_smaller_check"].asString() == "on") {
    options += " -l " + ByteCount(advconfig["reserve_policy_size_smaller"]);
  }
  return options;
}

// Adds what a recycle action says and does. False when there is no such action.
bool AppendAction(const std::string& recycle_action, std::string& action, std::string& command) {
  if (recycle_action == kActionDisable) {
    action = "#share:share_disable_recycle_bin#:";
    command += " --disable";
  } else if (recycle_action == kActionEnable) {
    action = "#share:share_enable_recycle_bin#:";
    command += " --enable";
  } else if (recycle_action == kActionClean) {
    action = "#schedule:clean_recycle_bin#:";
    command += " --clean";
  } else {
    return false;
  }
  return true;
}

}  // namespace

bool TaskSchedulerRecycleHandler::ConvertToJson_App(const _tag_kavo_sched_task_& task,
                                                    Json::Value& doc) {
  Json::Value app;
  if (KAVOSchedTaskIsNew(task)) {
    app["recycle_action"] = kActionClean;
    app["clean_all"] = "yes";
  } else {
    app = ParseText(KAVOSchedTaskGetAppArgs(task));
  }
  doc["app"] = app;
  return true;
}

bool TaskSchedulerRecycleHandler::ReConstructJsonGet_App(Json::Value& app) {
  const Json::Value& stored = app;
  Json::Value share_policy;
  share_policy["clean_all"] = stored["clean_all"].asString() == "yes";
  share_policy["shares"] = stored["selected_shares"];
  Json::Value file_policy = FormCleanPolicy(stored);
  file_policy["reserve_policy"] = FormReservePolicy(stored["advconfig"]);

  app["clean_share_policy"] = share_policy;
  app["clean_file_policy"] = file_policy;
  for (const char* key : {"clean_all", "selected_shares", "clean_policy", "recycle_action",
                          "clean_policy_by_size_MB_number", "clean_policy_by_time_day",
                          "clean_policy_by_size_sort_type", "advconfig"}) {
    app.removeMember(key);
  }
  return true;
}

bool TaskSchedulerRecycleHandler::ReConstructJsonSet_App(Json::Value& app) {
  Json::Value stored;
  if (!GetOriginAppObj(stored)) {
    return false;
  }
  const Json::Value& form = app;
  if (form.isMember("enableRecycle")) {
    stored["enableRecycle"] = form["enableRecycle"];
  }
  const Json::Value& share_policy = form["clean_share_policy"];
  if (share_policy.isObject()) {
    if (share_policy["shares"].isArray()) {
      stored["selected_shares"] = share_policy["shares"];
    }
    if (share_policy["clean_all"].isBool()) {
      stored["clean_all"] = share_policy["clean_all"].asBool() ? "yes" : "no";
    }
  }
  const Json::Value& file_policy = form["clean_file_policy"];
  if (file_policy.isObject()) {
    StoreCleanPolicy(file_policy, stored);
    if (file_policy["reserve_policy"].isObject()) {
      StoreReservePolicy(file_policy["reserve_policy"], stored);
    }
  }
  app = stored;
  return true;
}

bool TaskSchedulerRecycleHandler::ConvertFromJson_App(const Json::Value& doc,
                                                      _tag_kavo_sched_task_& task) {
  KAVOSchedCTaskSetEditForm(&task, "KAVO.ZEL.TaskScheduler.Recycle.FormPanel");
  KAVOSchedCTaskSetSimpleEditForm(&task, 1);
  KAVOSchedCTaskSetCanEditName(&task, 1);
  KAVOSchedCTaskSetCanEditOwner(&task, 0);
  KAVOSchedCTaskSetCanRunAppSameTime(&task, 1);
  KAVOSchedCTaskSetListable(&task, 1);
  KAVOSchedCTaskSetApp(&task, "KAVO.ZEL.TaskScheduler.Recycle");
  KAVOSchedCTaskSetAppName(&task, "#share:recycle_bin#");

  Json::Value section = doc["app"];
  Json::Value enable;
  if (section.isMember("enableRecycle")) {
    section.removeMember("enableRecycle", &enable);
  }
  KAVOSchedCTaskSetAppArgs(&task, CompactText(section).c_str());

  const Json::Value& app = section;
  const std::string recycle_action = app["recycle_action"].asString();
  std::string action;
  std::string command = "/usr/kavo/bin/kavorecycle";
  if (!AppendAction(recycle_action, action, command)) {
    LogError(kSource, 320, "error recycle_action, json app=%s", app.toStyledString().c_str());
    return false;
  }
  Json::Value shares(Json::arrayValue);
  if (app["clean_all"].asString() != "no") {
    action = "#share:share_clean_all_recycle_bin#";
  } else {
    shares = app["selected_shares"];
    if (!HasEntries(shares)) {  // without a name the tool would take all shares
      LogError(kSource, 325, "error selected_shares, json app=%s", app.toStyledString().c_str());
      return false;
    }
    for (const Json::Value& share : std::as_const(shares)) {
      action += " \"" + share.asString() + "\"";
      command += " " + EscapeShellName(share.asString());
    }
  }
  if (recycle_action == kActionClean) {
    command += CleanOptions(app);
  }
  KAVOSchedCTaskSetAction(&task, action.c_str());
  KAVOSchedCTaskSetCommand(&task, command.c_str());
  if (!enable.isNull()) {
    EnableRecycleBin(shares, enable);
  }
  return true;
}

bool TaskSchedulerRecycleHandler::GetAppEditOwnerValue() {
  return false;
}

bool TaskSchedulerRecycleHandler::EnableRecycleBin(const Json::Value& shares,
                                                   const Json::Value& enable) {
  Json::Value names(Json::arrayValue);
  const std::string which = enable.asString();
  if (which == "select") {
    names = shares;
  } else {
    XLIBCSzList* list = XLIBCSzListAlloc(100);
    if (list == nullptr) {
      LogError(kSource, 254, "malloc failed");
      return false;
    }
    const int count = KAVOShareEnum(&list, kAllShares);
    const std::unique_ptr<XLIBCSzList, ListFree> owner(list);
    if (count < 0) {
      LogError(kSource, 259, "enum share failed");
      return false;
    }
    for (int i = 0; i < XLIBCSzListCount(list); ++i) {
      names.append(XLIBCSzListGet(list, i));
    }
    if (which == "all_include_home") {
      names.append("home");
    }
  }
  for (const Json::Value& name : std::as_const(names)) {
    const std::string share = name.asString();
    if (KAVORecycleStatusSet(share.c_str(), 1) < 0) {
      LogError(kSource, 272, "enable share=%s recycle bin failed", share.c_str());
    }
  }
  return true;
}
