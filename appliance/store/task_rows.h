// The tasks' rows, for the files of this room that read them.
#pragma once

#include <string>

#include "store/database.h"
#include "store/record.h"

namespace kavo {

// A SELECT of whole tasks, to be followed by conditions, and the task in a row of it.
const std::string& select_tasks();
Task read_task(SQLite::Statement& row);

// The task of an id. Throws StoreFailure (kNoSuchTask) when there is none.
Task find_task(Database& database, int id);

}  // namespace kavo
