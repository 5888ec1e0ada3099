#include <gtest/gtest.h>

#include <string>

#include "CountingUnknown.h"
#include "vaultkit/vkcom.h"

namespace {

// An initialised variant of the given type, its value still to be set.
VARIANT Of(VARTYPE vt) {
  VARIANT v;
  VariantInit(&v);
  v.vt = vt;
  return v;
}

VARIANT StringVariant(const char16_t* text) {
  VARIANT v = Of(VT_BSTR);
  v.u.bstrVal = SysAllocString(text);
  return v;
}

TEST(Variant, ScalarsCopyByValue) {
  VARIANT v;
  v.vt = 0xFFFF;
  VariantInit(&v);
  EXPECT_EQ(v.vt, VT_EMPTY);

  const std::pair<VARTYPE, LONG> cases[] = {
      {VT_I2, -7},        {VT_I4, -123456}, {VT_UI4, 42}, {VT_INT, 9}, {VT_BOOL, VARIANT_TRUE},
      {VT_ERROR, E_FAIL}, {VT_NULL, 0}};
  for (const auto& [vt, value] : cases) {
    VARIANT src = Of(vt), dest = Of(VT_EMPTY);
    src.u.llVal = value;  // the whole value field, whatever part the type reads
    ASSERT_EQ(VariantCopy(&dest, &src), S_OK) << vt;
    EXPECT_EQ(dest.vt, vt);
    EXPECT_EQ(dest.u.llVal, value) << vt;
    EXPECT_EQ(VariantClear(&dest), S_OK);
    EXPECT_EQ(dest.vt, VT_EMPTY);
  }
}

TEST(Variant, StringsAreCopiedAndFreed) {
  const char16_t raw[] = {u'a', 0, u'b'};
  VARIANT src = Of(VT_BSTR);
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
  VARIANT null_text = StringVariant(nullptr), copy = Of(VT_EMPTY);
  ASSERT_EQ(VariantCopy(&copy, &null_text), S_OK);
  EXPECT_EQ(copy.vt, VT_BSTR);
  EXPECT_EQ(copy.u.bstrVal, nullptr);
  EXPECT_EQ(VariantCopy(&copy, &copy), S_OK);
  EXPECT_EQ(VariantClear(&copy), S_OK);
}

TEST(Variant, InterfacesAreReferenceCounted) {
  CountingUnknown object;
  VARIANT src = Of(VT_DISPATCH), dest = Of(VT_EMPTY), number = Of(VT_I4);
  src.u.pdispVal = &object;
  object.AddRef();  // the source variant's own reference
  ASSERT_EQ(VariantCopy(&dest, &src), S_OK);
  EXPECT_EQ(object.refs, 3u);
  EXPECT_EQ(dest.u.pdispVal, &object);
  ASSERT_EQ(VariantCopy(&dest, &number), S_OK);  // copying over a variant releases its hold
  EXPECT_EQ(object.refs, 2u);

  src.vt = VT_UNKNOWN;
  ASSERT_EQ(VariantCopy(&dest, &src), S_OK);
  EXPECT_EQ(object.refs, 3u);
  EXPECT_EQ(VariantClear(&dest), S_OK);
  EXPECT_EQ(VariantClear(&src), S_OK);
  EXPECT_EQ(object.refs, 1u);

  src = Of(VT_UNKNOWN);
  src.u.punkVal = nullptr;
  EXPECT_EQ(VariantCopy(&dest, &src), S_OK);
  EXPECT_EQ(VariantClear(&dest), S_OK);
}

// Copying an array copies its elements: strings anew, interfaces with a reference of their
// own. Reading an element of a variant array overwrites the variant read into, uncleared.
TEST(Variant, ArraysAreDeepCopied) {
  CountingUnknown object;
  SAFEARRAY* items = SafeArrayCreateVector(VT_VARIANT, 0, 2);
  ASSERT_NE(items, nullptr);
  VARIANT element = StringVariant(u"first");
  LONG index = 0;
  ASSERT_EQ(SafeArrayPutElement(items, &index, &element), S_OK);
  VariantClear(&element);
  element = Of(VT_UNKNOWN);
  element.u.punkVal = &object;
  index = 1;
  ASSERT_EQ(SafeArrayPutElement(items, &index, &element), S_OK);
  EXPECT_EQ(object.refs, 2u);
  VARIANT read;
  read.vt = 0x7F;
  ASSERT_EQ(SafeArrayGetElement(items, &index, &read), S_OK);
  EXPECT_EQ(read.vt, VT_UNKNOWN);
  EXPECT_EQ(object.refs, 3u);
  VariantClear(&read);

  VARIANT src = Of(VT_ARRAY | VT_VARIANT), dest = Of(VT_EMPTY);
  src.u.parray = items;
  ASSERT_EQ(VariantCopy(&dest, &src), S_OK);
  ASSERT_NE(dest.u.parray, items);
  EXPECT_EQ(object.refs, 3u);
  index = 0;
  ASSERT_EQ(SafeArrayGetElement(dest.u.parray, &index, &read), S_OK);
  EXPECT_EQ(std::u16string(read.u.bstrVal), u"first");
  EXPECT_NE(static_cast<VARIANT*>(dest.u.parray->pvData)[0].u.bstrVal,
            static_cast<VARIANT*>(items->pvData)[0].u.bstrVal);
  VariantClear(&read);
  EXPECT_EQ(VariantClear(&src), S_OK);
  EXPECT_EQ(object.refs, 2u);
  EXPECT_EQ(VariantClear(&dest), S_OK);
  EXPECT_EQ(object.refs, 1u);

  // Arrays of strings and of integers keep their element type.
  for (VARTYPE vt : {VARTYPE(VT_BSTR), VARTYPE(VT_I4)}) {
    src = Of(VT_ARRAY | vt);
    src.u.parray = SafeArrayCreateVector(vt, 1, 1);
    ASSERT_EQ(VariantCopy(&dest, &src), S_OK);
    VARTYPE copied = VT_EMPTY;
    EXPECT_EQ(SafeArrayGetVartype(dest.u.parray, &copied), S_OK);
    EXPECT_EQ(copied, vt);
    EXPECT_NE(dest.u.parray, src.u.parray);
    EXPECT_EQ(VariantClear(&src), S_OK);
    EXPECT_EQ(VariantClear(&dest), S_OK);
  }
}

// A reference is copied as the same pointer, and clearing leaves what it points to alone.
TEST(Variant, ReferencesAreNotOwned) {
  LONG number = 5;
  BSTR text = SysAllocString(u"kept");
  for (auto [vt, pointee] : {std::pair<VARTYPE, void*>{VT_BYREF | VT_I4, &number},
                             std::pair<VARTYPE, void*>{VT_BYREF | VT_BSTR, &text}}) {
    VARIANT src = Of(vt), dest = Of(VT_EMPTY);
    src.u.byref = pointee;
    ASSERT_EQ(VariantCopy(&dest, &src), S_OK);
    EXPECT_EQ(dest.u.byref, pointee);
    EXPECT_EQ(VariantClear(&dest), S_OK);
    EXPECT_EQ(VariantClear(&src), S_OK);
  }
  EXPECT_EQ(number, 5);
  EXPECT_EQ(std::u16string(text), u"kept");  // still ours to free
  SysFreeString(text);
}

TEST(Variant, UnknownTypesAreRefused) {
  VARIANT dest = StringVariant(u"survives");
  for (VARTYPE vt : {VARTYPE(0x7F), VARTYPE(VT_VARIANT), VARTYPE(VT_ARRAY | VT_I2),
                     VARTYPE(VT_BYREF | VT_EMPTY), VARTYPE(VT_ARRAY | VT_BYREF)}) {
    VARIANT bad = Of(vt);
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
