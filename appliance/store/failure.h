// What can go wrong in the task store.
#pragma once

#include <stdexcept>
#include <string>

namespace kavo {

// The codes that the store leaves in the base library's error state.
enum class StoreError : int {
  kInvalidArgument = 0x0D00,  // a null or otherwise impossible argument of a call
  kNoSuchTask = 0x0E01,       // no task with this id is stored
  kNoSuchRun = 0x0E02,        // no run with this id is recorded
  kRunning = 0x0E03,          // the task is running and its runs may not overlap
  kEnded = 0x0E04,            // the run has ended already
  kNoScheduler = 0x0E05,      // no scheduler is listening
  kBadInput = 0x0E10,         // a document or a property that cannot be stored
  kBusy = 0x0E20,             // another process kept the store locked for too long
  kFull = 0x0E21,             // no space left for the store
  kCorrupt = 0x0E22,          // the store's file is damaged or not a store
  kNewer = 0x0E23,            // the store's file was written by a newer version
  kUnavailable = 0x0E24,      // the store's file or folder cannot be opened, read or written
  kMemory = 0x0E30,           // memory is short
};

// A place in the store's source: where a failure was noticed.
struct SourcePlace {
  const char* file;
  int line;

  // The place of the call; as a default argument, that of the caller.
  static constexpr SourcePlace here(const char* file = __builtin_FILE(),
                                    int line = __builtin_LINE()) {
    return {file, line};
  }
};

// A failed operation of the store: code, message for people, and where it was noticed.
class StoreFailure : public std::runtime_error {
 public:
  StoreFailure(StoreError code, const std::string& message, SourcePlace place = SourcePlace::here())
      : std::runtime_error(message), code_(code), place_(place) {}

  StoreError code() const { return code_; }
  SourcePlace place() const { return place_; }

 private:
  StoreError code_;
  SourcePlace place_;
};

}  // namespace kavo
