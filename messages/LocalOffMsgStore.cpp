#include "messages/LocalOffMsgStore.h"

#include <cerrno>
#include <vector>

#include "messages/OffMsgConversations.h"
#include "messages/OffMsgIndex.h"
#include "messages/OffMsgIndexView.h"
#include "platform/Assert.h"
#include "platform/Compression.h"
#include "platform/Files.h"
#include "platform/Log.h"
#include "platform/Text.h"
#include "storage/LeadingDigits.h"
#include "storage/OffMsgIndexScan.h"
#include "storage/XmlRecordFilter.h"

namespace {

// Decompressed bodies are UTF-16 text of fewer bytes than this.
constexpr unsigned long kBodyBuffer = 3600;
// Bytes a record claims beyond the end of the data file read as zeros. Within this many the
// decompressor always reaches its verdict (end, error or a full buffer), so a longer claim
// needs no memory of its own.
constexpr size_t kZeroTail = 65536;

const vk::OffMsgIndexScan::Visit kSkip = [](const vk::OffMsgAttributes&) {};

void Trace(const std::u16string& line) {
  OutputDebugStringW(line.c_str());
}

// A client call that fails is an error raised by the client.
void Check(HRESULT hr, const char16_t* what) {
  if (FAILED(hr)) throw vk::ComError(hr, what);
}

std::u16string_view Text(LPCOLESTR text) {
  return text != nullptr ? std::u16string_view(text) : std::u16string_view();
}

// Creates the folder and every missing level: the first missing prefix starts the creation,
// and a check that fails for another reason than absence gives up.
bool CreateAllLevels(std::u16string path) {
  if (path.empty()) return true;
  path = vk::NormalizeSeparators(path);
  if (path.back() != vk::kSep) path += vk::kSep;
  size_t first_missing = std::u16string::npos;
  for (size_t at = path.find(vk::kSep); at != std::u16string::npos;
       at = path.find(vk::kSep, at + 1)) {
    if (at == 0) continue;
    vk::PathPresence presence = vk::ProbePath(path.substr(0, at + 1));
    if (presence == vk::PathPresence::kUnknown) return false;
    if (presence == vk::PathPresence::kMissing) {
      first_missing = at;
      break;
    }
  }
  if (first_missing == std::u16string::npos) return true;
  for (size_t at = first_missing; at != std::u16string::npos; at = path.find(vk::kSep, at + 1)) {
    if (!vk::CreateFolder(path.substr(0, at))) return false;
  }
  return true;
}

}  // namespace

CLocalOffMsgStore::~CLocalOffMsgStore() {
  root_.reset();  // the root before the site that handed it out
}

HRESULT CLocalOffMsgStore::Init(IUnknown* site) {
  if (site == nullptr) return E_INVALIDARG;
  return VK_QUIET_GUARD({
    site_.reset();
    root_.reset();
    site->QueryInterface(IID_IModuleSite, reinterpret_cast<void**>(site_.Out()));
    if (site_ == nullptr) throw vk::ComError(E_NOINTERFACE, u"The site has no root object.");
    Check(site_->get_RootObject(root_.Out()), u"The site has no root object.");
    if (root_ == nullptr) throw vk::ComError(E_POINTER, u"The site has no root object.");
    return S_OK;
  });
}

HRESULT CLocalOffMsgStore::OpenAccount() {
  if (root_ == nullptr) return E_FAIL;
  return VK_QUIET_GUARD({
    BSTR folder = nullptr;
    Check(root_->get_DataFolder(&folder), u"The data folder cannot be read.");
    data_root_ = folder != nullptr ? folder : u"";
    SysFreeString(folder);
    if (data_root_.empty()) return E_FAIL;
    BSTR account = nullptr;
    Check(root_->get_Account(&account), u"The account cannot be read.");
    account_ = account != nullptr ? account : u"";
    SysFreeString(account);
    // The account names a folder below "Accounts" and the channel files in it: a name that
    // would leave it is refused before anything is created, and no earlier channel stays
    // open to be cleared.
    if (!IsPlainName(account_)) {
      im_ = discussion_ = {};
      Trace(u"CLocalOffMsgStore::OpenAccount refused the account name -- Account=" + account_ +
            u"\n");
      return E_FAIL;
    }

    std::u16string base = data_root_ + u"Accounts\\" + account_ + u"\\OffMsgFiles\\";
    std::u16string im = vk::NormalizeSeparators(base + u"IM\\");
    std::u16string discussion = vk::NormalizeSeparators(base + u"DisGroup\\");
    CreateAllLevels(im);
    CreateAllLevels(discussion);
    if (!vk::IsFolder(im) || !vk::IsFolder(discussion)) return E_FAIL;
    im_ = {im, vk::FormatWide(u"%s%s.xml", im.c_str(), account_.c_str()),
           vk::FormatWide(u"%s%s.txt", im.c_str(), account_.c_str())};
    discussion_ = {discussion, vk::FormatWide(u"%s%s.xml", discussion.c_str(), account_.c_str()),
                   vk::FormatWide(u"%s%s.txt", discussion.c_str(), account_.c_str())};
    return S_OK;
  });
}

