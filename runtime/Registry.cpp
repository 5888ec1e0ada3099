// The registry's exported functions: where the registry lives, registration, ProgID lookup
// and creation of registered classes by loading the library that serves them.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "runtime/RegistryFile.h"

namespace {

// The client's platform reports a library that cannot be loaded as "module not found" and
// one without the class-object entry as an error in the library.
constexpr HRESULT kModuleNotFound = static_cast<HRESULT>(0x8007007E);
constexpr HRESULT kErrorInLibrary = static_cast<HRESULT>(0x800401F9);

using GetClassObjectProc = HRESULT (*)(REFCLSID clsid, REFIID riid, void** object);

// The registry keeps ProgIDs in UTF-8; an unpaired surrogate makes no ProgID.
bool ToUtf8(LPCOLESTR text, std::string* out) {
  for (size_t i = 0; text[i] != 0; ++i) {
    uint32_t c = text[i];
    if (c >= 0xD800 && c <= 0xDBFF) {
      uint32_t low = text[i + 1];
      if (low < 0xDC00 || low > 0xDFFF) return false;
      c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
      ++i;
    } else if (c >= 0xDC00 && c <= 0xDFFF) {
      return false;
    }
    if (c < 0x80) {
      *out += static_cast<char>(c);
    } else if (c < 0x800) {
      *out += static_cast<char>(0xC0 | (c >> 6));
      *out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      *out += static_cast<char>(0xE0 | (c >> 12));
      *out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      *out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
      *out += static_cast<char>(0xF0 | (c >> 18));
      *out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
      *out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      *out += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return true;
}

// Loading problems go to the debug channel's default destination; the caller only sees
// the status code.
void ReportLoadFailure(const std::string& library, const char* reason) {
  if (std::getenv("VAULTKIT_DEBUG") == nullptr) return;
  std::fprintf(stderr, "vkcom: cannot use %s: %s\n", library.c_str(),
               reason != nullptr ? reason : "unknown error");
}

}  // namespace

HRESULT VkRegistryPath(char* out, size_t size) {
  if (out == nullptr) return E_POINTER;
  std::string path = vk::RegistryFile::Locate();
  if (path.empty()) return E_FAIL;
  if (path.size() + 1 > size) return E_INVALIDARG;
  std::memcpy(out, path.c_str(), path.size() + 1);
  return S_OK;
}

HRESULT VkRegisterClass(REFCLSID clsid, const char* prog_id, const char* library_path) {
  if (library_path == nullptr) return E_INVALIDARG;
  std::string path = vk::RegistryFile::Locate();
  if (path.empty()) return E_FAIL;
  return vk::RegistryFile(path).Register(clsid, prog_id != nullptr ? prog_id : "", library_path);
}

HRESULT CLSIDFromProgID(LPCOLESTR prog_id, CLSID* clsid) {
  if (prog_id == nullptr || clsid == nullptr) return E_INVALIDARG;
  std::string name;
  if (!ToUtf8(prog_id, &name) || !vk::RegistryFile::IsValidProgId(name)) return CO_E_CLASSSTRING;
  std::optional<CLSID> found = vk::RegistryFile(vk::RegistryFile::Locate()).FindProgId(name);
  if (!found) return CO_E_CLASSSTRING;
  *clsid = *found;
  return S_OK;
}

// Libraries stay loaded for the life of the process: objects they made may outlive any
// bookkeeping here, so the handle from each load is never closed.
HRESULT CoGetClassObject(REFCLSID clsid, DWORD context, void* /*reserved*/, REFIID riid,
                         void** object) {
  if (object == nullptr) return E_INVALIDARG;
  *object = nullptr;
  // Only in-process servers exist here.
  if ((context & CLSCTX_INPROC_SERVER) == 0) return REGDB_E_CLASSNOTREG;
  std::optional<std::string> library =
      vk::RegistryFile(vk::RegistryFile::Locate()).FindLibrary(clsid);
  if (!library) return REGDB_E_CLASSNOTREG;
  void* handle = dlopen(library->c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    ReportLoadFailure(*library, dlerror());
    return kModuleNotFound;
  }
  auto entry = reinterpret_cast<GetClassObjectProc>(dlsym(handle, "DllGetClassObject"));
  if (entry == nullptr) {
    ReportLoadFailure(*library, "no DllGetClassObject");
    return kErrorInLibrary;
  }
  return entry(clsid, riid, object);
}

HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID riid,
                         void** object) {
  if (object == nullptr) return E_INVALIDARG;
  *object = nullptr;
  IClassFactory* factory = nullptr;
  HRESULT hr = CoGetClassObject(clsid, context, nullptr, IID_IClassFactory,
                                reinterpret_cast<void**>(&factory));
  if (FAILED(hr)) return hr;
  if (factory == nullptr) return E_UNEXPECTED;
  hr = factory->CreateInstance(outer, riid, object);
  factory->Release();
  return hr;
}
