#include "samples/OffMsgSamples.h"

#include "platform/Compression.h"
#include "platform/Files.h"
#include "platform/Text.h"

namespace vk::samples {
namespace {

std::u16string Escaped(std::u16string_view text) {
  std::u16string out;
  for (char16_t c : text) {
    switch (c) {
      case u'&':
        out += u"&amp;";
        break;
      case u'<':
        out += u"&lt;";
        break;
      case u'>':
        out += u"&gt;";
        break;
      case u'"':
        out += u"&quot;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::u16string Number(long long value) {
  return FromUtf8(std::to_string(value));
}

std::string Utf16Le(std::u16string_view text) {
  std::string bytes;
  bytes.reserve(text.size() * 2);
  for (char16_t c : text) {
    bytes += static_cast<char>(c & 0xFF);
    bytes += static_cast<char>(c >> 8);
  }
  return bytes;
}

}  // namespace

OffMsgChannelFiles BuildOffMsgChannel(const std::vector<OffMsgRecord>& records,
                                      std::optional<LONG> data_sum) {
  OffMsgChannelFiles files;
  std::u16string index =
      u"<?xml version=\"1.0\" encoding=\"gb2312\"?>\r\n<OffMsgIndexData DataSum=\"" +
      Number(data_sum.value_or(static_cast<LONG>(records.size()))) +
      u"\" FileLastWriteTime=\"20260101000000\">\r\n";
  for (const OffMsgRecord& r : records) {
    std::string body = Compress(Utf16Le(r.body));
    LONG addr = r.addr.value_or(static_cast<LONG>(files.data.size()));
    LONG len = r.len.value_or(static_cast<LONG>(body.size()));
    files.data += body;
    index += u"<OffMsgRec MsgID=\"" + Escaped(r.msg_id) + u"\" CreateTime=\"" +
             Number(r.create_time) + u"\" Sender=\"" + Escaped(r.sender) + u"\" Recievers=\"" +
             Escaped(r.receivers) + u"\" Type=\"" + Escaped(r.type) + u"\" Title=\"" +
             Escaped(r.title) + u"\" SessionDesc=\"" + Escaped(r.session_desc) + u"\" Addr=\"" +
             Number(addr) + u"\" Len=\"" + Number(len) + u"\"/>\r\n";
  }
  index += u"</OffMsgIndexData>\r\n";
  files.index = ToAnsi(index);
  return files;
}

std::vector<OffMsgRecord> SampleOffMsgRecords(int count, int conversations,
                                              std::u16string_view prefix) {
  std::vector<OffMsgRecord> records;
  records.reserve(static_cast<size_t>(count > 0 ? count : 0));
  for (int i = 0; i < count; ++i) {
    int conversation = conversations > 0 ? i % conversations : 0;
    std::u16string id = Concat({prefix, Number(conversation)});
    std::u16string sender = Concat({u"user", Number(conversation)});
    OffMsgRecord r;
    r.msg_id = id;
    r.create_time = 1700000000 + i;
    r.sender = sender;
    r.receivers = u"me";
    r.type.assign(1, u'1');  // (assigning the literal trips GCC 12's -Wrestrict at -O3)
    r.title = Concat({u"消息 ", Number(i)});
    r.session_desc = Concat({u"会话 ", id});
    r.body = Concat({u"<Msg From=\"", sender, u"\" Time=\"", Number(r.create_time),
                     u"\"><Text>离线消息 ", Number(i),
                     u": the quick brown fox jumps over the lazy dog.</Text></Msg>"});
    records.push_back(std::move(r));
  }
  return records;
}

std::u16string OffMsgChannelFolder(std::u16string_view data_root, std::u16string_view account,
                                   LONG channel) {
  std::u16string folder =
      Concat({data_root, u"Accounts\\", account,
              channel == 2 ? u"\\OffMsgFiles\\DisGroup\\" : u"\\OffMsgFiles\\IM\\"});
  return NormalizeSeparators(folder);
}

bool WriteOffMsgChannel(std::u16string_view data_root, std::u16string_view account, LONG channel,
                        const OffMsgChannelFiles& files) {
  std::u16string folder = OffMsgChannelFolder(data_root, account, channel);
  std::u16string base = folder + std::u16string(account);
  return CreateFolders(folder) && WriteFileAtomically(base + u".xml", files.index) &&
         WriteFileAtomically(base + u".txt", files.data);
}

}  // namespace vk::samples
