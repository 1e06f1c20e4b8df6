// A copy of the store, made while others work on it.
#pragma once

#include <string>

namespace kavo {

// Writes the store as it is at one moment to a new file (mode 0600), which is on the disk when this
// returns: tasks, runs with their output, sessions. The path is taken as it is, not rooted. Throws
// StoreFailure: kBadInput when the file is there or cannot be made; nothing is left of it then, nor
// after any other failure.
void back_up_store(const std::string& file);

}  // namespace kavo
