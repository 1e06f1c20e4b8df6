// The base utility library: error state, shell quoting, text replacement, string list and string
// hash.
//
// Nothing here throws. Texts are zero-terminated bytes; no encoding is assumed.
#pragma once

#include <cstddef>

#pragma GCC visibility push(default)

// --- Error state -------------------------------------------------------------------------------
// One error state per thread: a code, and the source file and line where it was set. A platform
// operation that fails sets it; an operation that succeeds leaves it as it was. It starts as
// code 0, file "", line 0.

// Sets the calling thread's error state. `file` is not copied: it must stay valid for the life of
// the thread (in practice a literal). A null `file` counts as "".
void XLIBCErrSetEx(int code, const char* file, int line);

// The calling thread's last error code, the file that set it (never null), and the line.
int XLIBCErrGet();
const char* XLIBCErrorGetFile();
int XLIBCErrorGetLine();

// --- Shell quoting -----------------------------------------------------------------------------
// Writes `text` into `buffer` as one word of a POSIX shell command line that reads back as `text`,
// zero-terminated. A text of n bytes always fits into 2n + 2 bytes; the empty text gives the empty
// text, which is not a word. Returns the length written, or -1 with the error state set and
// `buffer` holding "" (where it has room) when `size` is too small or an argument is null.
int XLIBCEncShParam(const char* text, char* buffer, size_t size);

// --- Text replacement --------------------------------------------------------------------------
// Replaces every occurrence of `from` in the zero-terminated `buffer` of `size` bytes with `to`,
// left to right, not looking again at what it has put in. `ignore_case` other than 0 finds `from`
// without regard to the case of ASCII letters. Returns the number of replacements, or -1 with the
// error state set and `buffer` unchanged when the result does not fit, `from` is empty, or an
// argument is null.
int XLIBCStrReplace(char* buffer, const char* from, const char* to, int ignore_case, size_t size);

// --- String hash -------------------------------------------------------------------------------
// A map from text to text that owns copies of both. Not synchronised: one thread at a time.
struct XLIBCSzHash;

// A new empty hash for about `size` keys (it grows beyond), or null with the error state set when
// `size` is not positive or memory is short. Freed by XLIBCSzHashFree.
XLIBCSzHash* XLIBCSzHashAlloc(int size);

// Maps `key` to a copy of `value`, replacing an earlier value. The hash is passed by address
// because a full one may be replaced by a larger one. Returns 0, or -1 with the error state set and
// the hash unchanged.
int XLIBCSzHashSetValue(XLIBCSzHash** hash, const char* key, const char* value);

// The value of `key`, owned by the hash and valid until the key is set again or the hash is freed;
// null when the key is absent.
const char* XLIBCSzHashGetValue(const XLIBCSzHash* hash, const char* key);

// Frees the hash and its texts; null is allowed.
void XLIBCSzHashFree(XLIBCSzHash* hash);

// --- String list -------------------------------------------------------------------------------
// A list of texts that owns copies of them. Not synchronised: one thread at a time.
struct XLIBCSzList;

// A new empty list with room for `capacity` texts (it grows beyond), or null with the error state
// set when `capacity` is not positive or memory is short. Freed by XLIBCSzListFree.
XLIBCSzList* XLIBCSzListAlloc(int capacity);

// Appends a copy of `text`. The list is passed by address because a full one may be replaced by a
// larger one. Returns the number of texts, or -1 with the error state set and the list unchanged.
int XLIBCSzListPush(XLIBCSzList** list, const char* text);

// The number of texts; 0 for a null list.
int XLIBCSzListCount(const XLIBCSzList* list);

// The text at `index`, owned by the list; null when there is none.
const char* XLIBCSzListGet(const XLIBCSzList* list, int index);

// Frees the list and its texts; null is allowed.
void XLIBCSzListFree(XLIBCSzList* list);

#pragma GCC visibility pop
