// The site the client hands to the module: it leads to the root object.
#pragma once

#include "runtime/ComObject.h"
#include "vaultkit/client.h"

namespace vk {

class ModuleSite : public ComObject<IModuleSite> {
 public:
  explicit ModuleSite(IClientRoot* root) : root_(root) {
    if (root_ != nullptr) root_->AddRef();
  }
  ~ModuleSite() override {
    if (root_ != nullptr) root_->Release();
  }
  HRESULT get_RootObject(IClientRoot** root) override {
    if (root == nullptr) return E_POINTER;
    *root = root_;
    if (root_ == nullptr) return E_FAIL;
    root_->AddRef();
    return S_OK;
  }

 private:
  IClientRoot* root_;
};

}  // namespace vk
