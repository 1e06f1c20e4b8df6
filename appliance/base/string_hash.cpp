#include <algorithm>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <unordered_map>

#include <xlibc.h>
#include "base/errors.h"

// The nodes of the map stay where they are when it grows, so a value keeps its address until it is
// replaced, and the hash itself never has to move. The number of keys is bounded by memory only.
struct XLIBCSzHash {
  std::unordered_map<std::string, std::string> values;
};

namespace {

// The size asked for is a hint; no more slots than these are set aside at once.
constexpr int kMaxReserved = 1 << 16;

}  // namespace

XLIBCSzHash* XLIBCSzHashAlloc(int size) {
  if (size <= 0) {
    XLIBCErrSetEx(kavo::kInvalidArgument, __FILE_NAME__, __LINE__);
    return nullptr;
  }
  try {
    auto hash = std::make_unique<XLIBCSzHash>();
    hash->values.reserve(static_cast<size_t>(std::min(size, kMaxReserved)));
    return hash.release();
  } catch (const std::bad_alloc&) {
    XLIBCErrSetEx(kavo::kOutOfMemory, __FILE_NAME__, __LINE__);
    return nullptr;
  }
}

int XLIBCSzHashSetValue(XLIBCSzHash** hash, const char* key, const char* value) {
  if (hash == nullptr || *hash == nullptr || key == nullptr || value == nullptr) {
    XLIBCErrSetEx(kavo::kInvalidArgument, __FILE_NAME__, __LINE__);
    return -1;
  }
  try {
    // Copies first: `value` may be the very text that is replaced.
    (*hash)->values.insert_or_assign(std::string(key), std::string(value));
    return 0;
  } catch (const std::exception&) {  // bad_alloc, or length_error for an absurdly long text
    XLIBCErrSetEx(kavo::kOutOfMemory, __FILE_NAME__, __LINE__);
    return -1;
  }
}

const char* XLIBCSzHashGetValue(const XLIBCSzHash* hash, const char* key) {
  if (hash == nullptr || key == nullptr) {
    XLIBCErrSetEx(kavo::kInvalidArgument, __FILE_NAME__, __LINE__);
    return nullptr;
  }
  try {
    const auto found = hash->values.find(key);
    return found != hash->values.end() ? found->second.c_str() : nullptr;
  } catch (const std::exception&) {
    XLIBCErrSetEx(kavo::kOutOfMemory, __FILE_NAME__, __LINE__);
    return nullptr;
  }
}

void XLIBCSzHashFree(XLIBCSzHash* hash) {
  delete hash;
}
