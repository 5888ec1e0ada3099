#include "client/ClientRoot.h"

#include <mutex>
#include <set>

#include "client/DataItem.h"
#include "client/DataList.h"

namespace vk {
namespace {

VARIANT Long(LONG value) {
  VARIANT v;
  VariantInit(&v);
  v.vt = VT_I4;
  v.u.lVal = value;
  return v;
}

VARIANT Text(const char16_t* text) {
  VARIANT v;
  VariantInit(&v);
  v.vt = VT_BSTR;
  v.u.bstrVal = SysAllocString(text == nullptr ? u"" : text);
  return v;
}

// The roots of this process, for the kit's functions to recognise their own. Built on first
// use: roots may be made while other files' statics are still being constructed.
struct LiveRoots {
  std::mutex mutex;
  std::set<IClientRoot*> roots;
};
LiveRoots& Live() {
  static LiveRoots* live = new LiveRoots();  // never destroyed: roots may outlive statics
  return *live;
}

}  // namespace

ClientRoot::ClientRoot() : events_(new RootConnectionPoint(this)) {
  std::lock_guard<std::mutex> hold(Live().mutex);
  Live().roots.insert(this);
}

ClientRoot* ClientRoot::FromInterface(IClientRoot* root) {
  std::lock_guard<std::mutex> hold(Live().mutex);
  return Live().roots.count(root) != 0 ? static_cast<ClientRoot*>(root) : nullptr;
}

ClientRoot::~ClientRoot() {
  {
    std::lock_guard<std::mutex> hold(Live().mutex);
    Live().roots.erase(this);
  }
  events_->Detach();
  events_->Release();
}

HRESULT ClientRoot::FireLoginResult(LONG result) {
  VARIANT args[] = {Long(result)};
  return events_->Fire(DISPID_OnLoginResult, args, 1);
}

HRESULT ClientRoot::FireMyPresenceChange(LONG presence, LONG state) {
  VARIANT args[] = {Long(presence), Long(state)};
  return events_->Fire(DISPID_OnMyPresenceChange, args, 2);
}

HRESULT ClientRoot::FireLogoutResult(LONG result) {
  VARIANT args[] = {Long(result)};
  return events_->Fire(DISPID_OnLogoutResult, args, 1);
}

HRESULT ClientRoot::FireAccountChange() {
  return events_->Fire(DISPID_OnAccountChange, nullptr, 0);
}

HRESULT ClientRoot::FireModifyPassword(LONG result) {
  VARIANT args[] = {Long(result)};
  return events_->Fire(DISPID_OnModifyPassword, args, 1);
}

HRESULT ClientRoot::FireMsgCountChange(LONG count, bool flag, const char16_t* a, const char16_t* b,
                                       const char16_t* c) {
  VARIANT args[] = {Long(count), Long(0), Text(a), Text(b), Text(c)};
  args[1].vt = VT_BOOL;
  args[1].u.boolVal = flag ? VARIANT_TRUE : VARIANT_FALSE;
  HRESULT hr = events_->Fire(DISPID_OnMsgCountChange, args, 5);
  for (VARIANT& v : args) VariantClear(&v);
  return hr;
}

HRESULT ClientRoot::FireExitApp(IDispatch* object, VARIANT_BOOL* cancel) {
  VARIANT args[2];
  VariantInit(&args[0]);
  VariantInit(&args[1]);
  args[0].vt = VT_DISPATCH;
  args[0].u.pdispVal = object;
  args[1].vt = VT_BYREF | VT_BOOL;
  args[1].u.pboolVal = cancel;
  return events_->Fire(DISPID_OnExitApp, args, 2);
}

HRESULT ClientRoot::get_Account(BSTR* account) {
  if (account == nullptr) return E_POINTER;
  *account = SysAllocString(account_.c_str());
  return S_OK;
}

HRESULT ClientRoot::get_Language(LONG* language) {
  if (language == nullptr) return E_POINTER;
  *language = language_;
  return S_OK;
}

HRESULT ClientRoot::get_DataFolder(BSTR* folder) {
  if (folder == nullptr) return E_POINTER;
  *folder = SysAllocString(data_folder_.c_str());
  return S_OK;
}

HRESULT ClientRoot::CreateDataItem(IDataItem** item) {
  if (item == nullptr) return E_POINTER;
  *item = new DataItem();
  return S_OK;
}

HRESULT ClientRoot::CreateDataList(IDataList** list) {
  if (list == nullptr) return E_POINTER;
  *list = new DataList();
  return S_OK;
}

HRESULT ClientRoot::EnumConnectionPoints(void** enumerator) {
  if (enumerator != nullptr) *enumerator = nullptr;
  return E_NOTIMPL;
}

HRESULT ClientRoot::FindConnectionPoint(REFIID riid, IConnectionPoint** point) {
  if (point == nullptr) return E_POINTER;
  *point = nullptr;
  if (!SameIid(riid, IID_IClientRootEvents)) return CONNECT_E_NOCONNECTION;
  events_->AddRef();
  *point = events_;
  return S_OK;
}

}  // namespace vk
