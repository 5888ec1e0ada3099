/* The client kit: what every client of the component needs on its own side, ready made. The
 * component asks its client for a site, a root object and a message pump (client.h says what
 * it relies on); this library, libvaultkit-client.so, provides the first two and loads the
 * module, so that a program in C reaches a store in a few lines:
 *
 *   IClientRoot* root = NULL;
 *   IClientModule* module = NULL;
 *   VkCreateClientRoot(u"alice", VK_LANGUAGE_ENGLISH, u"/tmp/vk/", &root);
 *   VkLoadModule(component_path, root, &module);      // registers, creates, OnLoad
 *   module->lpVtbl->OnAccountChange(module);
 *   ... QueryInterface(IID_IWEZStore), Get...Store, calls ...
 *   VkPumpMessages();                                  // now and then: the 60-second flush
 *   module->lpVtbl->OnUnload(module); release module and root
 *
 * The kit's root keeps the account, the language and the data folder the client reports,
 * creates the data objects the offline message store fills, and is the source of the root
 * events (IConnectionPointContainer with the IClientRootEvents point), which the client
 * fires through the functions below. Link with -lvaultkit-client -lvkcom. Every function
 * answers a status: E_INVALIDARG for a null argument or a root this kit did not create. */
#ifndef VAULTKIT_CLIENT_KIT_H
#define VAULTKIT_CLIENT_KIT_H

#include "vaultkit/client.h"
#include "vaultkit/vkcom.h"

VK_EXTERN_C_BEGIN

/* A new root object with one reference for the caller. `data_folder` is the client's data
 * folder as the offline message store reads it; it should end with '/'. NULL texts read as
 * empty. S_OK, or E_INVALIDARG for a null `root`. */
VKAPI HRESULT VkCreateClientRoot(const OLECHAR* account, LONG language, const OLECHAR* data_folder,
                                 IClientRoot** root);
/* Changes what the root reports; the module reads the account at its OnAccountChange. */
VKAPI HRESULT VkSetClientAccount(IClientRoot* root, const OLECHAR* account);
VKAPI HRESULT VkSetClientLanguage(IClientRoot* root, LONG language);
/* A new site leading to `root`, with one reference for the caller. */
VKAPI HRESULT VkCreateModuleSite(IClientRoot* root, IModuleSite** site);

/* Registers the component at `component_path` (its DllRegisterServer) unless the path is
 * NULL, which uses the registration already in the registry; creates the module by its
 * ProgID VK_PROGID_STORE_MODULE and calls OnLoad with a new site of `root`. On success the
 * module is in *module with one reference for the caller. Otherwise *module is null and the
 * status says which step failed: 0x8007007E when the library cannot be loaded, the
 * registry's or the creation's status, or OnLoad's (the thread's error information then
 * carries OnLoad's description). */
VKAPI HRESULT VkLoadModule(const char* component_path, IClientRoot* root, IClientModule** module);

/* Fires a root event to every connected sink exactly as given: `params` holds the
 * arguments in reverse order, in VARIANTs of the platform's layout. Answers the first
 * sink's failure, or S_OK. */
VKAPI HRESULT VkFireRootEvent(IClientRoot* root, DISPID event, DISPPARAMS* params);
/* The seven root events, with their arguments in call order. */
VKAPI HRESULT VkFireLoginResult(IClientRoot* root, LONG result);
VKAPI HRESULT VkFireMyPresenceChange(IClientRoot* root, LONG presence, LONG state);
VKAPI HRESULT VkFireLogoutResult(IClientRoot* root, LONG result);
VKAPI HRESULT VkFireAccountChange(IClientRoot* root);
VKAPI HRESULT VkFireModifyPassword(IClientRoot* root, LONG result);
VKAPI HRESULT VkFireMsgCountChange(IClientRoot* root, LONG count, VARIANT_BOOL flag,
                                   const OLECHAR* a, const OLECHAR* b, const OLECHAR* c);
VKAPI HRESULT VkFireExitApp(IClientRoot* root, IDispatch* object, VARIANT_BOOL* cancel);

VK_EXTERN_C_END

#endif
