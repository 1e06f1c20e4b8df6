// The error codes of the API's answers.
#pragma once

inline constexpr int kErrorStore = 117;     // the task store failed
inline constexpr int kErrorRequest = 4800;  // a parameter or a section has the wrong shape
inline constexpr int kErrorLoad = 4801;     // a task could not be loaded
inline constexpr int kErrorDelete = 4802;   // a task could not be deleted
inline constexpr int kErrorRun = 4803;      // a task could not be started
inline constexpr int kErrorUpdate = 4804;   // a changed state could not be saved
