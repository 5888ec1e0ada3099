#include <dlfcn.h>

#include "RegistryFixture.h"
#include "testserver/TestServer.h"

namespace {

const CLSID kUnserved = {
    0x5B0C1E2A, 0x7D41, 0x4C3E, {0x9A, 0x51, 0x2E, 0x6F, 0x10, 0x8B, 0x44, 0x7F}};

class CreationTest : public RegistryFixture {
 protected:
  void SetUp() override {
    RegistryFixture::SetUp();
    ASSERT_EQ(VkRegisterClass(CLSID_TestCounter, "Vaultkit.TestCounter", VK_TEST_SERVER_PATH),
              S_OK);
  }

  // Objects of the test server alive now; the server is loaded by the first creation.
  static long LiveObjects() {
    void* server = dlopen(VK_TEST_SERVER_PATH, RTLD_NOW | RTLD_NOLOAD);
    if (server == nullptr) return -1;
    auto count =
        reinterpret_cast<PFN_TestServerLiveObjects>(dlsym(server, "TestServerLiveObjects"));
    long live = count != nullptr ? count() : -1;
    dlclose(server);
    return live;
  }

  static HRESULT Create(REFCLSID clsid, REFIID riid, void* object, IUnknown* outer = nullptr) {
    return CoCreateInstance(clsid, outer, CLSCTX_INPROC_SERVER, riid, static_cast<void**>(object));
  }

  static LONG Next(ITestCounter* counter) {
    LONG value = 0;
    EXPECT_EQ(counter->Next(&value), S_OK);
    return value;
  }
};

TEST_F(CreationTest, CreatesByClassIdAndByProgId) {
  ITestCounter* first = nullptr;
  ASSERT_EQ(Create(CLSID_TestCounter, IID_ITestCounter, &first), S_OK);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(LiveObjects(), 1);  // the factory is gone, only the object remains

  CLSID clsid{};
  ASSERT_EQ(CLSIDFromProgID(u"Vaultkit.TestCounter", &clsid), S_OK);
  IUnknown* unknown = nullptr;
  ASSERT_EQ(Create(clsid, IID_IUnknown, &unknown), S_OK);
  ITestCounter* second = nullptr;
  ASSERT_EQ(unknown->QueryInterface(IID_ITestCounter, reinterpret_cast<void**>(&second)), S_OK);
  unknown->Release();

  // Every creation makes a fresh object.
  EXPECT_EQ(Next(first), 1);
  EXPECT_EQ(Next(first), 2);
  EXPECT_EQ(Next(second), 1);
  EXPECT_EQ(LiveObjects(), 2);
  first->Release();
  second->Release();
  EXPECT_EQ(LiveObjects(), 0);

  IClassFactory* factory = nullptr;
  ASSERT_EQ(CoGetClassObject(CLSID_TestCounter, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory,
                             reinterpret_cast<void**>(&factory)),
            S_OK);
  ASSERT_EQ(factory->CreateInstance(nullptr, IID_ITestCounter, reinterpret_cast<void**>(&first)),
            S_OK);
  factory->Release();
  EXPECT_EQ(Next(first), 1);
  first->Release();
  EXPECT_EQ(LiveObjects(), 0);
}

TEST_F(CreationTest, FailuresAreReportedAndClearTheOutPointer) {
  int dummy = 0;
  auto attempt = [&](REFCLSID clsid, IUnknown* outer, DWORD context, REFIID riid) {
    void* object = &dummy;
    HRESULT hr = CoCreateInstance(clsid, outer, context, riid, &object);
    EXPECT_EQ(object, nullptr);
    return hr;
  };
  EXPECT_EQ(attempt(kUnserved, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown), REGDB_E_CLASSNOTREG);
  EXPECT_EQ(attempt(CLSID_TestCounter, nullptr, 0, IID_IUnknown), REGDB_E_CLASSNOTREG);
  EXPECT_EQ(attempt(CLSID_TestCounter, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch),
            E_NOINTERFACE);
  IUnknown* outer = nullptr;
  ASSERT_EQ(Create(CLSID_TestCounter, IID_IUnknown, &outer), S_OK);
  EXPECT_EQ(attempt(CLSID_TestCounter, outer, CLSCTX_INPROC_SERVER, IID_IUnknown),
            CLASS_E_NOAGGREGATION);
  outer->Release();
  EXPECT_EQ(LiveObjects(), 0);
  EXPECT_EQ(Create(CLSID_TestCounter, IID_IUnknown, nullptr), E_INVALIDARG);

  // The library does not serve the class, cannot be loaded (module not found), or has no
  // class-object entry (an error in the library).
  const std::pair<const char*, HRESULT> libraries[] = {
      {VK_TEST_SERVER_PATH, CLASS_E_CLASSNOTAVAILABLE},
      {"/nonexistent/libmissing.so", static_cast<HRESULT>(0x8007007E)},
      {VK_RUNTIME_LIBRARY_PATH, static_cast<HRESULT>(0x800401F9)}};
  for (const auto& [library, expected] : libraries) {
    SCOPED_TRACE(library);
    ASSERT_EQ(VkRegisterClass(kUnserved, nullptr, library), S_OK);
    EXPECT_EQ(attempt(kUnserved, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown), expected);
  }
}

}  // namespace
