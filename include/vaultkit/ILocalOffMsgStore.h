/* Read access to the offline messages saved for the current account, in two channels:
 * instant messages (0) and discussion groups (2), each an index file and a data file in its
 * own folder. Opened by the client, not by the module: Init, then OpenAccount after every
 * account change. Files are read on every call; nothing stays open. A missing index file is
 * an empty channel. The store never appends messages.
 *
 * Lists are the client's data objects (IDataList of IDataItem, made by the client root),
 * handed out in a VT_DISPATCH variant that the caller clears with VariantClear. Strings
 * handed out are new system strings that the caller frees with SysFreeString. Errors raised
 * by client objects are caught and answer E_FAIL. */
#ifndef VAULTKIT_ILOCALOFFMSGSTORE_H
#define VAULTKIT_ILOCALOFFMSGSTORE_H

#include "vaultkit/client.h"
#include "vaultkit/identifiers.h"
#include "vaultkit/vkcom.h"

#define VK_OFFMSG_CHANNEL_IM 0
#define VK_OFFMSG_CHANNEL_DISCUSSION 2

VK_INTERFACE_(ILocalOffMsgStore, IUnknown)
VK_BEGIN
VK_IUNKNOWN_METHODS(ILocalOffMsgStore)
/* Keeps the site's IModuleSite and its root object, each with a reference of its own.
 * S_OK; E_INVALIDARG for a null site; E_FAIL when the client raises an error. */
VK_METHOD(Init)(VK_THIS_ IUnknown* site) VK_PURE;
/* Takes the root's data folder and current account and creates the channel folders
 * (Accounts/<account>/OffMsgFiles/IM and .../DisGroup under the data folder) with every
 * missing level; no file is made or read. S_OK; E_FAIL before Init, when the data folder
 * is empty or a folder cannot be created. */
VK_METHOD(OpenAccount)(VK_THIS) VK_PURE;
/* The number of messages the two indexes declare (DataSum), a channel without a readable
 * index counting for nothing; -1 when neither has one. Always S_OK. */
VK_METHOD(GetTotalCount)(VK_THIS_ LONG* count) VK_PURE;
/* A list with one item per conversation (MsgID, regardless of case), instant messages
 * first, a conversation moving to the end at each further record: text attributes MsgID,
 * SessionDesc, Actor (the receivers), Title, Type; integer attributes CreateTime (of its
 * first record) and Count. S_OK. A damaged instant-message index answers E_FAIL with *list
 * untouched; a damaged discussion index answers E_FAIL with the list of the instant
 * messages in *list: initialise it with VariantInit and clear it whatever the status. */
VK_METHOD(GetIndexes)(VK_THIS_ VARIANT* list) VK_PURE;
/* A list holding the first message of that identifier (regardless of case) found in each
 * channel whose body can be read: text attributes Xml (the message), Identifier, Type,
 * Sender, Recievers; integer attribute CreateTime. S_OK, also when nothing is found (an
 * empty list). E_FAIL with *list untouched when the instant-message index is damaged. */
VK_METHOD(GetOffMsgByID)(VK_THIS_ LPCOLESTR id, VARIANT* list) VK_PURE;
/* The FileLastWriteTime text kept in the index file at `index_path`, as a new string the
 * caller frees; empty when there is none. Always S_OK. */
VK_METHOD(GetFileLastWriteTime)(VK_THIS_ LPCOLESTR index_path, BSTR* time) VK_PURE;
/* Stores the FileLastWriteTime text in the channel's index file. S_OK when the file was
 * written; E_FAIL for an unknown channel or when the index cannot be read or written. */
VK_METHOD(SetFileLastWriteTime)(VK_THIS_ LONG channel, LPCOLESTR time) VK_PURE;
/* Deletes every file in the channel's folder except folders, hidden and system files;
 * failures are ignored. S_OK, also for an unknown channel (nothing deleted). */
VK_METHOD(ClearChannel)(VK_THIS_ LONG channel) VK_PURE;
/* Removes every index record of that identifier (regardless of case) from the instant
 * message index and, only when that succeeded, from the discussion index, lowering
 * DataSum; message bodies stay in the data files. S_OK (also for a missing index, and for a
 * damaged one, which is left unchanged); -1 (a failure code) when an index could be changed
 * but its DataSum not written back. */
VK_METHOD(DeleteOffMsgIndexByID)(VK_THIS_ LPCOLESTR id) VK_PURE;
/* Clears (as ClearChannel) each channel whose index declares no message or cannot be
 * read. S_OK. */
VK_METHOD(ClearEmptyChannels)(VK_THIS) VK_PURE;
/* Per channel, the largest CreateTime among its records and the Addr (data file offset) of
 * that record, the later record winning a tie; 0 and 0 for an empty channel. S_OK. */
VK_METHOD(GetLatest)
(VK_THIS_ LONG* im_time, LONG* im_addr, LONG* discussion_time, LONG* discussion_addr) VK_PURE;
/* Clears each channel that has only one of its two files. *consistent is 1 when both
 * channels were whole, else 0. S_OK. */
VK_METHOD(CheckFiles)(VK_THIS_ LONG* consistent) VK_PURE;
VK_END

#ifdef __cplusplus
VK_INTERFACE_ID(ILocalOffMsgStore, IID_ILocalOffMsgStore)
#endif

#endif
