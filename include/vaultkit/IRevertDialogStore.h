/* The dialogs waiting for a reply and five switches about replying. Every operation loads
 * the file and saves it at once when it changed something, so two stores on one file see
 * each other's changes. Flags are 16-bit integers (1 or 0); a dialog key matches its
 * SessionID, else its Receiver, regardless of case; a lookup takes the first match.
 *
 * Failures are told by S_FALSE only: when the file cannot be read or has no Dialogroot
 * element, or (for the dialog operations) no im element under it, an operation answers
 * S_FALSE at once, saves nothing and may leave its out-arguments unwritten: initialise
 * them. A failed save is not reported: the operation still answers S_OK. Strings handed
 * out are new system strings that the caller frees with SysFreeString. */
#ifndef VAULTKIT_IREVERTDIALOGSTORE_H
#define VAULTKIT_IREVERTDIALOGSTORE_H

#include "vaultkit/client.h"
#include "vaultkit/identifiers.h"
#include "vaultkit/records.h"
#include "vaultkit/vkcom.h"

VK_INTERFACE_(IRevertDialogStore, IUnknown)
VK_BEGIN
VK_IUNKNOWN_METHODS(IRevertDialogStore)
/* Takes the file at `path` (the store keeps its own copy; the caller still frees `path`).
 * `client` is queried for IClientRoot, whose Account names the account folder. When that
 * folder has no RevertDialog.xml, or the file does not parse or holds a switch value it
 * does not know, the file is replaced by a new one (its dialogs are lost). Then sets
 * OfflineToOnline to 0 and records the start time. Always S_OK. */
VK_METHOD(Initialize)(VK_THIS_ BSTR path, IUnknown* client) VK_PURE;
/* 1 with S_OK when IsNeedtoRevert is "0", else 0 with S_FALSE: the inverse of the stored
 * switch, kept as clients know it. */
VK_METHOD(GetIsNeedtoRevert)(VK_THIS_ int16_t* flag) VK_PURE;
/* 1 with S_OK when RevertDialog.xml exists in the account folder, else 0 with S_FALSE. */
VK_METHOD(RevertFileExists)(VK_THIS_ int16_t* flag) VK_PURE;
/* 1 with S_OK when Revertalready is "1", else 0 with S_FALSE. */
VK_METHOD(GetRevertalready)(VK_THIS_ int16_t* flag) VK_PURE;
/* 1 with S_OK when a dialog is waiting, else 0 with S_FALSE. */
VK_METHOD(HasDialogs)(VK_THIS_ int16_t* flag) VK_PURE;
/* 1 with S_OK when a dialog matches `key`, else 0 with S_FALSE. */
VK_METHOD(FindDialog)(VK_THIS_ LPCOLESTR key, int16_t* found) VK_PURE;
/* Appends a dialog with the texts as given; the same session may be added twice. S_OK. */
VK_METHOD(AddDialog)
(VK_THIS_ LPCOLESTR session_id, LPCOLESTR parameter, LPCOLESTR mode, LPCOLESTR time) VK_PURE;
/* As AddDialog, with a Receiver. S_OK. */
VK_METHOD(AddDialogWithReceiver)
(VK_THIS_ LPCOLESTR session_id, LPCOLESTR parameter, LPCOLESTR mode, LPCOLESTR time,
 LPCOLESTR receiver) VK_PURE;
/* Removes the first dialog matching `key`. S_OK; S_FALSE when none matches. */
VK_METHOD(RemoveDialog)(VK_THIS_ LPCOLESTR key) VK_PURE;
/* Sets IsNeedtoRevert to "1". S_OK. */
VK_METHOD(SetNeedtoRevert)(VK_THIS) VK_PURE;
/* Sets IsNeedtoRevert to "0". S_OK. */
VK_METHOD(ClearNeedtoRevert)(VK_THIS) VK_PURE;
/* Sets Revertalready to "1". S_OK. */
VK_METHOD(SetRevertalready)(VK_THIS) VK_PURE;
/* Sets Revertalready to "0". S_OK. */
VK_METHOD(ClearRevertalready)(VK_THIS) VK_PURE;
/* Replaces the file by a new one with no dialogs, RevertOpenConfig 1 and the other switches
 * 0. S_OK. */
VK_METHOD(ResetFile)(VK_THIS) VK_PURE;
/* Stores the number as RevertOpenConfig, unchecked. S_OK. A value other than 0, 1 or 2
 * makes the next Initialize replace the file, losing its dialogs. */
VK_METHOD(SetRevertOpenConfig)(VK_THIS_ LONG config) VK_PURE;
/* RevertOpenConfig as a number (leading digits; 0 when empty). S_OK. */
VK_METHOD(GetRevertOpenConfig)(VK_THIS_ LONG* config) VK_PURE;
/* The named attribute of the first dialog matching `key`, as a new string the caller frees
 * (empty when the dialog lacks it). S_OK; S_FALSE with nothing allocated when none matches
 * or `value` is null. */
VK_METHOD(GetDialogAttrib)(VK_THIS_ LPCOLESTR key, LPCOLESTR name, BSTR* value) VK_PURE;
/* Sets the named attribute (any name) of the first dialog matching `key`. S_OK; S_FALSE
 * when none matches. */
VK_METHOD(SetDialogAttrib)(VK_THIS_ LPCOLESTR key, LPCOLESTR name, LPCOLESTR value) VK_PURE;
/* The path given to Initialize, as a new string the caller frees. S_OK; S_FALSE for a
 * null pointer. */
VK_METHOD(GetFilePath)(VK_THIS_ BSTR* path) VK_PURE;
/* Sets RCARight: 1 when `flag` is 1, else 0. S_OK. */
VK_METHOD(SetRCARight)(VK_THIS_ int16_t flag) VK_PURE;
/* RCARight as a number. S_OK. */
VK_METHOD(GetRCARight)(VK_THIS_ LONG* value) VK_PURE;
/* The local time of Initialize as 14 digits (year to second), as a new string the caller
 * frees. S_OK; S_FALSE for a null pointer. */
VK_METHOD(GetStartTime)(VK_THIS_ BSTR* time) VK_PURE;
/* Removes every dialog. S_OK. */
VK_METHOD(RemoveAllDialogs)(VK_THIS) VK_PURE;
/* Sets OfflineToOnline: 1 when `flag` is 1, else 0. Initialize resets it to 0. S_OK. */
VK_METHOD(SetOfflineToOnline)(VK_THIS_ int16_t flag) VK_PURE;
/* OfflineToOnline as a number. S_OK. */
VK_METHOD(GetOfflineToOnline)(VK_THIS_ LONG* value) VK_PURE;
/* Adds the number of dialogs to *count, which the caller initialises. S_OK, also when the
 * file cannot be read (nothing added). */
VK_METHOD(GetDialogCount)(VK_THIS_ LONG* count) VK_PURE;
/* Fills one record per dialog, in order, at most `count`. Records are not cleared first and
 * the last unit of each field is never written: pass zeroed records. S_OK, also when the
 * file cannot be read (nothing written); S_FALSE for a count of 0. */
VK_METHOD(GetDialogs)(VK_THIS_ RevertDialogInfo* dialogs, LONG count) VK_PURE;
VK_END

#ifdef __cplusplus
VK_INTERFACE_ID(IRevertDialogStore, IID_IRevertDialogStore)
#endif

#endif
