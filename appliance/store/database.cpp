#include "store/database.h"

#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <memory>

#include "base/file.h"
#include "base/root.h"

namespace kavo {
namespace {

// Each step brings a file from one version to the next; the version is the number of steps done.
// Steps that were released are never changed.
constexpr const char* kMigrations[] = {
    // 1: the tasks.
    R"(CREATE TABLE tasks (
         id INTEGER PRIMARY KEY AUTOINCREMENT CHECK (id BETWEEN 1 AND 2147483647),
         name TEXT NOT NULL,
         owner TEXT NOT NULL,
         app TEXT NOT NULL,
         app_name TEXT NOT NULL,
         app_args TEXT NOT NULL,
         action TEXT NOT NULL,
         command TEXT NOT NULL,
         edit_form TEXT NOT NULL,
         enabled INTEGER NOT NULL,
         simple_edit_form INTEGER NOT NULL,
         can_edit_name INTEGER NOT NULL,
         can_edit_owner INTEGER NOT NULL,
         can_run_app_same_time INTEGER NOT NULL,
         can_run_task_same_time INTEGER NOT NULL,
         listable INTEGER NOT NULL,
         can_run_from_ui INTEGER NOT NULL,
         can_edit_from_ui INTEGER NOT NULL,
         can_delete_from_ui INTEGER NOT NULL,
         schedule TEXT NOT NULL,
         next_run INTEGER
       ) STRICT;
       CREATE INDEX tasks_by_next_run ON tasks (next_run) WHERE next_run IS NOT NULL;)",
    // 2: the runs. `due` is null for a run that was started by hand, `ended` and `result` while it
    // runs. Task name, owner and command are those at the time of the run.
    R"(CREATE TABLE runs (
         id INTEGER PRIMARY KEY AUTOINCREMENT,
         task_id INTEGER NOT NULL,
         task_name TEXT NOT NULL,
         owner TEXT NOT NULL,
         command TEXT NOT NULL,
         cause TEXT NOT NULL,
         due INTEGER,
         started INTEGER NOT NULL,
         ended INTEGER,
         result TEXT,
         code INTEGER,
         note TEXT NOT NULL DEFAULT '',
         output BLOB
       ) STRICT;
       CREATE INDEX runs_by_task ON runs (task_id, id);
       CREATE INDEX runs_unfinished ON runs (task_id) WHERE ended IS NULL;)",
    // 3: the scheduler. A run is claimed first (`queued`: its place in the line) and started later,
    // by its runner, whose process id it then has; it keeps what it needs of the task. Output comes
    // piece by piece while the run goes on. `state` is what the scheduler has to remember.
    R"(CREATE TABLE claimed_runs (
         id INTEGER PRIMARY KEY AUTOINCREMENT,
         task_id INTEGER NOT NULL,
         task_name TEXT NOT NULL,
         owner TEXT NOT NULL,
         command TEXT NOT NULL,
         app TEXT NOT NULL,
         app_alone INTEGER NOT NULL,
         time_limit INTEGER NOT NULL,
         cause TEXT NOT NULL,
         due INTEGER,
         queued INTEGER NOT NULL,
         started INTEGER,
         runner INTEGER,
         ended INTEGER,
         result TEXT,
         code INTEGER,
         note TEXT NOT NULL DEFAULT ''
       ) STRICT;
       INSERT INTO claimed_runs
         SELECT id, task_id, task_name, owner, command, '', 0, 0, cause, due, started, started,
                NULL, ended, result, code, note
         FROM runs;
       CREATE TABLE run_output (
         run_id INTEGER NOT NULL,
         position INTEGER NOT NULL,
         bytes BLOB NOT NULL,
         PRIMARY KEY (run_id, position)
       ) STRICT;
       INSERT INTO run_output SELECT id, 0, output FROM runs WHERE length(output) > 0;
       DROP TABLE runs;
       ALTER TABLE claimed_runs RENAME TO runs;
       CREATE INDEX runs_by_task ON runs (task_id, id);
       CREATE INDEX runs_by_end ON runs (ended) WHERE ended IS NOT NULL;
       CREATE INDEX runs_unfinished ON runs (task_id) WHERE ended IS NULL;
       CREATE INDEX runs_waiting ON runs (queued, id) WHERE started IS NULL AND ended IS NULL;
       CREATE TRIGGER runs_removed AFTER DELETE ON runs BEGIN
         DELETE FROM run_output WHERE run_id = old.id;
       END;
       CREATE TABLE state (key TEXT PRIMARY KEY, value TEXT NOT NULL) STRICT;)",
    // 4: the web server. The ids are hashes of secrets, the keys those of accounts and addresses.
    R"(CREATE TABLE sessions (
         id TEXT PRIMARY KEY,
         user TEXT NOT NULL,
         opened INTEGER NOT NULL,
         used INTEGER NOT NULL
       ) STRICT;
       CREATE TABLE sign_in_links (
         id TEXT PRIMARY KEY,
         user TEXT NOT NULL,
         made INTEGER NOT NULL
       ) STRICT;
       CREATE TABLE failed_sign_ins (
         key TEXT PRIMARY KEY,
         failures INTEGER NOT NULL,
         latest INTEGER NOT NULL
       ) STRICT;
       CREATE INDEX failed_sign_ins_by_time ON failed_sign_ins (latest);)",
    // 5: a number that changes with every change of a task or a run, whoever makes it, and in the
    // same transaction.
    R"(CREATE TABLE revision (value INTEGER NOT NULL) STRICT;
       INSERT INTO revision VALUES (0);
       CREATE TRIGGER task_inserted AFTER INSERT ON tasks BEGIN
         UPDATE revision SET value = value + 1;
       END;
       CREATE TRIGGER task_updated AFTER UPDATE ON tasks BEGIN
         UPDATE revision SET value = value + 1;
       END;
       CREATE TRIGGER task_deleted AFTER DELETE ON tasks BEGIN
         UPDATE revision SET value = value + 1;
       END;
       CREATE TRIGGER run_inserted AFTER INSERT ON runs BEGIN
         UPDATE revision SET value = value + 1;
       END;
       CREATE TRIGGER run_updated AFTER UPDATE ON runs BEGIN
         UPDATE revision SET value = value + 1;
       END;
       CREATE TRIGGER run_deleted AFTER DELETE ON runs BEGIN
         UPDATE revision SET value = value + 1;
       END;)",
    // 6: what a list reads of every task, beside each other.
    "CREATE INDEX tasks_in_lists ON tasks (id, enabled, listable, next_run);",
};
constexpr int kVersion = static_cast<int>(std::size(kMigrations));

