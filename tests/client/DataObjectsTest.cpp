#include <gtest/gtest.h>

#include "client/ClientRoot.h"

namespace vk {
namespace {

TEST(DataObjects, ItemsKeepAttributesAndListsIndexFromOne) {
  auto* root = new ClientRoot();
  IDataList* list = nullptr;
  ASSERT_EQ(root->CreateDataList(&list), S_OK);
  for (LONG i = 1; i <= 3; ++i) {
    IDataItem* item = nullptr;
    ASSERT_EQ(root->CreateDataItem(&item), S_OK);
    item->SetIntAttr(u"uin", i * 10);
    item->SetTextAttr(u"nick", i == 2 ? u"bob" : u"x");
    list->Append(item);
    item->Release();
  }
  LONG count = 0;
  list->get_Count(&count);
  EXPECT_EQ(count, 3);
  IDataItem* item = nullptr;
  EXPECT_EQ(list->Item(0, &item), E_INVALIDARG);
  EXPECT_EQ(list->Item(4, &item), E_INVALIDARG);
  ASSERT_EQ(list->Item(2, &item), S_OK);
  LONG uin = 0;
  item->GetIntAttr(u"uin", &uin);
  EXPECT_EQ(uin, 20);
  BSTR nick = nullptr;
  item->GetTextAttr(u"nick", &nick);
  EXPECT_EQ(std::u16string(nick), u"bob");
  SysFreeString(nick);
  LONG absent = 7;
  item->GetIntAttr(u"missing", &absent);
  EXPECT_EQ(absent, 0);
  item->Release();

  EXPECT_EQ(list->Remove(1), S_OK);
  ASSERT_EQ(list->Item(1, &item), S_OK);
  item->GetIntAttr(u"uin", &uin);
  EXPECT_EQ(uin, 20);
  item->Release();
  EXPECT_EQ(list->Release(), 0u);
  root->Release();
}

TEST(ClientRoot, OffersOnlyTheRootEventConnectionPoint) {
  auto* root = new ClientRoot();
  IConnectionPoint* point = nullptr;
  EXPECT_EQ(root->FindConnectionPoint(IID_IDispatch, &point), CONNECT_E_NOCONNECTION);
  ASSERT_EQ(root->FindConnectionPoint(IID_IClientRootEvents, &point), S_OK);
  IID iid;
  point->GetConnectionInterface(&iid);
  EXPECT_TRUE(IsEqualGUID(&iid, &IID_IClientRootEvents));
  EXPECT_EQ(point->Unadvise(99), CONNECT_E_NOCONNECTION);
  point->Release();
  EXPECT_EQ(root->Release(), 0u);
}

}  // namespace
}  // namespace vk
