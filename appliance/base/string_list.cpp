#include <climits>
#include <deque>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>

#include <xlibc.h>
#include "base/errors.h"

// A deque, because its texts stay where they are when it grows: a text keeps its address for the
// life of the list, and the list itself never has to move. It holds at most INT_MAX texts; the
// capacity asked for is a hint that a deque has no use for.
struct XLIBCSzList {
  std::deque<std::string> texts;
};

XLIBCSzList* XLIBCSzListAlloc(int capacity) {
  if (capacity <= 0) {
    XLIBCErrSetEx(kavo::kInvalidArgument, __FILE_NAME__, __LINE__);
    return nullptr;
  }
  try {
    return std::make_unique<XLIBCSzList>().release();
  } catch (const std::bad_alloc&) {
    XLIBCErrSetEx(kavo::kOutOfMemory, __FILE_NAME__, __LINE__);
    return nullptr;
  }
}

int XLIBCSzListPush(XLIBCSzList** list, const char* text) {
  if (list == nullptr || *list == nullptr || text == nullptr) {
    XLIBCErrSetEx(kavo::kInvalidArgument, __FILE_NAME__, __LINE__);
    return -1;
  }
  std::deque<std::string>& texts = (*list)->texts;
  try {
    if (texts.size() >= INT_MAX) throw std::length_error("list");
    texts.emplace_back(text);
    return static_cast<int>(texts.size());
  } catch (const std::exception&) {
    XLIBCErrSetEx(kavo::kOutOfMemory, __FILE_NAME__, __LINE__);
    return -1;
  }
}

int XLIBCSzListCount(const XLIBCSzList* list) {
  return list != nullptr ? static_cast<int>(list->texts.size()) : 0;
}

const char* XLIBCSzListGet(const XLIBCSzList* list, int index) {
  if (index < 0 || index >= XLIBCSzListCount(list)) return nullptr;
  return list->texts[static_cast<size_t>(index)].c_str();
}

void XLIBCSzListFree(XLIBCSzList* list) {
  delete list;
}
