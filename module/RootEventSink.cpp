#include "module/RootEventSink.h"

namespace vk {
namespace {

// Reads argument `index` (in call order) of an event; the platform passes them reversed.
const VARIANT* Arg(const DISPPARAMS* params, UINT index) {
  return &params->rgvarg[params->cArgs - 1 - index];
}

bool ReadLong(const VARIANT* v, LONG* out) {
  switch (v->vt) {
    case VT_I4:
    case VT_INT:
    case VT_UI4:
      *out = v->u.lVal;
      return true;
    case VT_I2:
      *out = v->u.iVal;
      return true;
    case VT_BOOL:
      *out = v->u.boolVal;
      return true;
    default:
      return false;
  }
}

bool ReadText(const VARIANT* v, const OLECHAR** out) {
  if (v->vt == VT_BSTR) {
    *out = v->u.bstrVal;
    return true;
  }
  if (v->vt == VT_EMPTY || v->vt == VT_NULL) {
    *out = nullptr;
    return true;
  }
  return false;
}

// The source's connection point for the root events, with a reference; null when it has none.
IConnectionPoint* RootEventsPoint(IUnknown* source) {
  IConnectionPointContainer* container = nullptr;
  if (source == nullptr ||
      FAILED(source->QueryInterface(IID_IConnectionPointContainer,
                                    reinterpret_cast<void**>(&container))) ||
      container == nullptr) {
    return nullptr;
  }
  IConnectionPoint* point = nullptr;
  HRESULT hr = container->FindConnectionPoint(IID_IClientRootEvents, &point);
  container->Release();
  return FAILED(hr) ? nullptr : point;
}

}  // namespace

RootEventSink::~RootEventSink() {
  if (source_ != nullptr) Disconnect();
}

void* RootEventSink::FindExtraInterface(REFIID riid) {
  if (SameIid(riid, IID_IClientRootEvents)) return static_cast<IDispatch*>(this);
  return nullptr;
}

bool RootEventSink::Connect(IUnknown* source) {
  if (source_ != nullptr) return true;
  IConnectionPoint* point = RootEventsPoint(source);
  if (point == nullptr) return false;
  DWORD cookie = 0;
  HRESULT hr = point->Advise(static_cast<IDispatch*>(this), &cookie);
  point->Release();
  if (FAILED(hr)) {
    cookie_ = 0;
    return false;
  }
  source_ = source;
  cookie_ = cookie;
  return true;
}

bool RootEventSink::Disconnect() {
  // Below two references the source has already let go of the sink.
  if (source_ == nullptr || RefCount() < 2) return true;
  IConnectionPoint* point = RootEventsPoint(source_);
  if (point == nullptr) return false;
  HRESULT hr = point->Unadvise(cookie_);
  point->Release();
  if (FAILED(hr)) return false;
  source_ = nullptr;
  cookie_ = 0;
  return true;
}

HRESULT RootEventSink::Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT*,
                              EXCEPINFO*, UINT*) {
  static DISPPARAMS no_args = {nullptr, nullptr, 0, 0};
  if (params == nullptr) params = &no_args;
  auto need = [&](UINT n) { return params->cArgs == n && (n == 0 || params->rgvarg != nullptr); };
  LONG a = 0, b = 0;
  switch (id) {
    case DISPID_OnLoginResult:
    case DISPID_OnLogoutResult:
    case DISPID_OnModifyPassword: {
      if (!need(1)) return DISP_E_BADPARAMCOUNT;
      if (!ReadLong(Arg(params, 0), &a)) return DISP_E_TYPEMISMATCH;
      auto& slot = id == DISPID_OnLoginResult    ? login_result
                   : id == DISPID_OnLogoutResult ? logout_result
                                                 : modify_password;
      slot.Fire(a);
      return S_OK;
    }
    case DISPID_OnMyPresenceChange:
      if (!need(2)) return DISP_E_BADPARAMCOUNT;
      if (!ReadLong(Arg(params, 0), &a) || !ReadLong(Arg(params, 1), &b)) {
        return DISP_E_TYPEMISMATCH;
      }
      my_presence_change.Fire(a, b);
      return S_OK;
    case DISPID_OnAccountChange:
      if (!need(0)) return DISP_E_BADPARAMCOUNT;
      account_change.Fire();
      return S_OK;
    case DISPID_OnMsgCountChange: {
      if (!need(5)) return DISP_E_BADPARAMCOUNT;
      const OLECHAR* texts[3] = {};
      if (!ReadLong(Arg(params, 0), &a) || !ReadLong(Arg(params, 1), &b) ||
          !ReadText(Arg(params, 2), &texts[0]) || !ReadText(Arg(params, 3), &texts[1]) ||
          !ReadText(Arg(params, 4), &texts[2])) {
        return DISP_E_TYPEMISMATCH;
      }
      msg_count_change.Fire(a, b != 0, texts[0], texts[1], texts[2]);
      return S_OK;
    }
    case DISPID_OnExitApp: {
      if (!need(2)) return DISP_E_BADPARAMCOUNT;
      const VARIANT* object = Arg(params, 0);
      const VARIANT* cancel = Arg(params, 1);
      if ((object->vt != VT_DISPATCH && object->vt != VT_EMPTY) ||
          cancel->vt != (VT_BYREF | VT_BOOL)) {
        return DISP_E_TYPEMISMATCH;
      }
      exit_app.Fire(object->vt == VT_DISPATCH ? object->u.pdispVal : nullptr, cancel->u.pboolVal);
      return S_OK;
    }
    default:
      return DISP_E_MEMBERNOTFOUND;
  }
}

}  // namespace vk