const CLocalOffMsgStore::Channel* CLocalOffMsgStore::FindChannel(LONG channel) const {
  if (channel == VK_OFFMSG_CHANNEL_IM) return &im_;
  if (channel == VK_OFFMSG_CHANNEL_DISCUSSION) return &discussion_;
  return nullptr;
}

std::optional<LONG> CLocalOffMsgStore::ReadSum(const std::u16string& index) const {
  OutputDebugStringA("CLocalOffMsgStore::GetSumFromXML Get in\n");
  // A channel is cleared only on a sum read from an index read to its end: one cut short or
  // damaged after its root counts as none and is never cleared. So the whole file is read,
  // once while it stays the same.
  return indexes_.Sum(index);
}

LONG CLocalOffMsgStore::GetSumFromXML(const std::u16string& index) const {
  return ReadSum(index).value_or(-1);
}

LONG CLocalOffMsgStore::GetCountFromXML(const std::u16string& index) const {
  OutputDebugStringA("CLocalOffMsgStore::GetSumFromXML Get in\n");
  // The client asks for the count on every new message: it is read from the root, and a file
  // that does not end by closing its root (cut short) still counts as none.
  return indexes_.CountedSum(index).value_or(-1);
}

LONG CLocalOffMsgStore::SetSumToXML(
    const std::u16string& index, LONG sum,
    const std::function<std::optional<std::string>(LONG)>& save) const {
  OutputDebugStringA("CLocalOffMsgStore::SetSumToXML Get in\n");
  std::optional<std::string> bytes = save(sum);
  return bytes && vk::WriteFileAtomically(index, *bytes) ? 0 : -1;
}

HRESULT CLocalOffMsgStore::GetTotalCount(LONG* count) {
  if (count == nullptr) return E_INVALIDARG;
  LONG im = GetCountFromXML(im_.index);
  LONG discussion = GetCountFromXML(discussion_.index);
  *count = im < 0 ? discussion : discussion < 0 ? im : im + discussion;
  return S_OK;
}

HRESULT CLocalOffMsgStore::GetIndexesFromXML(const std::u16string& index,
                                             vk::OffMsgConversations& into) const {
  OutputDebugStringA("CLocalOffMsgStore::GetIndexesFromXML Get in\n");
  if (!IsFileExist(index)) return S_OK;
  std::shared_ptr<const vk::OffMsgIndexView> view = indexes_.View(index);
  // A file that does not read to its end adds nothing.
  if (!view->Readable()) return E_FAIL;
  into.Add(std::move(view), index == discussion_.index);
  return S_OK;
}

