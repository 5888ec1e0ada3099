// The per-thread error object: what a failed call leaves for its caller to read.
#include <optional>
#include <string>

#include "runtime/ComObject.h"
#include "vaultkit/vkcom.h"

namespace vk {
namespace {

class ErrorInfoObject : public ComObject<IErrorInfo, ICreateErrorInfo> {
 public:
  HRESULT GetGUID(GUID* guid) override {
    if (guid == nullptr) return E_INVALIDARG;
    *guid = guid_;
    return S_OK;
  }
  HRESULT GetSource(BSTR* out) override { return Hand(source_, out); }
  HRESULT GetDescription(BSTR* out) override { return Hand(description_, out); }
  HRESULT GetHelpFile(BSTR* out) override { return Hand(help_file_, out); }
  HRESULT GetHelpContext(DWORD* out) override {
    if (out == nullptr) return E_INVALIDARG;
    *out = help_context_;
    return S_OK;
  }

  HRESULT SetGUID(REFGUID guid) override {
    guid_ = guid;
    return S_OK;
  }
  HRESULT SetSource(LPCOLESTR text) override { return Keep(source_, text); }
  HRESULT SetDescription(LPCOLESTR text) override { return Keep(description_, text); }
  HRESULT SetHelpFile(LPCOLESTR text) override { return Keep(help_file_, text); }
  HRESULT SetHelpContext(DWORD context) override {
    help_context_ = context;
    return S_OK;
  }

 private:
  using Text = std::optional<std::u16string>;

  static HRESULT Hand(const Text& text, BSTR* out) {
    if (out == nullptr) return E_INVALIDARG;
    *out = text ? SysAllocStringLen(text->data(), static_cast<UINT>(text->size())) : nullptr;
    return text && *out == nullptr ? E_OUTOFMEMORY : S_OK;
  }
  static HRESULT Keep(Text& slot, LPCOLESTR text) {
    slot = text ? Text(text) : std::nullopt;
    return S_OK;
  }

  GUID guid_{};
  Text source_, description_, help_file_;
  DWORD help_context_ = 0;
};

// The thread's reference, released when the thread ends.
struct ThreadErrorSlot {
  IErrorInfo* info = nullptr;
  ~ThreadErrorSlot() {
    if (info) info->Release();
  }
};
thread_local ThreadErrorSlot t_error;

}  // namespace
}  // namespace vk

VKAPI HRESULT CreateErrorInfo(ICreateErrorInfo** info) {
  if (info == nullptr) return E_INVALIDARG;
  *info = vk::ErrorInfoObject::Create<vk::ErrorInfoObject>();
  return S_OK;
}

VKAPI HRESULT SetErrorInfo(ULONG reserved, IErrorInfo* info) {
  if (reserved != 0) return E_INVALIDARG;
  if (info) info->AddRef();
  IErrorInfo* old = vk::t_error.info;
  vk::t_error.info = info;
  if (old) old->Release();
  return S_OK;
}

VKAPI HRESULT GetErrorInfo(ULONG reserved, IErrorInfo** info) {
  if (info == nullptr || reserved != 0) return E_INVALIDARG;
  *info = vk::t_error.info;
  vk::t_error.info = nullptr;
  return *info ? S_OK : S_FALSE;
}
