// Running another program.
#pragma once

#include <string>
#include <vector>

namespace kavo {

enum class Output { kInherit, kDiscard };

// Runs `argv` and waits for its end. A program without "/" in its name is looked for on PATH; the
// tools trust it because they never run with more rights than their caller, and the scheduler sets
// PATH itself for what it runs as root. Answers the exit code, 128 and the signal for a program
// that a signal ended, or -1 with errno set when it could not be started.
int run_program(const std::vector<std::string>& argv, Output output = Output::kInherit);

}  // namespace kavo
