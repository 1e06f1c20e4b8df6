// The module's lines in the system log, all at error priority.
//
// A line begins with the name and line of the place that reports it. Both are fixed texts by which
// the appliance's support finds a case: they stay as they are when code moves.
#pragma once

// Writes "source:line text"; `format` is printf's.
void LogError(const char* source, int line, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

// Writes "source:line text [0xCODE file:line]" with the base library's error state, so it has to
// come right after the platform call that failed.
void LogPlatformError(const char* source, int line, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
