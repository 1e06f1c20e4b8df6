// The methods of the appliance's APIs. Each reads its parameters from the request and returns the
// data of its answer; what they throw, answer() turns into an error. Any thread.
#pragma once

#include <json/value.h>
#include <kavowebapi.h>

namespace kavo {

// The accounts that may own a task, by name.
Json::Value list_accounts(const KAVO::APIRequest& request);
// The shared folders, by name.
Json::Value list_shares(const KAVO::APIRequest& request);
// The languages of the desktop.
Json::Value list_languages(const KAVO::APIRequest& request);

// Runs: a page of the history, the newest of each named task, what one wrote, and stopping one.
Json::Value list_runs(const KAVO::APIRequest& request);
Json::Value last_runs(const KAVO::APIRequest& request);
Json::Value run_output_piece(const KAVO::APIRequest& request);
Json::Value stop_one_run(const KAVO::APIRequest& request);

// When a schedule that is not stored is due next, and the zones it may name.
Json::Value preview_schedule(const KAVO::APIRequest& request);
Json::Value list_timezones(const KAVO::APIRequest& request);

}  // namespace kavo
