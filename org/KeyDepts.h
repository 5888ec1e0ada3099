// Key departments: per person (nickname in lower case) the department ids the server marks
// as key, in the account's "KeyDepts.xml". The data is a cache: thirty days after the file
// was created ResetIfExpired empties it so that the client fetches the lists again. The
// list operations, the reset and saving hold the store's re-entrant lock.
#pragma once

#include "runtime/ComObject.h"
#include "storage/XmlStoreBase.h"
#include "vaultkit/IKeyDepts.h"

class CKeyDepts : public vk::ComObject<IKeyDepts>, private vk::XmlStoreBase {
 public:
  CKeyDepts();

  HRESULT Initialize(LPCOLESTR path, IUnknown* client) override;
  HRESULT GetVersion(LONG* version) override;
  HRESULT SetVersion(LONG version) override;
  HRESULT GetKeyDepts(LPCOLESTR nick, ULONG* ids, LONG* count) override;
  HRESULT SetKeyDepts(LPCOLESTR nick, ULONG* ids, LONG* count) override;
  HRESULT ResetIfExpired() override;
  HRESULT Close() override;
};
