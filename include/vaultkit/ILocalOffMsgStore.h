/* Read access to the offline messages saved for the current account, in two channels:
 * instant messages (0) and discussion groups (2). Opened by the client, not by the module:
 * Init, then OpenAccount after every account change. */
#ifndef VAULTKIT_ILOCALOFFMSGSTORE_H
#define VAULTKIT_ILOCALOFFMSGSTORE_H

#include "vaultkit/client.h"
#include "vaultkit/identifiers.h"
#include "vaultkit/vkcom.h"

#define VK_OFFMSG_CHANNEL_IM 0
#define VK_OFFMSG_CHANNEL_DISCUSSION 2

VK_INTERFACE_(ILocalOffMsgStore, IUnknown)
VK_BEGIN VK_IUNKNOWN_METHODS(ILocalOffMsgStore)
    /* `site` is queried for IModuleSite; its root object is kept. */
    VK_METHOD(Init)(VK_THIS_ IUnknown* site) VK_PURE;
/* Builds the current account's folders and file paths. */
VK_METHOD(OpenAccount)(VK_THIS) VK_PURE;
/* Messages in both channels; -1 when neither has an index. */
VK_METHOD(GetTotalCount)(VK_THIS_ LONG* count) VK_PURE;
/* A data list (VT_DISPATCH) with one item per conversation. */
VK_METHOD(GetIndexes)(VK_THIS_ VARIANT* list) VK_PURE;
/* A data list (VT_DISPATCH) holding the message of that identifier. */
VK_METHOD(GetOffMsgByID)(VK_THIS_ LPCOLESTR id, VARIANT* list) VK_PURE;
/* The FileLastWriteTime of the index file at `index_path`. */
VK_METHOD(GetFileLastWriteTime)(VK_THIS_ LPCOLESTR index_path, BSTR* time) VK_PURE;
VK_METHOD(SetFileLastWriteTime)(VK_THIS_ LONG channel, LPCOLESTR time) VK_PURE;
/* Deletes every plain file in the channel's folder. */
VK_METHOD(ClearChannel)(VK_THIS_ LONG channel) VK_PURE;
/* Removes every index record of that identifier. */
VK_METHOD(DeleteOffMsgIndexByID)(VK_THIS_ LPCOLESTR id) VK_PURE;
/* Clears the channels that hold no message. */
VK_METHOD(ClearEmptyChannels)(VK_THIS) VK_PURE;
/* Per channel, the latest CreateTime and the Addr of that record. */
VK_METHOD(GetLatest)
(VK_THIS_ LONG* im_time, LONG* im_addr, LONG* discussion_time, LONG* discussion_addr) VK_PURE;
/* Clears a channel that has only one of its two files; `consistent` 1 when none had. */
VK_METHOD(CheckFiles)(VK_THIS_ LONG* consistent) VK_PURE;
VK_END

#ifdef __cplusplus
VK_INTERFACE_ID(ILocalOffMsgStore, IID_ILocalOffMsgStore)
#endif

#endif
