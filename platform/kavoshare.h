// The share library: shared folders and their recycle bins.
#pragma once

#include "xlibc.h"

#pragma GCC visibility push(default)

// Appends the names of the shared folders that `flags` selects to `*list`, in byte order. The flag
// word is a sum of the kinds of share to leave in: this appliance keeps local folders only, so any
// word with a bit of 0x30F (783: local, encrypted, removable and read-only folders) selects all of
// its shares, and a word with none of them selects nothing. Returns the number of names appended,
// or -1 with the error state set when the shares cannot be read; `*list` may then hold some.
int KAVOShareEnum(XLIBCSzList** list, unsigned int flags);

// Switches the recycle bin of the share `name` on (`status` 1) or off (0). The change is on disk
// when it returns; shares switched by several processes at once do not undo each other. Returns 0,
// or -1 with the error state set when there is no such share or the change cannot be stored.
int KAVORecycleStatusSet(const char* name, int status);

#pragma GCC visibility pop
