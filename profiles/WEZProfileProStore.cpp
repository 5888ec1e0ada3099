#include "profiles/WEZProfileProStore.h"

#include "platform/Assert.h"
#include "platform/ComError.h"
#include "platform/Text.h"
#include "storage/FixedField.h"
#include "storage/XmlStoreBase.h"

namespace {

const vk::EncipheredStoreSettings kSettings{
    .file_template =
        u"<?xml version=\"1.0\" encoding=\"gb2312\"?><?WEZ 用户详细资料 ?><Root></Root>",
    .repair_companion = false,
    .save_needs_path = true,
};

// The caller's texts go into the expressions as they stand, between double quotes.
std::u16string BuddyXPath(std::u16string_view account) {
  return u"./WEZBuddyPro[@Account = \"" + std::u16string(account) + u"\"]";
}

std::u16string FieldXPath(std::u16string_view account, std::u16string_view name) {
  return BuddyXPath(account) + u"/Field[@Name = \"" + std::u16string(name) + u"\"]";
}

}  // namespace

CWEZProfileProStore::CWEZProfileProStore() : vk::EncipheredStore(kSettings) {}

HRESULT CWEZProfileProStore::Initialize(BSTR path) {
  return VK_REPORTING_GUARD({ return OpenFile(path); });
}

vk::DomNode CWEZProfileProStore::FindBuddy(std::u16string_view account) {
  return Document().SelectSingleNode(BuddyXPath(vk::WideToLower(account)));
}

vk::DomNode CWEZProfileProStore::FindBuddyField(std::u16string_view lower_account,
                                                std::u16string_view name) {
  return Document().SelectSingleNode(FieldXPath(lower_account, name));
}

vk::DomNode CWEZProfileProStore::FindOrCreateBuddy(std::u16string_view account) {
  vk::DomNode buddy = FindBuddy(account);
  if (!buddy) buddy = Document().CreateElement(u"WEZBuddyPro");
  buddy.SetAttribute(u"Account", vk::WideToLower(account));
  return buddy;
}

// A new buddy is not in the document while its fields are added, so each of its fields is
// created new, even a name the array gives twice. An existing field or buddy moves to the end.
HRESULT CWEZProfileProStore::SetBuddyFields(LPCOLESTR account, const BuddyField* fields,
                                            LONG count) {
  if (!HasDocument()) return E_FAIL;
  if (fields == nullptr && count > 0) {
    VK_REPORT_ASSERT();
    return E_FAIL;
  }
  return VK_REPORTING_GUARD({
    vk::DomNode root = DocumentElement();
    if (!root) return E_FAIL;
    const std::u16string lower = vk::WideToLower(vk::TextOrEmpty(account));
    vk::DomNode buddy = FindOrCreateBuddy(vk::TextOrEmpty(account));
    for (LONG i = 0; i < count; ++i) {
      const std::u16string_view name = vk::FieldText(fields[i].name);
      vk::DomNode field = FindBuddyField(lower, name);
      if (!field) field = Document().CreateElement(u"Field");
      field.SetAttribute(u"Name", name);
      field.SetAttribute(u"Value", vk::FieldText(fields[i].value));
      buddy.AppendChild(field);
    }
    root.AppendChild(buddy);
    MarkDirty();
    return S_OK;
  });
}

// The account is matched as given, not lower-cased: a mixed-case account never matches.
HRESULT CWEZProfileProStore::DeleteBuddy(LPCOLESTR account) {
  if (!HasDocument()) return E_FAIL;
  return VK_REPORTING_GUARD({
    vk::DomNode buddy = Document().SelectSingleNode(BuddyXPath(vk::TextOrEmpty(account)));
    if (!buddy) return E_FAIL;
    DocumentElement().RemoveChild(buddy);
    MarkDirty();
    return S_OK;
  });
}

HRESULT CWEZProfileProStore::GetBuddyFieldCount(LPCOLESTR account, LONG* count) {
  if (!HasDocument()) return E_FAIL;
  if (count == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  *count = 0;
  return VK_REPORTING_GUARD({
    vk::DomNode buddy = FindBuddy(vk::TextOrEmpty(account));
    if (!buddy) return E_FAIL;
    *count = buddy.SelectNodes(u".//Field").Length();
    return S_OK;
  });
}

// The array is sized by the caller from GetBuddyFieldCount; it is not checked here.
HRESULT CWEZProfileProStore::GetBuddyFields(LPCOLESTR account, BuddyField* fields) {
  if (!HasDocument()) return E_FAIL;
  if (fields == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  return VK_REPORTING_GUARD({
    vk::DomNode buddy = FindBuddy(vk::TextOrEmpty(account));
    if (!buddy) return E_FAIL;
    vk::DomNodeList list = buddy.SelectNodes(u".//Field");
    for (long i = 0; i < list.Length(); ++i) {
      vk::DomNode field = list.Item(i);
      vk::FillField(fields[i].name, field.GetAttribute(u"Name").value_or(u""));
      vk::FillField(fields[i].value, field.GetAttribute(u"Value").value_or(u""));
    }
    return S_OK;
  });
}

HRESULT CWEZProfileProStore::GetBuddyField(LPCOLESTR account, LPCOLESTR name, VARIANT* value) {
  if (!HasDocument()) return E_FAIL;
  if (value == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  return VK_REPORTING_GUARD({
    vk::DomNode field =
        FindBuddyField(vk::WideToLower(vk::TextOrEmpty(account)), vk::TextOrEmpty(name));
    if (!field) return E_FAIL;
    std::optional<std::u16string> text = field.GetAttribute(u"Value");
    VariantInit(value);
    if (text) {
      value->vt = VT_BSTR;
      value->u.bstrVal = SysAllocStringLen(text->data(), static_cast<UINT>(text->size()));
    } else {
      value->vt = VT_NULL;
    }
    return S_OK;
  });
}

// The value goes to the Field element's node value, which an element does not have: a new
// field keeps only its Name, and updating an existing one fails. Values are stored by
// SetBuddyFields.
HRESULT CWEZProfileProStore::SetBuddyField(LPCOLESTR account, LPCOLESTR name, VARIANT value) {
  if (!HasDocument()) return E_FAIL;
  return VK_REPORTING_GUARD({
    const std::u16string lower = vk::WideToLower(vk::TextOrEmpty(account));
    const std::u16string_view text =
        value.vt == VT_BSTR ? vk::TextOrEmpty(value.u.bstrVal) : std::u16string_view();
    if (vk::DomNode field = FindBuddyField(lower, vk::TextOrEmpty(name))) {
      field.SetNodeValue(text);
      return S_OK;
    }
    vk::DomNode root = DocumentElement();
    if (!root) return E_FAIL;
    vk::DomNode buddy = FindOrCreateBuddy(vk::TextOrEmpty(account));
    vk::DomNode field = Document().CreateElement(u"Field");
    field.SetAttribute(u"Name", vk::TextOrEmpty(name));
    try {
      field.SetNodeValue(text);
    } catch (const vk::ComError&) {
      // The result of setting the new field's value is not looked at.
    }
    buddy.AppendChild(field);
    root.AppendChild(buddy);
    MarkDirty();
    return S_OK;
  });
}

HRESULT CWEZProfileProStore::Close() {
  FlushIfDirty();
  return S_OK;
}
