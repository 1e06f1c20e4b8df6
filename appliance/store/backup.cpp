#include "store/backup.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "base/descriptor.h"
#include "store/database.h"

namespace kavo {
namespace {

StoreFailure cannot_write(const std::string& file) {
  return {StoreError::kBadInput, "The file " + file + " cannot be written: " + strerror(errno)};
}

void make_new_file(const std::string& file) {
  const Descriptor made(
      open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
  if (!made.valid()) throw cannot_write(file);
}

// All pages in one step: a later change of the store does not begin it anew.
void copy(SQLite::Database& store, const std::string& file) {
  SQLite::Database target(file, SQLite::OPEN_READWRITE);
  target.exec("PRAGMA synchronous = FULL");
  sqlite3_backup* backup =
      sqlite3_backup_init(target.getHandle(), "main", store.getHandle(), "main");
  if (backup != nullptr) (void)sqlite3_backup_step(backup, -1);
  if (backup == nullptr || sqlite3_backup_finish(backup) != SQLITE_OK) {
    throw SQLite::Exception(target.getHandle());
  }
}

}  // namespace

void back_up_store(const std::string& file) {
  connection();  // what is wrong with the store leaves no file
  make_new_file(file);
  try {
    with_store([&](SQLite::Database& store) { copy(store, file); });
  } catch (const StoreFailure&) {
    unlink(file.c_str());
    throw;
  }
}

}  // namespace kavo
