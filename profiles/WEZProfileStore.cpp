#include "profiles/WEZProfileStore.h"

#include "platform/Assert.h"
#include "platform/Text.h"
#include "storage/FixedField.h"
#include "storage/LeadingDigits.h"
#include "storage/XmlStoreBase.h"

namespace {

const vk::EncipheredStoreSettings kSettings{
    .file_template =
        u"<?xml version=\"1.0\" encoding=\"GB2312\"?><?WEZ 用户详细资料 ?><Root></Root>",
    .repair_companion = true,
};

std::u16string AttributeText(const vk::DomNode& item, std::u16string_view name) {
  return item.GetAttribute(name).value_or(std::u16string());
}

void ReadProfile(const vk::DomNode& item, ProfileInfo& profile) {
  profile.uin = vk::ParseLeadingDigits(item.GetAttribute(u"UIN"));
  vk::FillField(profile.nick, AttributeText(item, u"NICK"));
  vk::FillField(profile.name, AttributeText(item, u"NAME"));
  profile.gender = static_cast<BYTE>(vk::ParseLeadingDigits(item.GetAttribute(u"GENDER")) & 0xFF);
  profile.face = static_cast<int16_t>(
      static_cast<uint16_t>(vk::ParseLeadingDigits(item.GetAttribute(u"FACE")) & 0xFFFF));
  vk::FillField(profile.mobile, AttributeText(item, u"MOBILE"));
  vk::FillField(profile.email, AttributeText(item, u"EMAIL"));
  vk::FillField(profile.phone, AttributeText(item, u"PHONE"));
  profile.uright = vk::ParseLeadingDigits(item.GetAttribute(u"URIGHT"));
  profile.version = vk::ParseLeadingDigits(item.GetAttribute(u"VERSION"));
}

}  // namespace

CWEZProfileStore::CWEZProfileStore() : vk::EncipheredStore(kSettings) {}

HRESULT CWEZProfileStore::Initialize(LPCOLESTR path) {
  return VK_REPORTING_GUARD({ return OpenFile(path); });
}

// The caller's nickname goes into the expression as it stands: a quote in it makes the
// expression invalid and the lookup fails.
vk::DomNode CWEZProfileStore::FindProfileItem(std::u16string_view nick) {
  return Document().SelectSingleNode(
      u"/Root//ITEM[translate(@NICK, 'ABCDEFGHIJKLMNOPQRSTUVWXYZ', "
      u"'abcdefghijklmnopqrstuvwxyz') = '" +
      vk::WideToLower(nick) + u"']");
}

HRESULT CWEZProfileStore::SetProfile(const ProfileInfo* profile) {
  if (profile == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  return VK_REPORTING_GUARD({
    const std::u16string nick(vk::FieldText(profile->nick));
    // Built before the previous record goes, so a record the document cannot hold (a control
    // character in a field) fails without losing the one it would replace.
    vk::DomNode item = Document().CreateElement(u"ITEM");
    item.SetAttribute(u"UIN", int64_t{profile->uin});
    item.SetAttribute(u"NICK", nick);
    item.SetAttribute(u"NAME", vk::FieldText(profile->name));
    item.SetAttribute(u"GENDER", int64_t{static_cast<int16_t>(profile->gender)});
    item.SetAttribute(u"FACE", int64_t{profile->face});
    item.SetAttribute(u"MOBILE", vk::FieldText(profile->mobile));
    item.SetAttribute(u"EMAIL", vk::FieldText(profile->email));
    item.SetAttribute(u"PHONE", vk::FieldText(profile->phone));
    item.SetAttribute(u"URIGHT", int64_t{profile->uright});
    item.SetAttribute(u"VERSION", int64_t{profile->version});
    DeleteProfile(nick.c_str());
    DocumentElement().AppendChild(item);
    MarkDirty();
    return S_OK;
  });
}

// A matching ITEM below another element is found again and again but is not a child of Root:
// removing it fails and the loop ends through the guard.
HRESULT CWEZProfileStore::DeleteProfile(LPCOLESTR nick) {
  return VK_REPORTING_GUARD({
    const std::u16string_view key = vk::TextOrEmpty(nick);
    for (vk::DomNode item = FindProfileItem(key); item; item = FindProfileItem(key)) {
      DocumentElement().RemoveChild(item);
      MarkDirty();
    }
    return S_OK;
  });
}

HRESULT CWEZProfileStore::GetProfile(ProfileInfo* profile) {
  if (profile == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  return VK_REPORTING_GUARD({
    vk::DomNode item = FindProfileItem(vk::FieldText(profile->nick));
    if (!item) return E_FAIL;
    ReadProfile(item, *profile);
    return S_OK;
  });
}

HRESULT CWEZProfileStore::GetProfileCount(LONG* count) {
  if (count == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  *count = 0;
  return VK_REPORTING_GUARD({
    *count = Document().SelectNodes(u"/Root//ITEM").Length();
    return S_OK;
  });
}

// Unlike the count, the walk reads the direct children of Root whatever their name, up to the
// first child that is not an element.
HRESULT CWEZProfileStore::GetProfiles(ProfileInfo* profiles, LONG* count) {
  if (profiles == nullptr || count == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  return VK_REPORTING_GUARD({
    const LONG capacity = *count;
    LONG written = 0;
    for (vk::DomNode child = DocumentElement().FirstChild();
         child.IsElement() && written < capacity; child = child.NextSibling()) {
      ReadProfile(child, profiles[written++]);
    }
    *count = written;
    return S_OK;
  });
}

HRESULT CWEZProfileStore::GetNickByUin(LONG uin, BSTR* nick) {
  if (uin == 0 || nick == nullptr) return E_FAIL;
  *nick = nullptr;
  return VK_REPORTING_GUARD({
    for (vk::DomNode child = DocumentElement().FirstChild(); child.IsElement();
         child = child.NextSibling()) {
      if (vk::ParseLeadingDigits(child.GetAttribute(u"UIN")) != uin) continue;
      const std::u16string text = AttributeText(child, u"NICK");
      *nick = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
      return S_OK;
    }
    return E_FAIL;
  });
}

HRESULT CWEZProfileStore::Close() {
  FlushIfDirty();
  return S_OK;
}

HRESULT CWEZProfileStore::SetUserList(IUserList*) {
  return S_OK;
}