HRESULT CLocalOffMsgStore::GetIndexes(VARIANT* out) {
  if (out == nullptr) return E_INVALIDARG;
  if (root_ == nullptr) return E_FAIL;
  return VK_QUIET_GUARD({
    IDataList* list = nullptr;
    Check(root_->CreateDataList(&list), u"The client cannot create a list.");
    vk::OffMsgConversations conversations;
    HRESULT hr = GetIndexesFromXML(im_.index, conversations);
    if (FAILED(hr)) {
      list->Release();
      return hr;
    }
    hr = GetIndexesFromXML(discussion_.index, conversations);
    // Both passes fill one list, so a conversation found in both channels is one item. An
    // item the client cannot make or fill ends the list where it is, as the pass that would
    // have made it fails: a failing IM pass hands out nothing, a failing discussion pass the
    // list built so far.
    for (const vk::OffMsgConversations::Entry& entry : conversations.InOrder()) {
      const vk::OffMsgConversation& c = *entry.first;
      IDataItem* item = nullptr;
      HRESULT set = root_->CreateDataItem(&item);
      if (SUCCEEDED(set) && item == nullptr) set = E_POINTER;
      if (SUCCEEDED(set)) set = item->SetIntAttr(u"Count", entry.count);
      if (SUCCEEDED(set)) set = item->SetIntAttr(u"CreateTime", c.create_time);
      if (SUCCEEDED(set)) set = item->SetTextAttr(u"SessionDesc", c.session_desc.c_str());
      if (SUCCEEDED(set)) set = item->SetTextAttr(u"Actor", c.actor.c_str());
      if (SUCCEEDED(set)) set = item->SetTextAttr(u"Title", c.title.c_str());
      if (SUCCEEDED(set)) set = item->SetTextAttr(u"Type", c.type.c_str());
      if (SUCCEEDED(set)) set = item->SetTextAttr(u"MsgID", c.msg_id.c_str());
      if (SUCCEEDED(set)) set = list->Append(item);
      if (item != nullptr) item->Release();
      if (FAILED(set)) {
        const std::u16string& file = entry.discussion ? discussion_.index : im_.index;
        Trace(vk::FormatWide(
            u"CLocalOffMsgStore::GetIndexesFromXML Processing Elements error -- FileName=%s \n",
            file.c_str()));
        if (!entry.discussion) {
          list->Release();
          return E_FAIL;
        }
        hr = E_FAIL;
        break;
      }
    }
    out->vt = VT_DISPATCH;
    out->u.pdispVal = list;
    return hr;
  });
}

int CLocalOffMsgStore::GetOneOffMsg(const std::u16string& data, LONG addr, LONG len,
                                    std::string& body) const {
  if (!vk::ReadFileRange(data, 0, 0)) {
    Trace(vk::FormatWide(
        u"CLocalOffMsgStore::GetOneOffMsg infile.rdstate() Error -- FileName=%s ErrorID=%d\n",
        data.c_str(), errno));
    return -1;
  }
  if (len < 0) {
    Trace(vk::FormatWide(
        u"CLocalOffMsgStore::GetOneOffMsg New Array Error -- FileName=%s ErrorID=%d\n",
        data.c_str(), ENOMEM));
    return -2;
  }
  // Bytes outside the file read as zeros, as the buffer was zeroed before the read.
  body = vk::ReadFileRange(data, addr, static_cast<size_t>(len)).value_or(std::string());
  body.resize(std::min(static_cast<size_t>(len), body.size() + kZeroTail), '\0');
  return 0;
}

HRESULT CLocalOffMsgStore::GetOffMsgFromChannel(const Channel& channel, std::u16string_view id,
                                                IDataList* list) const {
  OutputDebugStringA("CLocalOffMsgStore::GetOffMsgByID Get in\n");
  if (!IsFileExist(channel.index)) return S_OK;
  std::shared_ptr<const vk::OffMsgIndexView> view = indexes_.View(channel.index);
  if (!view->Readable()) return E_FAIL;
  const char16_t* data = channel.data.c_str();
  try {
    // The first match whose body reads and decompresses is the message.
    for (const vk::OffMsgBody& match : view->BodiesOf(id)) {
      std::string body;
      if (GetOneOffMsg(channel.data, match.addr, match.len, body) != 0) {
        Trace(vk::FormatWide(
            u"CLocalOffMsgStore::GetOffMsgByID GetOneOffMsg Error -- FileName=%s \n", data));
        continue;
      }
      std::vector<unsigned char> buffer(kBodyBuffer, 0);
      unsigned long length = kBodyBuffer;
      if (vk::UnCompress(buffer.data(), &length,
                         reinterpret_cast<const unsigned char*>(body.data()),
                         static_cast<unsigned long>(body.size())) != 0) {
        Trace(vk::FormatWide(u"CLocalOffMsgStore::GetOffMsgByID UnCompress Error -- FileName=%s \n",
                             data));
        continue;
      }
      if (length == 0 || length >= kBodyBuffer) {
        Trace(vk::FormatWide(u"CLocalOffMsgStore::GetOffMsgByID ulDestLen Error -- FileName=%s \n",
                             data));
        continue;
      }
      // UTF-16LE text up to its first zero unit; the zeroed rest of the buffer ends it, and
      // an odd last byte is the low half of a final unit.
      std::u16string xml;
      for (size_t at = 0; at + 1 < kBodyBuffer; at += 2) {
        auto unit = static_cast<char16_t>(buffer[at] | (buffer[at + 1] << 8));
        if (unit == 0) break;
        xml += unit;
      }
      Trace(vk::FormatWide(u"CLocalOffMsgStore::GetOffMsgByID XML Content:%s\n", xml.c_str()));

      IDataItem* item = nullptr;
      Check(root_->CreateDataItem(&item), u"The client cannot create an item.");
      std::u16string id_text(id);
      HRESULT hr = item->SetTextAttr(u"Xml", xml.c_str());
      if (SUCCEEDED(hr)) hr = item->SetTextAttr(u"Identifier", id_text.c_str());
      if (SUCCEEDED(hr)) hr = item->SetTextAttr(u"Type", vk::FromUtf8(match.type).c_str());
      if (SUCCEEDED(hr)) hr = item->SetTextAttr(u"Sender", vk::FromUtf8(match.sender).c_str());
      if (SUCCEEDED(hr)) {
        hr = item->SetTextAttr(u"Recievers", vk::FromUtf8(match.receivers).c_str());
      }
      if (SUCCEEDED(hr)) hr = item->SetIntAttr(u"CreateTime", match.create_time);
      if (SUCCEEDED(hr)) hr = list->Append(item);
      item->Release();
      Check(hr, u"The client cannot fill an item.");
      break;
    }
  } catch (const vk::ComError&) {
    Trace(vk::FormatWide(
        u"CLocalOffMsgStore::GetOffMsgByID Processing Elements error -- FileName=%s \n",
        channel.index.c_str()));
    return E_FAIL;
  }
  return S_OK;
}

