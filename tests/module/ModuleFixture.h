// A fresh data root, a client root and site, captured log lines, and a module created the
// way the client creates it.
#pragma once

#include <gtest/gtest.h>

#include "client/ClientRoot.h"
#include "client/ModuleSite.h"
#include "module/StoreModule.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempDataRoot.h"

namespace vk::test {

class ModuleTest : public ::testing::Test {
 protected:
  ModuleTest() : root(new ClientRoot()), site(new ModuleSite(root)), module(new CStoreModule()) {
    root->SetDataFolder(data.Path());
  }
  ~ModuleTest() override {
    module->Release();
    site->Release();
    root->Release();
  }

  HRESULT Load() { return module->OnLoad(static_cast<IModuleSite*>(site)); }
  // Loads the module and changes to the account, as the client does at login.
  HRESULT LoadAs(const char16_t* account) {
    Load();
    root->SetAccount(account);
    return module->OnAccountChange();
  }

  size_t Assertions() const {
    size_t n = 0;
    for (const auto& r : log.Records()) {
      if (r.level == u"important" && r.text.find(u"ASSERT HAPPENS!") != std::u16string::npos) ++n;
    }
    return n;
  }
  size_t LoginLines() const {
    size_t n = 0;
    for (const auto& r : log.Records()) {
      if (r.login && r.text == u"Vaultkit:OnAccountChange") ++n;
    }
    return n;
  }

  TempDataRoot data;
  LogCapture log;
  ClientRoot* root;
  ModuleSite* site;
  CStoreModule* module;
};

}  // namespace vk::test
