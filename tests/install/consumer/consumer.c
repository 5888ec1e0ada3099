/* A client built against an installed Vaultkit: registers the component, creates the module
 * by its ProgID and prints its identifier. Built from C through pkg-config and from C++
 * through find_package(Vaultkit), by the installation test. */
#include <dlfcn.h>
#include <stdio.h>

#include "vaultkit/vaultkit.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: consumer LIBVAULTKIT\n");
    return 2;
  }
  void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (library == NULL) {
    fprintf(stderr, "consumer: %s\n", dlerror());
    return 1;
  }
  PFN_DllRegisterServer register_server =
      (PFN_DllRegisterServer)dlsym(library, "DllRegisterServer");
  if (register_server == NULL || register_server() != S_OK) return 1;

  CLSID clsid;
  IClientModule* module = NULL;
  if (CLSIDFromProgID(u"Vaultkit.StoreModule", &clsid) != S_OK) return 1;
#ifdef __cplusplus
  if (CoCreateInstance(clsid, NULL, CLSCTX_INPROC_SERVER, IID_IClientModule, (void**)&module) !=
      S_OK) {
    return 1;
  }
  BSTR identifier = NULL;
  module->get_Identifier(&identifier);
#else
  if (CoCreateInstance(&clsid, NULL, CLSCTX_INPROC_SERVER, &IID_IClientModule, (void**)&module) !=
      S_OK) {
    return 1;
  }
  BSTR identifier = NULL;
  module->lpVtbl->get_Identifier(module, &identifier);
#endif
  for (UINT i = 0; identifier != NULL && i < SysStringLen(identifier); ++i) {
    putchar((char)identifier[i]);
  }
  putchar('\n');
  SysFreeString(identifier);
#ifdef __cplusplus
  module->Release();
#else
  module->lpVtbl->Release(module);
#endif
  return 0;
}
