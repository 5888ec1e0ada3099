#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "vaultkit/vkcom.h"

namespace {

TEST(SafeArray, VectorsKnowTheirTypeAndBounds) {
  for (VARTYPE vt : {VARTYPE(VT_BSTR), VARTYPE(VT_VARIANT), VARTYPE(VT_I4)}) {
    SAFEARRAY* array = SafeArrayCreateVector(vt, -2, 3);
    ASSERT_NE(array, nullptr);
    EXPECT_EQ(array->cDims, 1);
    VARTYPE type = VT_EMPTY;
    EXPECT_EQ(SafeArrayGetVartype(array, &type), S_OK);
    EXPECT_EQ(type, vt);
    LONG lower = 0, upper = 0;
    EXPECT_EQ(SafeArrayGetLBound(array, 1, &lower), S_OK);
    EXPECT_EQ(SafeArrayGetUBound(array, 1, &upper), S_OK);
    EXPECT_EQ(lower, -2);
    EXPECT_EQ(upper, 0);
    EXPECT_EQ(SafeArrayGetLBound(array, 0, &lower), E_INVALIDARG);
    EXPECT_EQ(SafeArrayGetUBound(array, 2, &upper), E_INVALIDARG);
    EXPECT_EQ(SafeArrayDestroy(array), S_OK);
  }

  SAFEARRAY* empty = SafeArrayCreateVector(VT_I4, 0, 0);
  ASSERT_NE(empty, nullptr);
  LONG upper = 0, index = 0, value = 1;
  EXPECT_EQ(SafeArrayGetUBound(empty, 1, &upper), S_OK);
  EXPECT_EQ(upper, -1);
  EXPECT_EQ(SafeArrayPutElement(empty, &index, &value), E_INVALIDARG);
  EXPECT_EQ(SafeArrayDestroy(empty), S_OK);

  // Element types other than the three, and bounds past the 32-bit range, make no array.
  EXPECT_EQ(SafeArrayCreateVector(VT_I2, 0, 1), nullptr);
  EXPECT_EQ(SafeArrayCreateVector(VT_BSTR, INT_MAX, 2), nullptr);
  EXPECT_EQ(SafeArrayCreateVector(VT_BSTR, INT_MIN, 0), nullptr);
  EXPECT_EQ(SafeArrayDestroy(nullptr), S_OK);
  VARTYPE type;
  EXPECT_EQ(SafeArrayGetVartype(nullptr, &type), E_INVALIDARG);
}

TEST(SafeArray, IndicesOutsideTheBoundsAreRefused) {
  SAFEARRAY* array = SafeArrayCreateVector(VT_I4, 10, 2);
  LONG value = 3;
  for (LONG index : {LONG(9), LONG(12), LONG(INT_MIN), LONG(INT_MAX)}) {
    EXPECT_EQ(SafeArrayPutElement(array, &index, &value), E_INVALIDARG) << index;
    EXPECT_EQ(SafeArrayGetElement(array, &index, &value), E_INVALIDARG) << index;
  }
  EXPECT_EQ(SafeArrayPutElement(array, nullptr, &value), E_INVALIDARG);
  LONG index = 11;
  EXPECT_EQ(SafeArrayPutElement(array, &index, nullptr), E_INVALIDARG);
  EXPECT_EQ(SafeArrayGetElement(array, &index, nullptr), E_INVALIDARG);
  EXPECT_EQ(SafeArrayPutElement(nullptr, &index, &value), E_INVALIDARG);

  ASSERT_EQ(SafeArrayPutElement(array, &index, &value), S_OK);
  LONG read = 0;
  ASSERT_EQ(SafeArrayGetElement(array, &index, &read), S_OK);
  EXPECT_EQ(read, 3);
  index = 10;
  ASSERT_EQ(SafeArrayGetElement(array, &index, &read), S_OK);
  EXPECT_EQ(read, 0);
  SafeArrayDestroy(array);
}

TEST(SafeArray, StringElementsAreCopiesBothWays) {
  SAFEARRAY* array = SafeArrayCreateVector(VT_BSTR, 0, 2);
  LONG index = 0;
  BSTR text = SysAllocString(u"name");
  ASSERT_EQ(SafeArrayPutElement(array, &index, text), S_OK);
  SysFreeString(text);
  BSTR replacement = SysAllocString(u"other");
  ASSERT_EQ(SafeArrayPutElement(array, &index, replacement), S_OK);  // frees "name"

  BSTR read = nullptr;
  ASSERT_EQ(SafeArrayGetElement(array, &index, &read), S_OK);
  EXPECT_NE(read, replacement);
  EXPECT_EQ(std::u16string(read), u"other");
  SysFreeString(read);
  SysFreeString(replacement);

  index = 1;
  read = SysAllocString(u"not freed by the call");
  BSTR previous = read;
  ASSERT_EQ(SafeArrayGetElement(array, &index, &read), S_OK);
  EXPECT_EQ(read, nullptr);
  SysFreeString(previous);

  SAFEARRAY* copy = nullptr;
  ASSERT_EQ(SafeArrayCopy(array, &copy), S_OK);
  ASSERT_NE(copy, nullptr);
  EXPECT_NE(static_cast<BSTR*>(copy->pvData)[0], static_cast<BSTR*>(array->pvData)[0]);
  EXPECT_EQ(SafeArrayDestroy(array), S_OK);
  index = 0;
  ASSERT_EQ(SafeArrayGetElement(copy, &index, &read), S_OK);
  EXPECT_EQ(std::u16string(read), u"other");
  SysFreeString(read);
  EXPECT_EQ(SafeArrayDestroy(copy), S_OK);

  copy = array;
  EXPECT_EQ(SafeArrayCopy(nullptr, &copy), S_OK);
  EXPECT_EQ(copy, nullptr);
}

}  // namespace
