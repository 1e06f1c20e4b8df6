// The store's file: opening, migrating, and turning SQLite's failures into the store's.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <sys/types.h>

#include <memory>
#include <string>
#include <unordered_map>

#include "store/failure.h"

namespace kavo {

// How long a statement waits for others to let go of the store.
inline constexpr int kBusyMilliseconds = 5000;

// The folder of the store ("/var/lib/kavo") and its file there.
std::string store_folder();
std::string store_file();

// The use of a prepared statement, which is reset and unbound when it ends.
class PreparedUse {
 public:
  explicit PreparedUse(SQLite::Statement& statement) : statement_(statement) {}
  PreparedUse(const PreparedUse&) = delete;
  PreparedUse& operator=(const PreparedUse&) = delete;
  ~PreparedUse();

  SQLite::Statement& operator*() const { return statement_; }
  SQLite::Statement* operator->() const { return &statement_; }

 private:
  SQLite::Statement& statement_;
};

// A connection. Its statements by prepared() are prepared once, which takes longer than most of
// them take to run; such a statement is in use only once at a time.
class Database : public SQLite::Database {
 public:
  using SQLite::Database::Database;

  PreparedUse prepared(const std::string& sql);

 private:
  std::unordered_map<std::string, SQLite::Statement> statements_;
};

// The calling thread's connection to the store's file. Opened when it is first asked for: creates
// the folder (mode 0700) and the file when they are not there, and brings an older file up to date
// in one transaction. A folder that was made for a group to share (mode 2770) gives that group all
// of the store. Belongs to the thread; after a fork the child gets one of its own. Throws
// SQLite::Exception or StoreFailure.
Database& connection();

// An open connection, and by what it is known to be still the right one.
struct Connection {
  std::string file;
  pid_t process = 0;
  std::unique_ptr<Database> database;
};

// Lets statements wait for others, as those of a connection do from the beginning.
void wait_for_others(SQLite::Database& database);

// The store's failure for one of SQLite.
StoreFailure store_failure(const SQLite::Exception& error, SourcePlace place);

// Runs `operation` on the calling thread's connection. Throws StoreFailure for everything that goes
// wrong in it.
template <typename Operation>
auto with_store(Operation operation, SourcePlace place = SourcePlace::here()) {
  try {
    return operation(connection());
  } catch (const SQLite::Exception& error) {
    throw store_failure(error, place);
  }
}

// As with_store, in one transaction that has the right to write from its beginning. It is rolled
// back when `operation` throws.
template <typename Operation>
auto in_transaction(Operation operation, SourcePlace place = SourcePlace::here()) {
  return with_store(
      [&](Database& database) {
        SQLite::Transaction transaction(database, SQLite::TransactionBehavior::IMMEDIATE);
        auto result = operation(database);
        transaction.commit();
        return result;
      },
      place);
}

// One state of the store for as long as this lives: what is written meanwhile does not show. It
// takes the calling thread's connection along, and leaves it to the thread in which it ends. Used
// by one thread at a time, and not in a child of the process that made it.
class ReadTransaction {
 public:
  // Throws StoreFailure.
  ReadTransaction();
  ReadTransaction(const ReadTransaction&) = delete;
  ReadTransaction& operator=(const ReadTransaction&) = delete;
  ~ReadTransaction();

  // Runs `operation`, which only reads, on this state. Throws StoreFailure for everything that goes
  // wrong in it.
  template <typename Operation>
  auto read(Operation operation, SourcePlace place = SourcePlace::here()) const {
    try {
      return operation(database());
    } catch (const SQLite::Exception& error) {
      throw store_failure(error, place);
    }
  }

 private:
  Database& database() const;

  Connection connection_;
};

}  // namespace kavo
