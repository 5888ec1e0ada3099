/* The dialogs waiting for a reply and five switches about replying. Every operation loads
 * the file and saves it at once when it changed something. Flags are 16-bit integers (1 or
 * 0); a dialog key matches its SessionID, else its Receiver, regardless of case. */
#ifndef VAULTKIT_IREVERTDIALOGSTORE_H
#define VAULTKIT_IREVERTDIALOGSTORE_H

#include "vaultkit/client.h"
#include "vaultkit/identifiers.h"
#include "vaultkit/records.h"
#include "vaultkit/vkcom.h"

VK_INTERFACE_(IRevertDialogStore, IUnknown)
VK_BEGIN VK_IUNKNOWN_METHODS(IRevertDialogStore)
    /* `client` is queried for IClientRoot, whose Account names the account folder. */
    VK_METHOD(Initialize)(VK_THIS_ BSTR path, IUnknown* client) VK_PURE;
/* 1 with S_OK when IsNeedtoRevert is "0" (the inverse of the stored text). */
VK_METHOD(GetIsNeedtoRevert)(VK_THIS_ int16_t* flag) VK_PURE;
/* 1 with S_OK when the file exists in the account folder. */
VK_METHOD(RevertFileExists)(VK_THIS_ int16_t* flag) VK_PURE;
VK_METHOD(GetRevertalready)(VK_THIS_ int16_t* flag) VK_PURE;
VK_METHOD(HasDialogs)(VK_THIS_ int16_t* flag) VK_PURE;
VK_METHOD(FindDialog)(VK_THIS_ LPCOLESTR key, int16_t* found) VK_PURE;
VK_METHOD(AddDialog)
(VK_THIS_ LPCOLESTR session_id, LPCOLESTR parameter, LPCOLESTR mode, LPCOLESTR time) VK_PURE;
VK_METHOD(AddDialogWithReceiver)
(VK_THIS_ LPCOLESTR session_id, LPCOLESTR parameter, LPCOLESTR mode, LPCOLESTR time,
 LPCOLESTR receiver) VK_PURE;
/* Removes the first dialog matching `key`. */
VK_METHOD(RemoveDialog)(VK_THIS_ LPCOLESTR key) VK_PURE;
VK_METHOD(SetNeedtoRevert)(VK_THIS) VK_PURE;
VK_METHOD(ClearNeedtoRevert)(VK_THIS) VK_PURE;
VK_METHOD(SetRevertalready)(VK_THIS) VK_PURE;
VK_METHOD(ClearRevertalready)(VK_THIS) VK_PURE;
/* Replaces the file by a new one with no dialogs and the initial switches. */
VK_METHOD(ResetFile)(VK_THIS) VK_PURE;
VK_METHOD(SetRevertOpenConfig)(VK_THIS_ LONG config) VK_PURE;
VK_METHOD(GetRevertOpenConfig)(VK_THIS_ LONG* config) VK_PURE;
/* The named attribute of the first dialog matching `key`. */
VK_METHOD(GetDialogAttrib)(VK_THIS_ LPCOLESTR key, LPCOLESTR name, BSTR* value) VK_PURE;
VK_METHOD(SetDialogAttrib)(VK_THIS_ LPCOLESTR key, LPCOLESTR name, LPCOLESTR value) VK_PURE;
VK_METHOD(GetFilePath)(VK_THIS_ BSTR* path) VK_PURE;
VK_METHOD(SetRCARight)(VK_THIS_ int16_t flag) VK_PURE;
VK_METHOD(GetRCARight)(VK_THIS_ LONG* value) VK_PURE;
/* Local time of Initialize as "%Y%m%d%H%M%S". */
VK_METHOD(GetStartTime)(VK_THIS_ BSTR* time) VK_PURE;
VK_METHOD(RemoveAllDialogs)(VK_THIS) VK_PURE;
VK_METHOD(SetOfflineToOnline)(VK_THIS_ int16_t flag) VK_PURE;
VK_METHOD(GetOfflineToOnline)(VK_THIS_ LONG* value) VK_PURE;
/* Adds the number of dialogs to `count`, which the caller initialises. */
VK_METHOD(GetDialogCount)(VK_THIS_ LONG* count) VK_PURE;
/* Fills at most `count` records; the caller zeroes them. */
VK_METHOD(GetDialogs)(VK_THIS_ RevertDialogInfo* dialogs, LONG count) VK_PURE;
VK_END

#ifdef __cplusplus
VK_INTERFACE_ID(IRevertDialogStore, IID_IRevertDialogStore)
#endif

#endif
