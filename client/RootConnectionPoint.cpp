#include "client/RootConnectionPoint.h"

#include <algorithm>
#include <vector>

namespace vk {

RootConnectionPoint::~RootConnectionPoint() {
  for (auto& [cookie, sink] : sinks_) sink->Release();
}

HRESULT RootConnectionPoint::GetConnectionInterface(IID* iid) {
  if (iid == nullptr) return E_POINTER;
  *iid = IID_IClientRootEvents;
  return S_OK;
}

HRESULT RootConnectionPoint::GetConnectionPointContainer(IConnectionPointContainer** container) {
  if (container == nullptr) return E_POINTER;
  *container = owner_;
  if (owner_ == nullptr) return E_UNEXPECTED;
  owner_->AddRef();
  return S_OK;
}

HRESULT RootConnectionPoint::Advise(IUnknown* sink, DWORD* cookie) {
  if (sink == nullptr || cookie == nullptr) return E_POINTER;
  *cookie = 0;
  if (refuse_) return CONNECT_E_ADVISELIMIT;
  IDispatch* events = nullptr;
  if (FAILED(sink->QueryInterface(IID_IClientRootEvents, reinterpret_cast<void**>(&events))) ||
      events == nullptr) {
    return CONNECT_E_CANNOTCONNECT;
  }
  *cookie = next_cookie_++;
  sinks_[*cookie] = events;
  return S_OK;
}

HRESULT RootConnectionPoint::Unadvise(DWORD cookie) {
  auto found = sinks_.find(cookie);
  if (found == sinks_.end()) return CONNECT_E_NOCONNECTION;
  IDispatch* sink = found->second;
  sinks_.erase(found);
  sink->Release();
  return S_OK;
}

HRESULT RootConnectionPoint::EnumConnections(void** enumerator) {
  if (enumerator != nullptr) *enumerator = nullptr;
  return E_NOTIMPL;
}

HRESULT RootConnectionPoint::Fire(DISPID id, VARIANT* args, UINT count) {
  // Arguments travel in reverse order, as automation passes them.
  std::vector<VARIANT> reversed(args, args + count);
  std::reverse(reversed.begin(), reversed.end());
  DISPPARAMS params{reversed.data(), nullptr, count, 0};
  return Fire(id, &params);
}

HRESULT RootConnectionPoint::Fire(DISPID id, DISPPARAMS* params) {
  // A sink may unadvise while it is called: work on a snapshot that holds references.
  std::vector<IDispatch*> snapshot;
  for (auto& [cookie, sink] : sinks_) {
    sink->AddRef();
    snapshot.push_back(sink);
  }
  HRESULT first_failure = S_OK;
  for (IDispatch* sink : snapshot) {
    HRESULT hr = sink->Invoke(id, IID_NULL, 0, DISPATCH_METHOD, params, nullptr, nullptr, nullptr);
    if (FAILED(hr) && SUCCEEDED(first_failure)) first_failure = hr;
    sink->Release();
  }
  return first_failure;
}

}  // namespace vk
