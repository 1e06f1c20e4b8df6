// The table of the appliance's own APIs.

#include "apis/answer.h"
#include "apis/methods.h"

namespace {

using KAVO::APIRequest;
using KAVO::APIResponse;

template <Json::Value (*method)(const APIRequest&)>
void serve(APIRequest* request, APIResponse* response) {
  kavo::answer(request, response, method);
}

constexpr char kAccount[] = "KAVO.Appliance.Account";
constexpr char kLanguage[] = "KAVO.Appliance.Language";
constexpr char kSchedule[] = "KAVO.Appliance.Schedule";
constexpr char kShare[] = "KAVO.Appliance.Share";
constexpr char kTaskRun[] = "KAVO.Appliance.TaskRun";

const KAVO::APIMethod kTable[] = {{kAccount, 1, "list", serve<kavo::list_accounts>},
                                  {kLanguage, 1, "list", serve<kavo::list_languages>},
                                  {kSchedule, 1, "preview", serve<kavo::preview_schedule>},
                                  {kSchedule, 1, "timezones", serve<kavo::list_timezones>},
                                  {kShare, 1, "list", serve<kavo::list_shares>},
                                  {kTaskRun, 1, "last", serve<kavo::last_runs>},
                                  {kTaskRun, 1, "list", serve<kavo::list_runs>},
                                  {kTaskRun, 1, "output", serve<kavo::run_output_piece>},
                                  {kTaskRun, 1, "stop", serve<kavo::stop_one_run>},
                                  {nullptr, 0, nullptr, nullptr}};

}  // namespace

extern "C" __attribute__((visibility("default"))) const KAVO::APIMethod* GetAPITable() {
  return kTable;
}
