#include <gtest/gtest.h>

#include <string>

#include "CountingUnknown.h"
#include "vaultkit/vkcom.h"

namespace {

VARIANT StringVariant(const char16_t* text) {
  VARIANT v;
  VariantInit(&v);
  v.vt = VT_BSTR;
  v.u.bstrVal = SysAllocString(text);
  return v;
}

TEST(Variant, ScalarsCopyByValue) {
  VARIANT v;
  v.vt = 0xFFFF;
  VariantInit(&v);
  EXPECT_EQ(v.vt, VT_EMPTY);

  struct Case {
    VARTYPE vt;
    LONG value;
  };
  for (Case c : {Case{VT_I2, -7}, Case{VT_I4, -123456}, Case{VT_UI4, 42}, Case{VT_INT, 9},
                 Case{VT_BOOL, VARIANT_TRUE}, Case{VT_ERROR, E_FAIL}, Case{VT_NULL, 0}}) {
    VARIANT src, dest;
    VariantInit(&src);
    VariantInit(&dest);
    src.vt = c.vt;
    if (c.vt == VT_I2 || c.vt == VT_BOOL) {
      src.u.iVal = static_cast<int16_t>(c.value);
    } else {
      src.u.lVal = c.value;
    }
    ASSERT_EQ(VariantCopy(&dest, &src), S_OK) << c.vt;
    EXPECT_EQ(dest.vt, c.vt);
    if (c.vt == VT_I2 || c.vt == VT_BOOL) {
      EXPECT_EQ(dest.u.iVal, src.u.iVal);
    } else {
      EXPECT_EQ(dest.u.lVal, src.u.lVal);
    }
    EXPECT_EQ(VariantClear(&dest), S_OK);
    EXPECT_EQ(dest.vt, VT_EMPTY);
  }
}

TEST(Variant, StringsAreCopiedAndFreed) {
  const char16_t raw[] = {u'a', 0, u'b'};
  VARIANT src;
  VariantInit(&src);
  src.vt = VT_BSTR;
  src.u.bstrVal = SysAllocStringLen(raw, 3);
  VARIANT dest = StringVariant(u"overwritten");
  ASSERT_EQ(VariantCopy(&dest, &src), S_OK);
  ASSERT_EQ(dest.vt, VT_BSTR);
  EXPECT_NE(dest.u.bstrVal, src.u.bstrVal);
  EXPECT_EQ(std::u16string(dest.u.bstrVal, SysStringLen(dest.u.bstrVal)), std::u16string(raw, 3));
  EXPECT_EQ(VariantClear(&src), S_OK);
  EXPECT_EQ(dest.u.bstrVal[2], u'b');  // the copy outlives the source
  EXPECT_EQ(VariantClear(&dest), S_OK);

  // A null string is a valid empty string and copies as null.
  VARIANT null_text = StringVariant(nullptr);
  VARIANT copy;
  VariantInit(&copy);
  ASSERT_EQ(VariantCopy(&copy, &null_text), S_OK);
  EXPECT_EQ(copy.vt, VT_BSTR);
  EXPECT_EQ(copy.u.bstrVal, nullptr);
  EXPECT_EQ(VariantCopy(&copy, &copy), S_OK);
  EXPECT_EQ(VariantClear(&copy), S_OK);
}

TEST(Variant, InterfacesAreReferenceCounted) {
  CountingUnknown object;
  VARIANT src, dest;
  VariantInit(&src);
  VariantInit(&dest);
  src.vt = VT_DISPATCH;
  src.u.pdispVal = &object;
  object.AddRef();  // the source variant's own reference
  ASSERT_EQ(VariantCopy(&dest, &src), S_OK);
  EXPECT_EQ(object.refs, 3u);
  EXPECT_EQ(dest.u.pdispVal, &object);

  // Copying over a variant releases what it held.
  VARIANT number;
  VariantInit(&number);
  number.vt = VT_I4;
  ASSERT_EQ(VariantCopy(&dest, &number), S_OK);
  EXPECT_EQ(object.refs, 2u);

  src.vt = VT_UNKNOWN;
  ASSERT_EQ(VariantCopy(&dest, &src), S_OK);
  EXPECT_EQ(object.refs, 3u);
  EXPECT_EQ(VariantClear(&dest), S_OK);
  EXPECT_EQ(VariantClear(&src), S_OK);
  EXPECT_EQ(object.refs, 1u);

  src.vt = VT_UNKNOWN;
  src.u.punkVal = nullptr;
  EXPECT_EQ(VariantCopy(&dest, &src), S_OK);
  EXPECT_EQ(VariantClear(&dest), S_OK);
}

TEST(Variant, ArraysAreDeepCopied) {
  CountingUnknown object;
  SAFEARRAY* items = SafeArrayCreateVector(VT_VARIANT, 0, 2);
  ASSERT_NE(items, nullptr);
  VARIANT element = StringVariant(u"first");
  LONG index = 0;
  ASSERT_EQ(SafeArrayPutElement(items, &index, &element), S_OK);
  VariantClear(&element);
  element.vt = VT_UNKNOWN;
  element.u.punkVal = &object;
  index = 1;
  ASSERT_EQ(SafeArrayPutElement(items, &index, &element), S_OK);
  EXPECT_EQ(object.refs, 2u);

  VARIANT src, dest;
  VariantInit(&src);
  VariantInit(&dest);
  src.vt = VT_ARRAY | VT_VARIANT;
  src.u.parray = items;
  ASSERT_EQ(VariantCopy(&dest, &src), S_OK);
  ASSERT_NE(dest.u.parray, items);
  EXPECT_EQ(object.refs, 3u);
  index = 0;
  VARIANT source_first, copied_first;
  ASSERT_EQ(SafeArrayGetElement(items, &index, &source_first), S_OK);
  ASSERT_EQ(SafeArrayGetElement(dest.u.parray, &index, &copied_first), S_OK);
  EXPECT_EQ(std::u16string(copied_first.u.bstrVal), u"first");
  EXPECT_NE(static_cast<VARIANT*>(dest.u.parray->pvData)[0].u.bstrVal,
            static_cast<VARIANT*>(items->pvData)[0].u.bstrVal);
  VariantClear(&source_first);
  VariantClear(&copied_first);

  EXPECT_EQ(VariantClear(&src), S_OK);
  EXPECT_EQ(object.refs, 2u);
  EXPECT_EQ(VariantClear(&dest), S_OK);
  EXPECT_EQ(object.refs, 1u);

  // Arrays of strings and of integers too.
  for (VARTYPE vt : {VARTYPE(VT_BSTR), VARTYPE(VT_I4)}) {
    SAFEARRAY* array = SafeArrayCreateVector(vt, 1, 1);
    index = 1;
    LONG number = 77;
    BSTR text = SysAllocString(u"x");
    ASSERT_EQ(
        SafeArrayPutElement(array, &index, vt == VT_BSTR ? static_cast<void*>(text) : &number),
        S_OK);
    SysFreeString(text);
    src.vt = VT_ARRAY | vt;
    src.u.parray = array;
    ASSERT_EQ(VariantCopy(&dest, &src), S_OK);
    VARTYPE copied = VT_EMPTY;
    EXPECT_EQ(SafeArrayGetVartype(dest.u.parray, &copied), S_OK);
    EXPECT_EQ(copied, vt);
    EXPECT_NE(dest.u.parray, array);
    EXPECT_EQ(VariantClear(&src), S_OK);
    EXPECT_EQ(VariantClear(&dest), S_OK);
  }
}

TEST(Variant, ReferencesAreNotOwned) {
  LONG number = 5;
  BSTR text = SysAllocString(u"kept");
  VARIANT src, dest;
  VariantInit(&dest);
  src.vt = VT_BYREF | VT_I4;
  src.u.plVal = &number;
  ASSERT_EQ(VariantCopy(&dest, &src), S_OK);
  EXPECT_EQ(dest.u.plVal, &number);
  EXPECT_EQ(VariantClear(&dest), S_OK);

  src.vt = VT_BYREF | VT_BSTR;
  src.u.pbstrVal = &text;
  ASSERT_EQ(VariantCopy(&dest, &src), S_OK);
  EXPECT_EQ(dest.u.pbstrVal, &text);
  EXPECT_EQ(VariantClear(&dest), S_OK);
  EXPECT_EQ(VariantClear(&src), S_OK);
  EXPECT_EQ(std::u16string(text), u"kept");  // still ours to free
  SysFreeString(text);
}

TEST(Variant, UnknownTypesAreRefused) {
  VARIANT dest = StringVariant(u"survives");
  for (VARTYPE vt : {VARTYPE(0x7F), VARTYPE(VT_VARIANT), VARTYPE(VT_ARRAY | VT_I2),
                     VARTYPE(VT_BYREF | VT_EMPTY), VARTYPE(VT_ARRAY | VT_BYREF)}) {
    VARIANT bad;
    VariantInit(&bad);
    bad.vt = vt;
    EXPECT_EQ(VariantCopy(&dest, &bad), DISP_E_BADVARTYPE) << vt;
    EXPECT_EQ(VariantClear(&bad), DISP_E_BADVARTYPE) << vt;
    EXPECT_EQ(bad.vt, vt);
  }
  ASSERT_EQ(dest.vt, VT_BSTR);
  EXPECT_EQ(std::u16string(dest.u.bstrVal), u"survives");

  VARIANT bad_dest;
  bad_dest.vt = 0x7F;
  EXPECT_EQ(VariantCopy(&bad_dest, &dest), DISP_E_BADVARTYPE);
  EXPECT_EQ(VariantCopy(nullptr, &dest), E_INVALIDARG);
  EXPECT_EQ(VariantCopy(&dest, nullptr), E_INVALIDARG);
  EXPECT_EQ(VariantClear(nullptr), E_INVALIDARG);
  VariantClear(&dest);
}

}  // namespace