int version_of(SQLite::Database& database) {
  return database.execAndGet("PRAGMA user_version").getInt();
}

void migrate(SQLite::Database& database) {
  if (version_of(database) == kVersion) {
    return;
  }
  SQLite::Transaction transaction(database, SQLite::TransactionBehavior::IMMEDIATE);
  // Read again: another process may have been first.
  const int version = version_of(database);
  if (version > kVersion) {
    throw StoreFailure(StoreError::kNewer, "The task store was written by a newer version (" +
                                               std::to_string(version) + " instead of " +
                                               std::to_string(kVersion) + ").");
  }
  for (int step = version; step < kVersion; ++step) {
    database.exec(kMigrations[step]);
  }
  database.exec("PRAGMA user_version = " + std::to_string(kVersion));
  transaction.commit();
}

void create_folder(const std::filesystem::path& folder) {
  if (mkdir(folder.c_str(), S_IRWXU) == 0 || errno == EEXIST) {
    return;
  }
  if (errno == ENOENT && folder.has_relative_path()) {
    create_folder(folder.parent_path());
    if (mkdir(folder.c_str(), S_IRWXU) == 0 || errno == EEXIST) {
      return;
    }
  }
  throw StoreFailure(StoreError::kUnavailable,
                     "The folder " + folder.string() + " cannot be created: " + strerror(errno));
}

