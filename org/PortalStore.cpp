#include "org/PortalStore.h"

#include <algorithm>
#include <cstring>

#include "platform/Assert.h"
#include "platform/ComError.h"
#include "platform/Text.h"
#include "storage/LeadingDigits.h"

namespace {

// Every expression names the server's root PORTAL with its attribute ver, which a file made
// from this template (root Portal with ProVer) does not have: such a file answers every
// query as "not found" until the client puts a published document in its place. The file
// contract depends on it, so it stays.
const vk::XmlStoreSettings kSettings{
    .file_template = u"<?xml version=\"1.0\" encoding=\"gb2312\"?><Portal ProVer=\"0\"></Portal>",
    .version_xpath = u"/PORTAL//@ver",
    .version_attribute = u"ver",
    .close_saves_always = true,
    .create_folders = true,
};

constexpr LONG kMaxTipCount = 9;
const char16_t* const kNoteNames[] = {u"NoteCN", u"NoteEN", u"NoteTW"};
const char16_t* const kLinkTextNames[] = {u"LinkTextCN", u"LinkTextEN", u"LinkTextTW"};

// Copies text into a fixed field: a text longer than the field is cut to one unit less, so
// it ends with the zero fill; a text of exactly the field's length fills it completely.
template <size_t N>
void CopyField(OLECHAR (&field)[N], std::u16string text) {
  if (text.size() > N) text.resize(N - 1);
  std::memcpy(field, text.data(), text.size() * sizeof(OLECHAR));
}

BSTR AllocText(const std::u16string& text) {
  BSTR result = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  if (result == nullptr) throw vk::ComError(E_OUTOFMEMORY, u"Cannot allocate the text.");
  return result;
}

}  // namespace

CPortalStore::CPortalStore() : vk::XmlStoreBase(kSettings) {}

HRESULT CPortalStore::Initialize(LPCOLESTR path, IUnknown* client) {
  return InitializeStore(path, client);
}

HRESULT CPortalStore::GetVersion(LONG* version) {
  return GetStoreVersion(version);
}

HRESULT CPortalStore::SetVersion(LONG version) {
  return SetStoreVersion(version);
}

LONG CPortalStore::Language() const {
  if (Client() == nullptr) {
    throw vk::ComError(E_POINTER, u"No client root was given to ask for the language.");
  }
  LONG language = 0;
  HRESULT hr = Client()->get_Language(&language);
  if (FAILED(hr)) throw vk::ComError(hr, u"The client root does not tell its language.");
  return language;
}

