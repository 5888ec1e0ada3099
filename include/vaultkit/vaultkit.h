/* Everything a client of the component needs: the runtime, the identifiers, the client-side
 * interfaces, the fixed records and every store interface. */
#ifndef VAULTKIT_VAULTKIT_H
#define VAULTKIT_VAULTKIT_H

#include "vaultkit/IDeptLeader.h"
#include "vaultkit/IKeyDepts.h"
#include "vaultkit/ILocalOffMsgStore.h"
#include "vaultkit/IMobileProfileStore.h"
#include "vaultkit/IOptionStore.h"
#include "vaultkit/IPortalStore.h"
#include "vaultkit/IRevertDialogStore.h"
#include "vaultkit/IUserGrid.h"
#include "vaultkit/IUserList.h"
#include "vaultkit/IWEZGroupStore.h"
#include "vaultkit/IWEZItemStore.h"
#include "vaultkit/IWEZProfileProStore.h"
#include "vaultkit/IWEZProfileStore.h"
#include "vaultkit/client.h"
#include "vaultkit/identifiers.h"
#include "vaultkit/records.h"
#include "vaultkit/vkcom.h"

#endif