// Waits a little for others to let go of the store, in short steps: many processes write for a
// fraction of a millisecond, and SQLite's own steps grow to a tenth of a second.
int wait_a_little(void* /*unused*/, int waited) {
  using Steady = std::chrono::steady_clock;
  thread_local Steady::time_point begin;
  if (waited == 0) {
    begin = Steady::now();
  } else if (Steady::now() - begin >= std::chrono::milliseconds(kBusyMilliseconds)) {
    return 0;
  }
  sqlite3_sleep(1);
  return 1;
}

std::unique_ptr<Database> open(const std::string& file) {
  create_folder(store_folder());
  // SQLite gives its other files the mode of this one, and says what is wrong where it cannot be
  // made.
  if (access(file.c_str(), F_OK) != 0) {
    (void)make_shared_file(file);
  }
  auto database = std::make_unique<Database>(file, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
  wait_for_others(*database);
  database->exec("PRAGMA journal_mode = WAL");
  database->exec("PRAGMA synchronous = FULL");
  migrate(*database);
  return database;
}

// A connection must not be used, nor closed, in a child of the process that opened it.
bool is_of_parent(const Connection& connection) {
  return connection.process != getpid();
}

// The thread's connection, and whether the thread is past using one: what it leaves behind may end
// after its variables.
constinit thread_local bool thread_has_ended = false;
struct ThreadConnection : Connection {
  ~ThreadConnection() { thread_has_ended = true; }
};
thread_local ThreadConnection current;

}  // namespace

std::string store_folder() {
  return rooted("/var/lib/kavo");
}

std::string store_file() {
  return store_folder() + "/tasks.db";
}

PreparedUse::~PreparedUse() {
  statement_.tryReset();
  statement_.clearBindings();
}

PreparedUse Database::prepared(const std::string& sql) {
  auto found = statements_.find(sql);
  if (found == statements_.end()) {
    found = statements_.try_emplace(sql, *this, sql).first;
  }
  return PreparedUse(found->second);
}

Database& connection() {
  const std::string file = store_file();
  if (is_of_parent(current)) {
    (void)current.database.release();
  } else if (current.database && current.file == file) {
    return *current.database;
  }
  current.database = open(file);
  current.file = file;
  current.process = getpid();
  return *current.database;
}

void wait_for_others(SQLite::Database& database) {
  sqlite3_busy_handler(database.getHandle(), wait_a_little, nullptr);
}

ReadTransaction::ReadTransaction() {
  with_store([](SQLite::Database& database) { database.exec("BEGIN"); });
  connection_ = std::move(static_cast<Connection&>(current));
  // The state is that of the first reading.
  read([](SQLite::Database& database) { version_of(database); });
}

ReadTransaction::~ReadTransaction() {
  if (is_of_parent(connection_)) {
    (void)connection_.database.release();
    return;
  }
  try {
    connection_.database->exec("COMMIT");
  } catch (const SQLite::Exception&) {
    return;  // closed, which ends the transaction, too
  }
  if (!thread_has_ended && !current.database) {
    static_cast<Connection&>(current) = std::move(connection_);
  }
}

Database& ReadTransaction::database() const {
  if (is_of_parent(connection_)) {
    throw StoreFailure(StoreError::kInvalidArgument,
                       "What another process has read of the store cannot be read on.");
  }
  return *connection_.database;
}

StoreFailure store_failure(const SQLite::Exception& error, SourcePlace place) {
  StoreError code = StoreError::kUnavailable;
  switch (error.getErrorCode()) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      code = StoreError::kBusy;
      break;
    case SQLITE_FULL:
      code = StoreError::kFull;
      break;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      code = StoreError::kCorrupt;
      break;
    case SQLITE_NOMEM:
      code = StoreError::kMemory;
      break;
    default:
      break;
  }
  return {code, std::string("The task store failed: ") + error.what(), place};
}

}  // namespace kavo
