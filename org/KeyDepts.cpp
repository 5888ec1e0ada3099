#include "org/KeyDepts.h"

#include "platform/Assert.h"
#include "platform/Text.h"
#include "storage/FileCreationTime.h"
#include "storage/LeadingDigits.h"

namespace {

const vk::XmlStoreSettings kSettings{
    .file_template =
        u"<?xml version=\"1.0\" encoding=\"gb2312\"?><KeyDepts ProVer=\"0\"></KeyDepts>",
    .version_xpath = u"/KeyDepts//@ProVer",
    .version_attribute = u"ProVer",
    .save_under_lock = true,
    .keep_creation_time = true,
};

constexpr int64_t kExpirySeconds = 2592000;  // 30 days

std::u16string UserXPath(std::u16string_view lower_nick) {
  return u"/KeyDepts//User[@Nick=\"" + std::u16string(lower_nick) + u"\"]";
}

void AppendKeyDepts(vk::DomDocument& document, vk::DomNode user, const ULONG* ids, LONG count) {
  for (LONG i = 0; i < count; ++i) {
    vk::DomNode dept = document.CreateElement(u"KeyDept");
    // Unsigned decimal: the id as the server gives it; reading wraps it back to 32 bits.
    dept.SetAttribute(u"DeptID", int64_t{ids[i]});
    user.AppendChild(dept);
  }
}

}  // namespace

CKeyDepts::CKeyDepts() : vk::XmlStoreBase(kSettings) {}

HRESULT CKeyDepts::Initialize(LPCOLESTR path, IUnknown* client) {
  return InitializeStore(path, client);
}

HRESULT CKeyDepts::GetVersion(LONG* version) {
  return GetStoreVersion(version);
}

HRESULT CKeyDepts::SetVersion(LONG version) {
  return SetStoreVersion(version);
}

HRESULT CKeyDepts::GetKeyDepts(LPCOLESTR nick, ULONG* ids, LONG* count) {
  if (ids == nullptr || count == nullptr) return E_FAIL;
  if (!IsInitialized()) return E_FAIL;
  return VK_QUIET_GUARD({
    const LONG capacity = *count;
    for (LONG i = 0; i < capacity; ++i) ids[i] = 0;
    LONG n = 0;
    std::u16string lower = vk::WideToLower(vk::TextOrEmpty(nick));
    vk::LockGuard guard(Lock());
    vk::DomNode user = Document().SelectSingleNode(UserXPath(lower));
    if (!user) {
      *count = 0;
      return S_OK;
    }
    // The capacity is tested after each id is stored, so a capacity of 0 still receives
    // the first id; the walk also ends at the first child that is not an element.
    for (vk::DomNode child = user.FirstChild(); child.IsElement(); child = child.NextSibling()) {
      ids[n] = static_cast<ULONG>(vk::ParseLeadingDigits(child.GetAttribute(u"DeptID")));
      if (++n >= capacity) break;
    }
    *count = n;
    return S_OK;
  });
}

HRESULT CKeyDepts::SetKeyDepts(LPCOLESTR nick, ULONG* ids, LONG* count) {
  if (ids == nullptr || count == nullptr) return E_FAIL;
  if (!IsInitialized()) return E_FAIL;
  return VK_QUIET_GUARD({
    std::u16string lower = vk::WideToLower(vk::TextOrEmpty(nick));
    vk::LockGuard guard(Lock());
    vk::DomNode user = Document().SelectSingleNode(UserXPath(lower));
    if (!user) {
      user = Document().CreateElement(u"User");
      user.SetAttribute(u"Nick", lower);
      AppendKeyDepts(Document(), user, ids, *count);
      Document().DocumentElement().AppendChild(user);
    } else {
      vk::RemoveLeadingElements(user);
      AppendKeyDepts(Document(), user, ids, *count);
    }
    MarkDirty();
    return S_OK;
  });
}

HRESULT CKeyDepts::ResetIfExpired() {
  if (!IsInitialized()) return E_FAIL;
  return VK_REPORTING_GUARD({
    std::optional<int64_t> created = vk::GetFileCreationTime(Path());
    if (!created) return E_FAIL;
    const int64_t now = vk::CurrentUnixTime();
    if (now - *created <= kExpirySeconds) return S_FALSE;
    vk::LockGuard guard(Lock());
    vk::RemoveLeadingElements(Document().DocumentElement());
    SetVersion(0);
    MarkDirty();
    // The next period starts now; a file that is gone keeps no record.
    vk::SetFileCreationTime(Path(), now);
    return S_FALSE;
  });
}

HRESULT CKeyDepts::Close() {
  return CloseStore();
}
