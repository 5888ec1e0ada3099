// The profile store: per account, the details of every user the client has met, one ITEM
// element per nickname (matched regardless of the case of A to Z) under Root, in the
// account's enciphered "WEZProfile.dat". Changes stay in memory until Close.
#pragma once

#include "runtime/ComObject.h"
#include "storage/EncipheredStore.h"
#include "vaultkit/IWEZProfileStore.h"

class CWEZProfileStore : public vk::ComObject<IWEZProfileStore>, private vk::EncipheredStore {
 public:
  CWEZProfileStore();

  HRESULT Initialize(LPCOLESTR path) override;
  HRESULT SetProfile(const ProfileInfo* profile) override;
  HRESULT DeleteProfile(LPCOLESTR nick) override;
  HRESULT GetProfile(ProfileInfo* profile) override;
  HRESULT GetProfileCount(LONG* count) override;
  HRESULT GetProfiles(ProfileInfo* profiles, LONG* count) override;
  HRESULT GetNickByUin(LONG uin, BSTR* nick) override;
  HRESULT Close() override;
  HRESULT SetUserList(IUserList* user_list) override;

 private:
  vk::DomNode FindProfileItem(std::u16string_view nick);
};