HRESULT CPortalStore::GetText(BSTR* text, const char16_t* prefix, const char16_t* const* suffixes) {
  if (text == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  if (!IsInitialized()) {
    VK_REPORT_ASSERT();
    return S_FALSE;
  }
  return VK_QUIET_GUARD({
    std::u16string xpath = prefix;
    if (suffixes != nullptr) {
      // An unknown language appends nothing: the expression then ends in "/" and fails.
      LONG language = Language();
      if (language >= 0 && language <= 2) xpath += suffixes[language];
    }
    vk::DomNode node = Document().SelectSingleNode(xpath);
    if (node) *text = AllocText(node.Text());
    return S_OK;
  });
}

HRESULT CPortalStore::GetDeptPortalNote(BSTR* text) {
  return GetText(text, u"/PORTAL/DeptPortal/", kNoteNames);
}

HRESULT CPortalStore::GetDeptPortalUrl(BSTR* text) {
  return GetText(text, u"/PORTAL/DeptPortal/DeptUrl", nullptr);
}

HRESULT CPortalStore::GetUserPortalLinkText(BSTR* text) {
  return GetText(text, u"/PORTAL/UserPortal/", kLinkTextNames);
}

HRESULT CPortalStore::GetUserPortalUrl(BSTR* text) {
  return GetText(text, u"/PORTAL/UserPortal/UserUrl", nullptr);
}

HRESULT CPortalStore::GetUserTipsState(BSTR* text) {
  return GetText(text, u"/PORTAL/UserTips//@State", nullptr);
}

HRESULT CPortalStore::GetFlag(BOOL* flag, const char16_t* xpath) {
  if (flag == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  if (!IsInitialized()) {
    VK_REPORT_ASSERT();
    return S_FALSE;
  }
  return VK_QUIET_GUARD({
    *flag = FALSE;
    // Any value but "0", an empty one too, switches the feature on.
    vk::DomNode enable = Document().SelectSingleNode(xpath);
    if (enable && enable.Text() != u"0") *flag = TRUE;
    return S_OK;
  });
}

HRESULT CPortalStore::GetDeptPortalEnable(BOOL* flag) {
  return GetFlag(flag, u"/PORTAL/DeptPortal//@Enable");
}

HRESULT CPortalStore::GetUserPortalEnable(BOOL* flag) {
  return GetFlag(flag, u"/PORTAL/UserPortal//@Enable");
}

HRESULT CPortalStore::GetUserTipsEnable(BOOL* flag) {
  return GetFlag(flag, u"/PORTAL/UserTips//@Enable");
}

HRESULT CPortalStore::IsPortalDept(LONG dept, BOOL* flag) {
  if (flag == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  if (!IsInitialized()) {
    VK_REPORT_ASSERT();
    return S_FALSE;
  }
  return VK_QUIET_GUARD({
    *flag = FALSE;
    std::u16string xpath =
        u"/PORTAL/Depts/Dept[@ID=\"" + vk::FromUtf8(std::to_string(dept)) + u"\"]";
    if (Document().SelectSingleNode(xpath)) *flag = TRUE;
    return S_OK;
  });
}

HRESULT CPortalStore::GetPortalDepts(LONG* ids, LONG n) {
  // A negative length is no more a length than 0 is.
  if (ids == nullptr || n <= 0) return E_FAIL;
  if (!IsInitialized()) {
    VK_REPORT_ASSERT();
    return S_FALSE;
  }
  return VK_QUIET_GUARD({
    std::fill(ids, ids + n, 0);
    vk::DomNode depts = Document().SelectSingleNode(u"/PORTAL/Depts");
    if (!depts) return S_OK;
    // The bound is tested after the entry is written and only for being exceeded, so a
    // longer list writes n + 1 entries: callers size the array with one spare entry.
    LONG i = 0;
    for (vk::DomNode child = depts.FirstChild(); child.IsElement(); child = child.NextSibling()) {
      ids[i] = vk::ParseLeadingDigits(child.GetAttribute(u"ID"));
      if (++i > n) break;
    }
    return S_OK;
  });
}

HRESULT CPortalStore::GetPortalDeptCount(LONG* count) {
  if (count == nullptr) return E_FAIL;
  if (!IsInitialized()) {
    VK_REPORT_ASSERT();
    return S_FALSE;
  }
  return VK_QUIET_GUARD({
    *count = 0;
    vk::DomNode depts = Document().SelectSingleNode(u"/PORTAL/Depts");
    if (depts) *count = static_cast<LONG>(depts.ChildNodes().Length());
    return S_OK;
  });
}

HRESULT CPortalStore::GetUserTipsCount(LONG* count) {
  if (count == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  if (!IsInitialized()) {
    VK_REPORT_ASSERT();
    return S_FALSE;
  }
  return VK_QUIET_GUARD({
    vk::DomNode tips = Document().SelectSingleNode(u"/PORTAL/UserTips");
    if (tips) *count = std::min(static_cast<LONG>(tips.ChildNodes().Length()), kMaxTipCount);
    return S_OK;
  });
}

HRESULT CPortalStore::GetUserTips(PortalTipInfo* tips, LONG n) {
  if (tips == nullptr || n <= 0) return E_FAIL;
  if (!IsInitialized()) {
    VK_REPORT_ASSERT();
    return S_FALSE;
  }
  return VK_QUIET_GUARD({
    std::memset(tips, 0, sizeof(PortalTipInfo) * static_cast<size_t>(n));
    // Unlike the note getter, an unknown language falls back to the first one here.
    LONG language = Language();
    const char16_t* note_name =
        (language == 1 || language == 2) ? kNoteNames[language] : kNoteNames[0];
    vk::DomNode list = Document().SelectSingleNode(u"/PORTAL/UserTips");
    if (!list) return S_OK;
    LONG i = 0;
    for (vk::DomNode tip = list.FirstChild(); tip.IsElement(); tip = tip.NextSibling()) {
      PortalTipInfo& record = tips[i];
      CopyField(record.name, tip.GetAttribute(u"Name").value_or(u""));
      if (vk::DomNode link = tip.SelectSingleNode(u"Link")) CopyField(record.link, link.Text());
      if (vk::DomNode note = tip.SelectSingleNode(note_name)) CopyField(record.note, note.Text());
      if (++i == n) break;
    }
    return S_OK;
  });
}

HRESULT CPortalStore::Close() {
  return CloseStore();
}
