#include "org/UserGrid.h"

#include "platform/Assert.h"
#include "storage/LeadingDigits.h"

namespace {

const vk::XmlStoreSettings kSettings{
    .file_template =
        u"<?xml version=\"1.0\" encoding=\"gb2312\"?><UserGrid ProVer=\"0\"></UserGrid>",
    .version_xpath = u"/UserGrid//@ProVer",
    .version_attribute = u"ProVer",
};

// The nickname goes in as given, between quotes: one holding a double quote makes an
// expression that fails, and the operation's guard answers E_FAIL.
std::u16string UserXPath(LPCOLESTR nick) {
  return u"/UserGrid//User[@Nick=\"" + std::u16string(vk::TextOrEmpty(nick)) + u"\"]";
}

}  // namespace

CUserGrid::CUserGrid() : vk::XmlStoreBase(kSettings) {}

HRESULT CUserGrid::Initialize(LPCOLESTR path, IUnknown* client) {
  return InitializeStore(path, client);
}

HRESULT CUserGrid::GetVersion(LONG* version) {
  return GetStoreVersion(version);
}

HRESULT CUserGrid::SetVersion(LONG version) {
  return SetStoreVersion(version);
}

HRESULT CUserGrid::GetGrid(LPCOLESTR nick, LONG* grid) {
  if (grid == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  *grid = 0;
  if (!IsInitialized()) return E_FAIL;
  return VK_QUIET_GUARD({
    vk::DomNode user = Document().SelectSingleNode(UserXPath(nick));
    if (user) *grid = vk::ParseLeadingDigits(user.GetAttribute(u"Grid"));
    return S_OK;
  });
}

HRESULT CUserGrid::SetGrid(LPCOLESTR nick, LONG grid) {
  if (!IsInitialized()) return E_FAIL;
  return VK_QUIET_GUARD({
    vk::DomNode user = Document().SelectSingleNode(UserXPath(nick));
    if (!user) {
      user = Document().CreateElement(u"User");
      user.SetAttribute(u"Grid", int64_t{grid});
      user.SetAttribute(u"Nick", vk::TextOrEmpty(nick));
      Document().DocumentElement().AppendChild(user);
    }
    user.SetAttribute(u"Grid", int64_t{grid});
    MarkDirty();
    return S_OK;
  });
}

HRESULT CUserGrid::Clear() {
  if (!IsInitialized()) return E_FAIL;
  HRESULT hr = VK_REPORTING_GUARD({
    // Each removed node is detached from its siblings, so this loop removes the first
    // child only; that is the operation's contract. The file is not marked dirty.
    vk::DomNode root = Document().DocumentElement();
    vk::DomNode current = root.FirstChild();
    while (current) {
      vk::DomNode removed = root.RemoveChild(current);
      current = removed.NextSibling();
    }
    return S_FALSE;
  });
  // This guard answers S_OK after reporting, not E_FAIL.
  return hr == E_FAIL ? S_OK : hr;
}

HRESULT CUserGrid::Close() {
  return CloseStore();
}
