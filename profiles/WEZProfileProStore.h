// The buddy profile store: per account, free-form named fields about buddies, one
// WEZBuddyPro element per buddy account (kept in lower case) holding its Field elements, in
// the account's enciphered "WEZProfilePro.dat". Changes stay in memory until Close.
#pragma once

#include "runtime/ComObject.h"
#include "storage/EncipheredStore.h"
#include "vaultkit/IWEZProfileProStore.h"

class CWEZProfileProStore : public vk::ComObject<IWEZProfileProStore>, private vk::EncipheredStore {
 public:
  CWEZProfileProStore();

  HRESULT Initialize(BSTR path) override;
  HRESULT SetBuddyFields(LPCOLESTR account, const BuddyField* fields, LONG count) override;
  HRESULT DeleteBuddy(LPCOLESTR account) override;
  HRESULT GetBuddyFieldCount(LPCOLESTR account, LONG* count) override;
  HRESULT GetBuddyFields(LPCOLESTR account, BuddyField* fields) override;
  HRESULT GetBuddyField(LPCOLESTR account, LPCOLESTR name, VARIANT* value) override;
  HRESULT SetBuddyField(LPCOLESTR account, LPCOLESTR name, VARIANT value) override;
  HRESULT Close() override;

 private:
  vk::DomNode FindBuddy(std::u16string_view account);
  vk::DomNode FindBuddyField(std::u16string_view lower_account, std::u16string_view name);
  // The buddy of the account, or a new one not yet in the document; its Account is set to
  // the lower-cased account either way.
  vk::DomNode FindOrCreateBuddy(std::u16string_view account);
};
