// The client's root object as the component sees it: the account, the interface language,
// the data folder, the data-object factory, and a connection point that fires the seven
// root events to every advised sink.
#pragma once

#include <string>

#include "client/RootConnectionPoint.h"
#include "runtime/ComObject.h"
#include "vaultkit/client.h"

namespace vk {

class ClientRoot : public ComObject<IClientRoot, IConnectionPointContainer> {
 public:
  ClientRoot();
  ~ClientRoot() override;

  void SetAccount(std::u16string account) { account_ = std::move(account); }
  void SetLanguage(LONG language) { language_ = language; }
  void SetDataFolder(std::u16string folder) { data_folder_ = std::move(folder); }
  RootConnectionPoint& Events() { return *events_; }
  // The object behind `root` when it is a ClientRoot of this process; null otherwise (a
  // client's own root, which the kit's functions cannot change).
  static ClientRoot* FromInterface(IClientRoot* root);

  // The seven root events.
  HRESULT FireLoginResult(LONG result);
  HRESULT FireMyPresenceChange(LONG presence, LONG state);
  HRESULT FireLogoutResult(LONG result);
  HRESULT FireAccountChange();
  HRESULT FireModifyPassword(LONG result);
  HRESULT FireMsgCountChange(LONG count, bool flag, const char16_t* a, const char16_t* b,
                             const char16_t* c);
  HRESULT FireExitApp(IDispatch* object, VARIANT_BOOL* cancel);

  HRESULT get_Account(BSTR* account) override;
  HRESULT get_Language(LONG* language) override;
  HRESULT get_DataFolder(BSTR* folder) override;
  HRESULT CreateDataItem(IDataItem** item) override;
  HRESULT CreateDataList(IDataList** list) override;

  HRESULT EnumConnectionPoints(void** enumerator) override;
  HRESULT FindConnectionPoint(REFIID riid, IConnectionPoint** point) override;

 private:
  std::u16string account_;
  std::u16string data_folder_;
  LONG language_ = 0;
  RootConnectionPoint* events_;
};

}  // namespace vk
