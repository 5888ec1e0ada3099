// The automation object that the client root's connection point calls for each of its
// seven events; each event is forwarded to the subscribers of its slot.
#pragma once

#include "module/EventSlot.h"
#include "runtime/AutomationObject.h"
#include "vaultkit/client.h"

namespace vk {

class RootEventSink : public AutomationObject<IDispatch> {
 public:
  RootEventSink() = default;
  ~RootEventSink() override;

  // Advises the source's connection point for the root events (the connection holds a
  // reference to the sink). Answers whether a source is now kept.
  bool Connect(IUnknown* source);
  // Unadvises; true when there is nothing (left) to disconnect from.
  bool Disconnect();
  bool IsConnected() const { return source_ != nullptr; }

  EventSlot<LONG> login_result;
  EventSlot<LONG, LONG> my_presence_change;
  EventSlot<LONG> logout_result;
  EventSlot<> account_change;
  EventSlot<LONG> modify_password;
  EventSlot<LONG, bool, const OLECHAR*, const OLECHAR*, const OLECHAR*> msg_count_change;
  EventSlot<IDispatch*, VARIANT_BOOL*> exit_app;

  // The seven events by dispatch id.
  HRESULT Invoke(DISPID id, REFIID riid, LCID lcid, WORD flags, DISPPARAMS* params, VARIANT* result,
                 EXCEPINFO* excep, UINT* arg_err) override;

 protected:
  void* FindExtraInterface(REFIID riid) override;

 private:
  IUnknown* source_ = nullptr;  // not reference-counted
  DWORD cookie_ = 0;
};

}  // namespace vk
