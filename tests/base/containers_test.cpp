#include <gtest/gtest.h>

#include <climits>
#include <string>

#include <xlibc.h>
#include "base/errors.h"

namespace {

TEST(StringContainers, KeepTextsWhileTheyGrow) {
  XLIBCSzHash* hash = XLIBCSzHashAlloc(1);
  XLIBCSzList* list = XLIBCSzListAlloc(INT_MAX);  // a hint, not a demand for memory
  ASSERT_EQ(XLIBCSzHashSetValue(&hash, "key", "i"), 0);
  ASSERT_EQ(XLIBCSzListPush(&list, "first"), 1);
  const char* value = XLIBCSzHashGetValue(hash, "key");
  const char* first = XLIBCSzListGet(list, 0);
  for (int i = 2; i <= 1000; ++i) {
    const std::string text = std::to_string(i);
    ASSERT_EQ(XLIBCSzHashSetValue(&hash, text.c_str(), text.c_str()), 0);
    ASSERT_EQ(XLIBCSzListPush(&list, text.c_str()), i);
  }
  EXPECT_EQ(XLIBCSzHashGetValue(hash, "key"), value);
  EXPECT_STREQ(value, "i");
  EXPECT_STREQ(XLIBCSzHashGetValue(hash, "999"), "999");
  EXPECT_EQ(XLIBCSzHashGetValue(hash, "absent"), nullptr);
  // A value may be set to itself: the copy is made before the old text goes.
  const std::string long_text(100, 'x');
  ASSERT_EQ(XLIBCSzHashSetValue(&hash, "key", long_text.c_str()), 0);
  ASSERT_EQ(XLIBCSzHashSetValue(&hash, "key", XLIBCSzHashGetValue(hash, "key")), 0);
  EXPECT_EQ(XLIBCSzHashGetValue(hash, "key"), long_text);
  EXPECT_EQ(XLIBCSzListGet(list, 0), first);
  EXPECT_STREQ(XLIBCSzListGet(list, 999), "1000");
  for (const int index : {-1, 1000, INT_MAX}) EXPECT_EQ(XLIBCSzListGet(list, index), nullptr);

  EXPECT_EQ(XLIBCSzHashSetValue(&hash, nullptr, "b"), -1);
  EXPECT_EQ(XLIBCSzHashSetValue(&hash, "a", nullptr), -1);
  EXPECT_EQ(XLIBCSzHashGetValue(hash, nullptr), nullptr);
  EXPECT_EQ(XLIBCSzListPush(&list, nullptr), -1);
  EXPECT_EQ(XLIBCSzListCount(list), 1000);
  XLIBCSzHashFree(hash);
  XLIBCSzListFree(list);
  for (const int size : {0, -1}) {
    XLIBCErrSetEx(0, "", 0);
    EXPECT_EQ(XLIBCSzHashAlloc(size), nullptr);
    EXPECT_EQ(XLIBCSzListAlloc(size), nullptr);
    EXPECT_EQ(XLIBCErrGet(), kavo::kInvalidArgument);
  }
}

}  // namespace
