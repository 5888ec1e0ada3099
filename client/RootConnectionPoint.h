// The root's connection point for its events: advised sinks are kept with a reference and
// called through IDispatch::Invoke with the event's dispatch id.
#pragma once

#include <map>

#include "runtime/ComObject.h"
#include "vaultkit/client.h"

namespace vk {

class RootConnectionPoint : public ComObject<IConnectionPoint> {
 public:
  explicit RootConnectionPoint(IConnectionPointContainer* owner) : owner_(owner) {}
  ~RootConnectionPoint() override;

  // Makes Advise refuse new connections (a client that will not accept the module).
  void RefuseAdvise(bool refuse) { refuse_ = refuse; }
  size_t SinkCount() const { return sinks_.size(); }
  // Calls every sink; arguments in call order. Answers the first failure, if any.
  HRESULT Fire(DISPID id, VARIANT* args, UINT count);
  // Calls every sink with the arguments as given (reverse order, as automation passes them).
  HRESULT Fire(DISPID id, DISPPARAMS* params);
  void Detach() { owner_ = nullptr; }

  HRESULT GetConnectionInterface(IID* iid) override;
  HRESULT GetConnectionPointContainer(IConnectionPointContainer** container) override;
  HRESULT Advise(IUnknown* sink, DWORD* cookie) override;
  HRESULT Unadvise(DWORD cookie) override;
  HRESULT EnumConnections(void** enumerator) override;

 private:
  IConnectionPointContainer* owner_;  // not counted: the owner outlives its use here
  std::map<DWORD, IDispatch*> sinks_;
  DWORD next_cookie_ = 1;
  bool refuse_ = false;
};

}  // namespace vk
