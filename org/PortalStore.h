// The enterprise portal: reads the portal document the server publishes, kept as
// "PortalIcon/EPortal.xml" in the account folder. Apart from its version the store never
// changes the document; Close writes it back every time.
#pragma once

#include <string>

#include "runtime/ComObject.h"
#include "storage/XmlStoreBase.h"
#include "vaultkit/IPortalStore.h"

class CPortalStore : public vk::ComObject<IPortalStore>, private vk::XmlStoreBase {
 public:
  CPortalStore();

  HRESULT Initialize(LPCOLESTR path, IUnknown* client) override;
  HRESULT GetVersion(LONG* version) override;
  HRESULT SetVersion(LONG version) override;
  HRESULT GetDeptPortalNote(BSTR* text) override;
  HRESULT GetDeptPortalUrl(BSTR* text) override;
  HRESULT GetUserPortalLinkText(BSTR* text) override;
  HRESULT GetUserPortalUrl(BSTR* text) override;
  HRESULT IsPortalDept(LONG dept, BOOL* flag) override;
  HRESULT GetPortalDepts(LONG* ids, LONG n) override;
  HRESULT GetPortalDeptCount(LONG* count) override;
  HRESULT GetDeptPortalEnable(BOOL* flag) override;
  HRESULT GetUserPortalEnable(BOOL* flag) override;
  HRESULT Close() override;
  HRESULT GetUserTipsEnable(BOOL* flag) override;
  HRESULT GetUserTipsState(BSTR* text) override;
  HRESULT GetUserTipsCount(LONG* count) override;
  HRESULT GetUserTips(PortalTipInfo* tips, LONG n) override;

 private:
  // The client's interface language (0, 1 or 2); throws when it cannot be asked.
  LONG Language() const;
  // Hands out the text of the first node the expression selects; S_OK also when none.
  HRESULT GetText(BSTR* text, const char16_t* prefix, const char16_t* const* suffixes);
  HRESULT GetFlag(BOOL* flag, const char16_t* xpath);
};
