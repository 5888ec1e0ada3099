/* A client in plain C: loads libvaultkit.so with dlopen, creates the module through
 * DllGetClassObject and calls it through its vtable. */
#define _XOPEN_SOURCE 700
#include <dlfcn.h>
#include <ftw.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "vaultkit/client-kit.h"
#include "vaultkit/vaultkit.h"

static int failures = 0, passes = 0;

static void check(int ok, const char* what) {
  if (ok) {
    ++passes;
  } else {
    ++failures;
    fprintf(stderr, "FAILED: %s\n", what);
  }
}

static int equals_ascii(BSTR text, const char* expected) {
  size_t n = strlen(expected);
  if (text == NULL || SysStringLen(text) != n) return 0;
  for (size_t i = 0; i < n; ++i) {
    if (text[i] != (OLECHAR)expected[i]) return 0;
  }
  return 1;
}

static int run(const char* component);

static int remove_entry(const char* path, const struct stat* info, int flag, struct FTW* ftw) {
  (void)info;
  (void)flag;
  (void)ftw;
  return remove(path);
}

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  /* Whatever the component writes (its log) stays in a folder of this test's own. */
  char data_root[] = "/tmp/vaultkit-c-client-XXXXXX";
  if (mkdtemp(data_root) == NULL) return 1;
  setenv("VAULTKIT_DATA_ROOT", data_root, 1);
  int failed = run(argv[1]);
  nftw(data_root, remove_entry, 16, FTW_DEPTH | FTW_PHYS);
  return failed;
}

static int run(const char* component) {
  void* library = dlopen(component, RTLD_NOW | RTLD_LOCAL);
  check(library != NULL, "dlopen");
  if (library == NULL) return 1;
  PFN_DllGetClassObject get_class = (PFN_DllGetClassObject)dlsym(library, "DllGetClassObject");
  check(get_class != NULL, "DllGetClassObject found");
  if (get_class == NULL) return 1;

  IClassFactory* factory = NULL;
  check(get_class(&CLSID_StoreModule, &IID_IClassFactory, (void**)&factory) == S_OK,
        "DllGetClassObject");
  IClientModule* module = NULL;
  check(factory->lpVtbl->CreateInstance(factory, NULL, &IID_IClientModule, (void**)&module) == S_OK,
        "CreateInstance");
  factory->lpVtbl->Release(factory);

  BSTR identifier = NULL;
  check(module->lpVtbl->get_Identifier(module, &identifier) == S_OK, "get_Identifier");
  check(equals_ascii(identifier, "Norvane.WEZ.Store"), "identifier text");
  SysFreeString(identifier);
  /* The second interface's vtable, reached through QueryInterface. */
  IWEZStore* stores = NULL;
  check(module->lpVtbl->QueryInterface(module, &IID_IWEZStore, (void**)&stores) == S_OK,
        "QueryInterface IWEZStore");
  IWEZGroupStore* group = (IWEZGroupStore*)0x1;
  check(stores->lpVtbl->GetGroupStore(stores, &group, 7) == S_OK && group == (void*)0x1,
        "GetGroupStore kind 7 leaves the pointer");
  stores->lpVtbl->Release(stores);

  /* The client kit's root and site, and root events built as any client of the platform
   * builds them: arguments in reverse order, in VARIANTs of the platform's own layout,
   * declared here without this project's header. */
  typedef struct {
    uint16_t vt, reserved[3];
    union {
      int32_t lVal;
      int16_t boolVal;
      OLECHAR* bstrVal;
      struct {
        void* record;
        void* info;
      } brecVal;
    } u;
  } PlatformVariant;
  IClientRoot* root = NULL;
  IModuleSite* site = NULL;
  check(VkCreateClientRoot(u"carol", VK_LANGUAGE_ENGLISH, NULL, &root) == S_OK, "kit root");
  check(VkCreateModuleSite(root, &site) == S_OK, "kit site");
  check(module->lpVtbl->OnLoad(module, (IUnknown*)site) == S_OK, "OnLoad with the kit's site");
  PlatformVariant args[5];
  memset(args, 0, sizeof args);
  BSTR texts[3] = {SysAllocString(u"c"), SysAllocString(u"b"), SysAllocString(u"a")};
  for (int i = 0; i < 3; ++i) {
    args[i].vt = VT_BSTR;
    args[i].u.bstrVal = texts[i];
  }
  args[3].vt = VT_BOOL;
  args[3].u.boolVal = VARIANT_TRUE;
  args[4].vt = VT_I4;
  args[4].u.lVal = 3;
  DISPPARAMS params = {(VARIANTARG*)args, NULL, 5, 0};
  check(VkFireRootEvent(root, DISPID_OnMsgCountChange, &params) == S_OK,
        "OnMsgCountChange's five arguments are read at the platform's stride");
  params.rgvarg = (VARIANTARG*)&args[3];
  args[3].vt = VT_I4;
  args[3].u.lVal = 0;
  params.cArgs = 2;
  check(VkFireRootEvent(root, DISPID_OnMyPresenceChange, &params) == S_OK,
        "OnMyPresenceChange's two arguments are read at the platform's stride");
  check(VkFireMsgCountChange(root, 1, VARIANT_FALSE, u"x", u"y", u"z") == S_OK,
        "the kit fires the event itself");
  check(VkFireRootEvent((IClientRoot*)stores, DISPID_OnAccountChange, &params) == E_INVALIDARG,
        "the kit refuses a root it did not create");
  for (int i = 0; i < 3; ++i) SysFreeString(texts[i]);
  check(module->lpVtbl->OnUnload(module) == S_OK, "OnUnload");
  site->lpVtbl->Release(site);
  root->lpVtbl->Release(root);

  check(module->lpVtbl->Release(module) == 0, "last release");
  printf("%d passed, %d failed\n", passes, failures);
  return failures == 0 ? 0 : 1;
}
