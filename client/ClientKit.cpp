// The client kit's C functions over the client-side objects that the command and the tests
// use too: one root, one site and one way to load the module for every client.
#include <dlfcn.h>

#include <string>

#include "client/ClientRoot.h"
#include "client/ModuleSite.h"
#include "vaultkit/client-kit.h"

namespace {

std::u16string Text(const OLECHAR* text) {
  return text != nullptr ? std::u16string(text) : std::u16string();
}

// Runs `fire` on the kit's root behind `root`; E_INVALIDARG for anything else.
template <typename Fire>
HRESULT OnRoot(IClientRoot* root, Fire&& fire) {
  vk::ClientRoot* object = vk::ClientRoot::FromInterface(root);
  return object != nullptr ? fire(*object) : E_INVALIDARG;
}

HRESULT Register(const char* component_path) {
  // The registry keeps the path: the library stays loaded for the process, as the runtime
  // loads it again by that path to create the module.
  void* library = ::dlopen(component_path, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return static_cast<HRESULT>(0x8007007E);
  auto register_server =
      reinterpret_cast<PFN_DllRegisterServer>(::dlsym(library, "DllRegisterServer"));
  return register_server != nullptr ? register_server() : static_cast<HRESULT>(0x8007007F);
}

}  // namespace

HRESULT VkCreateClientRoot(const OLECHAR* account, LONG language, const OLECHAR* data_folder,
                           IClientRoot** root) {
  if (root == nullptr) return E_INVALIDARG;
  auto* object = new vk::ClientRoot();
  object->SetAccount(Text(account));
  object->SetLanguage(language);
  object->SetDataFolder(Text(data_folder));
  *root = object;
  return S_OK;
}

HRESULT VkSetClientAccount(IClientRoot* root, const OLECHAR* account) {
  return OnRoot(root, [&](vk::ClientRoot& r) { return r.SetAccount(Text(account)), S_OK; });
}

HRESULT VkSetClientLanguage(IClientRoot* root, LONG language) {
  return OnRoot(root, [&](vk::ClientRoot& r) { return r.SetLanguage(language), S_OK; });
}

HRESULT VkCreateModuleSite(IClientRoot* root, IModuleSite** site) {
  if (root == nullptr || site == nullptr) return E_INVALIDARG;
  *site = new vk::ModuleSite(root);
  return S_OK;
}

HRESULT VkLoadModule(const char* component_path, IClientRoot* root, IClientModule** module) {
  if (module == nullptr) return E_INVALIDARG;
  *module = nullptr;
  if (root == nullptr) return E_INVALIDARG;
  HRESULT hr = component_path != nullptr ? Register(component_path) : S_OK;
  CLSID clsid;
  if (SUCCEEDED(hr)) hr = CLSIDFromProgID(VK_PROGID_STORE_MODULE, &clsid);
  IClientModule* created = nullptr;
  if (SUCCEEDED(hr)) {
    hr = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IClientModule,
                          reinterpret_cast<void**>(&created));
  }
  if (FAILED(hr)) return hr;
  IModuleSite* site = new vk::ModuleSite(root);
  hr = created->OnLoad(site);
  site->Release();
  if (FAILED(hr)) {
    created->Release();
    return hr;
  }
  *module = created;
  return S_OK;
}

HRESULT VkFireRootEvent(IClientRoot* root, DISPID event, DISPPARAMS* params) {
  if (params == nullptr) return E_INVALIDARG;
  return OnRoot(root, [&](vk::ClientRoot& r) { return r.Events().Fire(event, params); });
}

HRESULT VkFireLoginResult(IClientRoot* root, LONG result) {
  return OnRoot(root, [&](vk::ClientRoot& r) { return r.FireLoginResult(result); });
}

HRESULT VkFireMyPresenceChange(IClientRoot* root, LONG presence, LONG state) {
  return OnRoot(root, [&](vk::ClientRoot& r) { return r.FireMyPresenceChange(presence, state); });
}

HRESULT VkFireLogoutResult(IClientRoot* root, LONG result) {
  return OnRoot(root, [&](vk::ClientRoot& r) { return r.FireLogoutResult(result); });
}

HRESULT VkFireAccountChange(IClientRoot* root) {
  return OnRoot(root, [&](vk::ClientRoot& r) { return r.FireAccountChange(); });
}

HRESULT VkFireModifyPassword(IClientRoot* root, LONG result) {
  return OnRoot(root, [&](vk::ClientRoot& r) { return r.FireModifyPassword(result); });
}

HRESULT VkFireMsgCountChange(IClientRoot* root, LONG count, VARIANT_BOOL flag, const OLECHAR* a,
                             const OLECHAR* b, const OLECHAR* c) {
  return OnRoot(root, [&](vk::ClientRoot& r) {
    return r.FireMsgCountChange(count, flag != VARIANT_FALSE, a, b, c);
  });
}

HRESULT VkFireExitApp(IClientRoot* root, IDispatch* object, VARIANT_BOOL* cancel) {
  return OnRoot(root, [&](vk::ClientRoot& r) { return r.FireExitApp(object, cancel); });
}
