// Read access to the offline messages saved for the current account: two channels (0 instant
// messages, 2 discussion groups), each an index file and a data file of compressed bodies
// under the account's "OffMsgFiles". The client opens it (Init, then OpenAccount after every
// account change); every operation reads or rewrites the files anew, except that what was
// read from an index is kept while the file stays the same. Trace lines go to the debug
// output.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "messages/OffMsgIndexCache.h"
#include "runtime/ComObject.h"
#include "runtime/ComPtr.h"
#include "vaultkit/ILocalOffMsgStore.h"

namespace vk {
class OffMsgConversations;
class OffMsgIndex;
}  // namespace vk

class CLocalOffMsgStore : public vk::ComObject<ILocalOffMsgStore> {
 public:
  ~CLocalOffMsgStore() override;

  HRESULT Init(IUnknown* site) override;
  HRESULT OpenAccount() override;
  HRESULT GetTotalCount(LONG* count) override;
  HRESULT GetIndexes(VARIANT* list) override;
  HRESULT GetOffMsgByID(LPCOLESTR id, VARIANT* list) override;
  HRESULT GetFileLastWriteTime(LPCOLESTR index_path, BSTR* time) override;
  HRESULT SetFileLastWriteTime(LONG channel, LPCOLESTR time) override;
  HRESULT ClearChannel(LONG channel) override;
  HRESULT DeleteOffMsgIndexByID(LPCOLESTR id) override;
  HRESULT ClearEmptyChannels() override;
  HRESULT GetLatest(LONG* im_time, LONG* im_addr, LONG* discussion_time,
                    LONG* discussion_addr) override;
  HRESULT CheckFiles(LONG* consistent) override;

 private:
  struct Channel {
    std::u16string folder, index, data;
  };
  // Null for a channel number other than 0 and 2.
  const Channel* FindChannel(LONG channel) const;

  // DataSum of an index read to its end; none when it is missing or cannot be read.
  std::optional<LONG> ReadSum(const std::u16string& index) const;
  // ReadSum, or -1.
  LONG GetSumFromXML(const std::u16string& index) const;
  // The same for the count the client shows, which needs the root and the file's end alone.
  LONG GetCountFromXML(const std::u16string& index) const;
  // Writes the index as `save` makes it with DataSum set to the sum: 0 when written, else -1.
  LONG SetSumToXML(const std::u16string& index, LONG sum,
                   const std::function<std::optional<std::string>(LONG)>& save) const;
  HRESULT GetIndexesFromXML(const std::u16string& index, vk::OffMsgConversations& into) const;
  HRESULT GetOffMsgFromChannel(const Channel& channel, std::u16string_view id,
                               IDataList* list) const;
  // The body at addr/len of the data file: 0, or -1 (file) or -2 (buffer) after a trace line.
  int GetOneOffMsg(const std::u16string& data, LONG addr, LONG len, std::string& body) const;
  HRESULT DeleteFromIndex(const std::u16string& index, std::u16string_view id) const;
  void LatestOf(const std::u16string& index, LONG* time, LONG* addr) const;
  // Clears the channel when its index is missing or reads with a DataSum of 0 or less.
  void ClearIfEmpty(const Channel& channel, LONG number);

  vk::ComPtr<IClientRoot> root_;
  vk::ComPtr<IModuleSite> site_;
  std::u16string account_;
  std::u16string data_root_;
  Channel im_;
  Channel discussion_;
  mutable vk::OffMsgIndexCache indexes_;  // what the reading operations took from the indexes
};