HRESULT CLocalOffMsgStore::GetOffMsgByID(LPCOLESTR id, VARIANT* out) {
  if (out == nullptr) return E_INVALIDARG;
  if (root_ == nullptr) return E_FAIL;
  return VK_QUIET_GUARD({
    IDataList* list = nullptr;
    Check(root_->CreateDataList(&list), u"The client cannot create a list.");
    HRESULT hr = GetOffMsgFromChannel(im_, Text(id), list);
    if (FAILED(hr)) {
      list->Release();
      return hr;
    }
    GetOffMsgFromChannel(discussion_, Text(id), list);  // its result is not reported
    out->vt = VT_DISPATCH;
    out->u.pdispVal = list;
    return S_OK;
  });
}

HRESULT CLocalOffMsgStore::GetFileLastWriteTime(LPCOLESTR index_path, BSTR* time) {
  if (time == nullptr) return E_INVALIDARG;
  return VK_QUIET_GUARD({
    std::u16string text;
    auto root = [&](const vk::OffMsgAttributes& a) { text = a.Text("FileLastWriteTime"); };
    if (!vk::OffMsgIndexScan::Scan(vk::NormalizeSeparators(Text(index_path)), root, kSkip)) {
      text.clear();
    }
    *time = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    return S_OK;
  });
}

HRESULT CLocalOffMsgStore::SetFileLastWriteTime(LONG channel_number, LPCOLESTR time) {
  const Channel* channel = FindChannel(channel_number);
  if (channel == nullptr) return E_FAIL;
  return VK_QUIET_GUARD({
    vk::OffMsgIndex file;
    if (!file.Load(channel->index) || !file.Root()) return E_FAIL;
    file.Root().SetAttribute(u"FileLastWriteTime", Text(time));
    return file.Save(channel->index) ? S_OK : E_FAIL;
  });
}

HRESULT CLocalOffMsgStore::ClearChannel(LONG channel_number) {
  const Channel* channel = FindChannel(channel_number);
  if (channel == nullptr || channel->folder.empty()) return S_OK;
  // Plain files only; hidden entries and folders stay, failures are ignored.
  for (const vk::FolderEntry& entry : vk::ListFolder(channel->folder)) {
    if (!entry.is_folder && !entry.is_hidden) vk::RemoveFile(channel->folder + entry.name);
  }
  return S_OK;
}

