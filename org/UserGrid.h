// The user grid: one small integer per person, keyed by the nickname exactly as given
// (no case folding), in the account's "UserGrid.xml".
#pragma once

#include "runtime/ComObject.h"
#include "storage/XmlStoreBase.h"
#include "vaultkit/IUserGrid.h"

class CUserGrid : public vk::ComObject<IUserGrid>, private vk::XmlStoreBase {
 public:
  CUserGrid();

  HRESULT Initialize(LPCOLESTR path, IUnknown* client) override;
  HRESULT GetVersion(LONG* version) override;
  HRESULT SetVersion(LONG version) override;
  HRESULT GetGrid(LPCOLESTR nick, LONG* grid) override;
  HRESULT SetGrid(LPCOLESTR nick, LONG grid) override;
  HRESULT Clear() override;
  HRESULT Close() override;
};
