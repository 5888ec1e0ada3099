#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <string>

#include "tests/runtime/RegistryFixture.h"
#include "vaultkit/vaultkit.h"

namespace {

std::set<std::string> DefinedDynamicSymbols(const std::string& library) {
  std::set<std::string> names;
  std::string command = "nm -D --defined-only '" + library + "'";
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return names;
  char line[1024];
  while (std::fgets(line, sizeof line, pipe) != nullptr) {
    char address[64], kind[8], name[900];
    if (std::sscanf(line, "%63s %7s %899s", address, kind, name) == 3) names.insert(name);
  }
  pclose(pipe);
  return names;
}

TEST(Exports, LibraryExportsExactlyTheThreeEntryPoints) {
  EXPECT_EQ(DefinedDynamicSymbols(VK_COMPONENT_PATH),
            (std::set<std::string>{"DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer"}));
}

// The library as a client loads it, with a registry of the test's own.
class LoadedLibrary : public RegistryFixture {
 protected:
  void SetUp() override {
    RegistryFixture::SetUp();
    library_ = dlopen(VK_COMPONENT_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library_, nullptr) << dlerror();
    get_class_ = reinterpret_cast<PFN_DllGetClassObject>(dlsym(library_, "DllGetClassObject"));
    can_unload_ = reinterpret_cast<PFN_DllCanUnloadNow>(dlsym(library_, "DllCanUnloadNow"));
    register_ = reinterpret_cast<PFN_DllRegisterServer>(dlsym(library_, "DllRegisterServer"));
  }
  void* library_ = nullptr;
  PFN_DllGetClassObject get_class_ = nullptr;
  PFN_DllCanUnloadNow can_unload_ = nullptr;
  PFN_DllRegisterServer register_ = nullptr;
};

TEST_F(LoadedLibrary, EntryPointsCreateFreshObjectsAndTrackLiveOnes) {
  EXPECT_EQ(can_unload_(), S_OK);
  void* none = reinterpret_cast<void*>(0x1);
  EXPECT_EQ(get_class_(IID_IUnknown, IID_IClassFactory, &none), CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(none, nullptr);

  IClassFactory* factory = nullptr;
  ASSERT_EQ(get_class_(CLSID_StoreModule, IID_IClassFactory, reinterpret_cast<void**>(&factory)),
            S_OK);
  IUnknown* outer = reinterpret_cast<IUnknown*>(factory);
  void* refused = nullptr;
  EXPECT_EQ(factory->CreateInstance(outer, IID_IUnknown, &refused), CLASS_E_NOAGGREGATION);
  IClientModule *first = nullptr, *second = nullptr;
  ASSERT_EQ(factory->CreateInstance(nullptr, IID_IClientModule, reinterpret_cast<void**>(&first)),
            S_OK);
  ASSERT_EQ(factory->CreateInstance(nullptr, IID_IClientModule, reinterpret_cast<void**>(&second)),
            S_OK);
  EXPECT_NE(first, second);
  factory->Release();
  EXPECT_EQ(can_unload_(), S_FALSE);
  first->Release();
  EXPECT_EQ(can_unload_(), S_FALSE);
  second->Release();
  EXPECT_EQ(can_unload_(), S_OK);
}

TEST_F(LoadedLibrary, RegistrationMapsEveryProgIdAndReportsSuccessEvenWhenItCannotWrite) {
  EXPECT_EQ(register_(), S_OK);
  CLSID clsid;
  EXPECT_EQ(CLSIDFromProgID(u"Vaultkit.StoreModule", &clsid), S_OK);
  EXPECT_TRUE(IsEqualGUID(&clsid, &CLSID_StoreModule));
  const std::pair<const char16_t*, const CLSID*> stores[] = {
      {u"IOptionStore", &CLSID_OptionStore},
      {u"IWEZItemStore", &CLSID_WEZItemStore},
      {u"IMobileProfileStore", &CLSID_MobileProfileStore},
  };
  for (const auto& [prog_id, expected] : stores) {
    EXPECT_EQ(CLSIDFromProgID(prog_id, &clsid), S_OK);
    EXPECT_TRUE(IsEqualGUID(&clsid, expected));
  }
  IClientModule* module = nullptr;
  EXPECT_EQ(CoCreateInstance(CLSID_StoreModule, nullptr, CLSCTX_INPROC_SERVER, IID_IClientModule,
                             reinterpret_cast<void**>(&module)),
            S_OK);
  if (module != nullptr) module->Release();

  setenv("VAULTKIT_REGISTRY", "/proc/no-such-folder/registry", 1);
  EXPECT_EQ(register_(), S_OK);
}

}  // namespace
