// The account's mobile profile in "MobileProfile.xml": entries whose names are unique
// regardless of letter case, each with a group id, a number, a public-IM number and a text.
// Changes stay in memory until Close.
#pragma once

#include <string>

#include "profiles/MobileProfileNames.h"
#include "runtime/ComObject.h"
#include "storage/XmlStoreBase.h"
#include "vaultkit/IMobileProfileStore.h"

class CMobileProfileStore : public vk::ComObject<IMobileProfileStore>, private vk::XmlStoreBase {
 public:
  CMobileProfileStore();

  HRESULT Initialize(LPCOLESTR path) override;
  HRESULT AddItem(MobileProfileItem* item) override;
  HRESULT DeleteItem(LPCOLESTR name) override;
  HRESULT GetItem(LPCOLESTR name, MobileProfileItem* item) override;
  HRESULT GetItemCount(LONG* count) override;
  HRESULT GetItems(MobileProfileItem* items) override;
  HRESULT Close() override;

 private:
  // The root of the open document; before a successful Initialize there is none.
  vk::DomNode Root();
  // Reports an error of Initialize or DeleteItem, hands its description to the caller's
  // error information and answers its own status.
  HRESULT Raise(HRESULT status, const std::u16string& description);
  // The same without the report, for an error that has been reported already.
  HRESULT HandOver(HRESULT status, const std::u16string& description);

  vk::MobileProfileNames names_;  // the names AddItem must not give
};
