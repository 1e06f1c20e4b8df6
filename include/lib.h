// The app registry and the quoting of names for a shell. Free functions without state.
#pragma once

#include <string>

// The app key of an app namespace: "KAVO.ZEL.TaskScheduler.Script" gives "script". The comparison
// is exact; a namespace that is not known gives "custom".
std::string GetAppKeyFromNameSpace(const std::string& app_namespace);

// Sets `app_key` to the app key of the stored task `id`. On failure logs the cause, returns false
// and leaves `app_key` as it was.
bool GetAppTypeByID(int id, std::string& app_key);

// `name`, up to its first zero byte, quoted as one word of a shell command line. The empty text
// when it cannot be quoted, which is logged; the empty name is such a case.
std::string EscapeShellName(std::string name);
