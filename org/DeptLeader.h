// Department leaders: per department the leading member and the version of the server data
// that fact comes from, in the account's "Leader.xml". Emptied by ResetIfExpired thirty days
// after the file was created, so that the client fetches the leaders again.
#pragma once

#include "runtime/ComObject.h"
#include "storage/XmlStoreBase.h"
#include "vaultkit/IDeptLeader.h"

class CDeptLeader : public vk::ComObject<IDeptLeader>, private vk::XmlStoreBase {
 public:
  CDeptLeader();

  HRESULT Initialize(LPCOLESTR path, IUnknown* client) override;
  HRESULT GetVersion(LONG* version) override;
  HRESULT SetVersion(LONG version) override;
  HRESULT GetLeader(LONG dept, LONG* leader) override;
  HRESULT SetLeader(LONG dept, ULONG version, LONG leader) override;
  HRESULT DeleteDept(LONG dept) override;
  HRESULT ResetIfExpired() override;
  HRESULT Close() override;
};