HRESULT CLocalOffMsgStore::DeleteFromIndex(const std::u16string& index,
                                           std::u16string_view id) const {
  OutputDebugStringA("CLocalOffMsgStore::DeleteOffMsgIndexByID Get in\n");
  LONG sum = GetSumFromXML(index);
  if (sum < 0) return S_OK;  // no index: nothing to delete
  // Every record whose MsgID is the id goes, not only the first.
  const auto goes = [id](std::u16string_view msg_id) {
    return !msg_id.empty() && vk::EqualsIgnoringCase(msg_id, id);
  };
  try {
    // The records go and the count changes in one save of the file: saved apart, a save
    // that failed or was cut short by a crash between the two would leave a count that no
    // longer matches the records, and a later deletion would then count wrong for good.
    // Streamed, the rewrite holds about the size of the file; a file the stream does not
    // rewrite exactly as the tree would (or cannot read) goes through the tree.
    vk::XmlRecordFilter filter(vk::OffMsgIndex::kCodePage, "OffMsgIndexData", "OffMsgRec", "MsgID");
    if (filter.Read(index, goes)) {
      sum -= filter.Removed();
      return SetSumToXML(index, sum < 0 ? 0 : sum,
                         [&](LONG kept) { return filter.Save("DataSum", std::to_string(kept)); });
    }
    vk::OffMsgIndex file;
    if (!file.Load(index) || !file.Root()) return E_FAIL;
    vk::DomNode root = file.Root();
    for (const vk::DomNode& record : file.Records()) {
      if (goes(vk::TextAttribute(record, u"MsgID"))) {
        root.RemoveChild(record);
        --sum;
      }
    }
    return SetSumToXML(index, sum < 0 ? 0 : sum, [&](LONG kept) {
      root.SetAttribute(u"DataSum", int64_t{kept});
      return file.Bytes();
    });
  } catch (const vk::ComError&) {
    std::u16string id_text(id);
    Trace(
        vk::FormatWide(u"CLocalOffMsgStore::DeleteOffMsgIndexByID Processing Elements error "
                       u"-- FileName=%s strMsgID=%s\n",
                       index.c_str(), id_text.c_str()));
    return E_FAIL;
  }
}

HRESULT CLocalOffMsgStore::DeleteOffMsgIndexByID(LPCOLESTR id) {
  HRESULT hr = DeleteFromIndex(im_.index, Text(id));
  if (hr != 0) return hr;
  return DeleteFromIndex(discussion_.index, Text(id));
}

HRESULT CLocalOffMsgStore::ClearEmptyChannels() {
  ClearIfEmpty(im_, VK_OFFMSG_CHANNEL_IM);
  ClearIfEmpty(discussion_, VK_OFFMSG_CHANNEL_DISCUSSION);
  return S_OK;
}

void CLocalOffMsgStore::ClearIfEmpty(const Channel& channel, LONG number) {
  // A channel is empty when it has no index, or an index read to its end whose DataSum is 0
  // or less. An index that exists but cannot be read (damaged, too large for a reader, not
  // a regular file) says nothing about the messages it lists: deleting it would lose them.
  if (IsFileExist(channel.index)) {
    const std::optional<LONG> sum = ReadSum(channel.index);
    if (!sum) {
      Trace(vk::FormatWide(
          u"CLocalOffMsgStore::ClearEmptyChannels unreadable index kept -- FileName=%s \n",
          channel.index.c_str()));
      return;
    }
    if (*sum > 0) return;
  }
  ClearChannel(number);
}

void CLocalOffMsgStore::LatestOf(const std::u16string& index, LONG* time, LONG* addr) const {
  std::shared_ptr<const vk::OffMsgIndexView> view = indexes_.View(index);
  // An index that does not read to its end leaves the outputs as they were.
  if (!view->Readable()) return;
  *time = view->LatestTime();
  *addr = view->LatestAddr();
}

HRESULT CLocalOffMsgStore::GetLatest(LONG* im_time, LONG* im_addr, LONG* discussion_time,
                                     LONG* discussion_addr) {
  if (im_time == nullptr || im_addr == nullptr || discussion_time == nullptr ||
      discussion_addr == nullptr) {
    return E_INVALIDARG;
  }
  *im_time = *im_addr = *discussion_time = *discussion_addr = 0;
  return VK_QUIET_GUARD({
    LatestOf(im_.index, im_time, im_addr);
    LatestOf(discussion_.index, discussion_time, discussion_addr);
    return S_OK;
  });
}

HRESULT CLocalOffMsgStore::CheckFiles(LONG* consistent) {
  if (consistent == nullptr) return E_INVALIDARG;
  *consistent = 1;
  // A channel with only one of its two files cannot be read: it is cleared.
  if (IsFileExist(im_.index) != IsFileExist(im_.data)) {
    ClearChannel(VK_OFFMSG_CHANNEL_IM);
    *consistent = 0;
  }
  if (IsFileExist(discussion_.index) != IsFileExist(discussion_.data)) {
    ClearChannel(VK_OFFMSG_CHANNEL_DISCUSSION);
    *consistent = 0;
  }
  return S_OK;
}
