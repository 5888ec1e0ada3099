#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "vaultkit/vkcom.h"

namespace {

IErrorInfo* MakeError(const char16_t* description) {
  ICreateErrorInfo* create = nullptr;
  EXPECT_EQ(CreateErrorInfo(&create), S_OK);
  create->SetDescription(description);
  IErrorInfo* info = nullptr;
  EXPECT_EQ(create->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info)), S_OK);
  create->Release();
  return info;
}

std::u16string TakeDescription() {
  IErrorInfo* info = nullptr;
  if (GetErrorInfo(0, &info) != S_OK) return u"<none>";
  BSTR text = nullptr;
  info->GetDescription(&text);
  std::u16string result = text ? text : u"<null>";
  SysFreeString(text);
  info->Release();
  return result;
}

TEST(ErrorInfo, ThreadObjectIsHandedOutOnceAndStaysOnItsThread) {
  IErrorInfo* info = MakeError(u"UserGrid.xml: Permission denied");
  ASSERT_EQ(SetErrorInfo(0, info), S_OK);
  info->Release();  // the thread keeps its own reference

  std::u16string seen_elsewhere;
  std::thread([&] { seen_elsewhere = TakeDescription(); }).join();
  EXPECT_EQ(seen_elsewhere, u"<none>");

  EXPECT_EQ(TakeDescription(), u"UserGrid.xml: Permission denied");
  EXPECT_EQ(TakeDescription(), u"<none>");  // taking it clears it

  IErrorInfo* none = reinterpret_cast<IErrorInfo*>(1);
  EXPECT_EQ(GetErrorInfo(0, &none), S_FALSE);
  EXPECT_EQ(none, nullptr);

  // A newer error replaces the older; null clears; a reserved value is refused.
  IErrorInfo* first = MakeError(u"first");
  IErrorInfo* second = MakeError(nullptr);
  SetErrorInfo(0, first);
  SetErrorInfo(0, second);
  EXPECT_EQ(TakeDescription(), u"<null>");
  SetErrorInfo(0, first);
  SetErrorInfo(0, nullptr);
  EXPECT_EQ(TakeDescription(), u"<none>");
  EXPECT_EQ(SetErrorInfo(1, first), E_INVALIDARG);
  EXPECT_EQ(GetErrorInfo(0, nullptr), E_INVALIDARG);
  first->Release();
  second->Release();
}

}  // namespace
