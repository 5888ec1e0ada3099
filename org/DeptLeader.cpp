#include "org/DeptLeader.h"

#include "platform/Assert.h"
#include "platform/Log.h"
#include "platform/Text.h"
#include "storage/FileCreationTime.h"
#include "storage/LeadingDigits.h"

namespace {

// The version expression names a "DeptLeader" root that the file never has: GetVersion
// fails on every file this store writes and SetVersion always sets ProVer on the root.
// The file contract depends on it, so it stays.
const vk::XmlStoreSettings kSettings{
    .file_template = u"<?xml version=\"1.0\" encoding=\"gb2312\"?><Leader ProVer=\"0\"></Leader>",
    .version_xpath = u"/DeptLeader//@ProVer",
    .version_attribute = u"ProVer",
    .flush_after_set_version = true,
    .keep_creation_time = true,
};

constexpr int32_t kExpirySeconds = 2592000;  // 30 days

std::u16string DeptXPath(LONG dept) {
  return u"/Leader//Dept[@id=\"" + vk::FromUtf8(std::to_string(dept)) + u"\"]";
}

}  // namespace

CDeptLeader::CDeptLeader() : vk::XmlStoreBase(kSettings) {}

HRESULT CDeptLeader::Initialize(LPCOLESTR path, IUnknown* client) {
  return InitializeStore(path, client);
}

HRESULT CDeptLeader::GetVersion(LONG* version) {
  return GetStoreVersion(version);
}

HRESULT CDeptLeader::SetVersion(LONG version) {
  return SetStoreVersion(version);
}

HRESULT CDeptLeader::GetLeader(LONG dept, LONG* leader) {
  if (leader == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  if (!IsInitialized()) return E_FAIL;
  return VK_QUIET_GUARD({
    vk::DomNode node = Document().SelectSingleNode(DeptXPath(dept));
    if (!node) return E_FAIL;
    *leader = vk::ParseLeadingDigits(node.GetAttribute(u"Leader"));
    return S_OK;
  });
}

HRESULT CDeptLeader::SetLeader(LONG dept, ULONG version, LONG leader) {
  if (!IsInitialized()) return E_FAIL;
  return VK_QUIET_GUARD({
    vk::DomNode node = Document().SelectSingleNode(DeptXPath(dept));
    if (node) {
      // Versions compare unsigned: a stored "-1" is the highest version there is.
      auto stored = static_cast<ULONG>(vk::ParseLeadingDigits(node.GetAttribute(u"Version")));
      if (version <= stored) return S_OK;
      node.SetAttribute(u"Leader", int64_t{leader});
      node.SetAttribute(u"Version", int64_t{static_cast<LONG>(version)});
      MarkDirty();
      return S_OK;
    }
    node = Document().CreateElement(u"Dept");
    node.SetAttribute(u"id", int64_t{dept});
    node.SetAttribute(u"Leader", int64_t{leader});
    node.SetAttribute(u"Version", int64_t{static_cast<LONG>(version)});
    Document().DocumentElement().AppendChild(node);
    // "xxxx %s" with the whole document, serialised only when someone listens: on a large
    // file it costs more than the rest of the operation.
    if (vk::DebugOutputListened()) OutputDebugStringW((u"xxxx " + Document().Xml()).c_str());
    MarkDirty();
    return S_OK;
  });
}

HRESULT CDeptLeader::DeleteDept(LONG dept) {
  if (!IsInitialized()) return E_FAIL;
  return VK_QUIET_GUARD({
    // Only the department's element children go; the Dept element and its leader stay.
    // This is the store's contract: the department keeps its leader and the file is
    // written again at the next flush.
    vk::DomNode node = Document().SelectSingleNode(DeptXPath(dept));
    if (node) {
      vk::RemoveLeadingElements(node);
      MarkDirty();
    }
    // Not listed: nothing changes; S_OK keeps callers that ignore the status working.
    return S_OK;
  });
}

HRESULT CDeptLeader::ResetIfExpired() {
  if (!IsInitialized()) return E_FAIL;
  return VK_REPORTING_GUARD({
    std::optional<int64_t> created = vk::GetFileCreationTime(Path());
    if (!created) return E_FAIL;
    const int64_t now = vk::CurrentUnixTime();
    // The age is taken as a signed 32-bit difference.
    if (static_cast<int32_t>(now - *created) <= kExpirySeconds) return S_FALSE;
    vk::RemoveLeadingElements(Document().DocumentElement());
    SetVersion(0);  // writes the file at once
    MarkDirty();
    vk::SetFileCreationTime(Path(), now);
    return S_FALSE;
  });
}

HRESULT CDeptLeader::Close() {
  return CloseStore();
}
