// The store's file: opening, migrating, and turning SQLite's failures into the store's.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <string>

#include "store/failure.h"

namespace kavo {

// How long a statement waits for others to let go of the store.
inline constexpr int kBusyMilliseconds = 5000;

// The folder of the store ("/var/lib/kavo") and its file there.
std::string store_folder();
std::string store_file();

// The calling thread's connection to the store's file. Opened when it is first asked for: creates
// the folder (mode 0700) and the file when they are not there, and brings an older file up to date
// in one transaction. Belongs to the thread; after a fork the child gets one of its own. Throws
// SQLite::Exception or StoreFailure.
SQLite::Database& connection();

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
      [&](SQLite::Database& database) {
        SQLite::Transaction transaction(database, SQLite::TransactionBehavior::IMMEDIATE);
        auto result = operation(database);
        transaction.commit();
        return result;
      },
      place);
}

}  // namespace kavo
