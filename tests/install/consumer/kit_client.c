/* The README's client: loads the component through the client kit, changes to an account,
 * keeps a grid value and reads it back. Usage: kit_client LIBVAULTKIT DATA_ROOT */
#include <stdio.h>

#include "vaultkit/client-kit.h"
#include "vaultkit/vaultkit.h"

int main(int argc, char** argv) {
  IClientRoot* root = NULL;
  IClientModule* module = NULL;
  IWEZStore* stores = NULL;
  IUserGrid* grid = NULL;
  LONG grid_value = 0;
  if (argc != 3 || VkSetDataRoot(argv[2]) != S_OK) return 2;
  VkCreateClientRoot(u"alice", VK_LANGUAGE_ENGLISH, NULL, &root);
  if (VkLoadModule(argv[1], root, &module) != S_OK) return 1;
  module->lpVtbl->OnAccountChange(module);
  module->lpVtbl->QueryInterface(module, &IID_IWEZStore, (void**)&stores);
  if (stores->lpVtbl->GetUserGrid(stores, &grid) == S_OK) {
    grid->lpVtbl->SetGrid(grid, u"bob", 42);
    grid->lpVtbl->GetGrid(grid, u"bob", &grid_value);
    grid->lpVtbl->Release(grid);
  }
  printf("bob's grid value: %d\n", (int)grid_value);
  stores->lpVtbl->Release(stores);
  module->lpVtbl->OnUnload(module); /* writes the grid to Accounts/alice/UserGrid.xml */
  module->lpVtbl->Release(module);
  root->lpVtbl->Release(root);
  return 0;
}
