// Offline-message channels as the client writes them, for tests, the demo and benchmarks:
// an index in the ANSI code page and a data file of zlib-compressed UTF-16LE bodies, one
// after the other, each located by its record's Addr and Len.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "vaultkit/vkcom.h"

namespace vk::samples {

struct OffMsgRecord {
  std::u16string msg_id;
  LONG create_time = 0;
  std::u16string sender, receivers, type, title, session_desc;
  std::u16string body;  // the message XML
  // Where the record points instead of its own body (to describe damaged files).
  std::optional<LONG> addr, len;
};

struct OffMsgChannelFiles {
  std::string index;  // bytes of the index file
  std::string data;   // bytes of the data file
};

// The channel's files; DataSum is the number of records unless `data_sum` is given.
OffMsgChannelFiles BuildOffMsgChannel(const std::vector<OffMsgRecord>& records,
                                      std::optional<LONG> data_sum = std::nullopt);
// `count` records in `conversations` conversations ("<prefix>0", "<prefix>1", ...), taken in
// turn, with rising creation times and bodies of a few hundred bytes.
std::vector<OffMsgRecord> SampleOffMsgRecords(int count, int conversations,
                                              std::u16string_view prefix = u"conv");
// The folder of a channel (0 or 2) of an account below a data root, ending in a separator.
std::u16string OffMsgChannelFolder(std::u16string_view data_root, std::u16string_view account,
                                   LONG channel);
// Writes both files of the channel, creating its folders; false when that fails.
bool WriteOffMsgChannel(std::u16string_view data_root, std::u16string_view account, LONG channel,
                        const OffMsgChannelFiles& files);

}  // namespace vk::samples
