#include "profiles/MobileProfileStore.h"

#include "platform/Assert.h"
#include "platform/ComError.h"
#include "platform/Log.h"
#include "platform/Text.h"
#include "profiles/MobileProfileNames.h"
#include "storage/DomNodeList.h"
#include "storage/FixedField.h"
#include "storage/LeadingDigits.h"

namespace {

const vk::XmlStoreSettings kSettings{
    .file_template =
        u"<?xml version=\"1.0\" encoding=\"GB2312\"?><?Mobile 用户详细资料 ?><Root></Root>",
};
const char16_t kEntry[] = u"ITEM";

void Fill(MobileProfileItem& record, const vk::DomNode& entry) {
  auto text = [&](const char16_t* name) {
    return entry.GetAttribute(name).value_or(std::u16string());
  };
  vk::CopyToField(record.Name, text(u"Name"));
  record.GID = vk::ParseLeadingDigits(entry.GetAttribute(u"GID"));
  vk::CopyToField(record.Number, text(u"Number"));
  vk::CopyToField(record.ZPNO, text(u"ZPNO"));
  vk::CopyToField(record.INFO, text(u"INFO"));
}

}  // namespace

CMobileProfileStore::CMobileProfileStore() : vk::XmlStoreBase(kSettings) {}

// The store keeps no opened flag: it works on whatever document it holds, including the
// template that an opening loaded but could not save.
vk::DomNode CMobileProfileStore::Root() {
  vk::DomNode root = HasDocument() ? Document().DocumentElement() : vk::DomNode();
  if (!root) throw vk::ComError(E_FAIL, u"The mobile profile is not open.");
  return root;
}

HRESULT CMobileProfileStore::Raise(HRESULT status, const std::u16string& description) {
  VK_REPORT_ASSERT();
  return HandOver(status, description);
}

HRESULT CMobileProfileStore::HandOver(HRESULT status, const std::u16string& description) {
  vk::SetErrorDescription(description);
  return status;
}

HRESULT CMobileProfileStore::Initialize(LPCOLESTR path) {
  // Opening drops the previous document even when the new path is refused; the shared
  // opening has already reported its failures.
  HRESULT hr = InitializeStore(path, nullptr);
  names_.Reset();
  if (path == nullptr) return HandOver(E_INVALIDARG, u"The mobile profile needs a file path.");
  if (FAILED(hr)) {
    return HandOver(hr, u"The mobile profile cannot be written to " + std::u16string(path));
  }
  return S_OK;
}

HRESULT CMobileProfileStore::AddItem(MobileProfileItem* item) {
  if (item == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  return VK_REPORTING_GUARD({
    try {
      vk::DomNode root = Root();
      const std::u16string name(vk::FieldText(item->Name));
      std::u16string candidate = name;
      for (int i = 1; names_.Taken(root, candidate); ++i) {
        candidate = name + vk::FromUtf8(std::to_string(i));
      }
      vk::CopyToField(item->Name, candidate);
      vk::DomNode entry = Document().CreateElement(kEntry);
      // The entry is written from the record: the name handed back, cut as the record cut it.
      entry.SetAttribute(u"Name", vk::FieldText(item->Name));
      entry.SetAttribute(u"GID", int64_t{item->GID});
      entry.SetAttribute(u"Number", vk::FieldText(item->Number));
      entry.SetAttribute(u"ZPNO", vk::FieldText(item->ZPNO));
      entry.SetAttribute(u"INFO", vk::FieldText(item->INFO));
      root.AppendChild(entry);
      names_.Appended(entry);
      MarkDirty();
      return S_OK;
    } catch (const vk::ComError& error) {
      VK_REPORT_ASSERT();
      OutputDebugStringW(vk::FormatWide(u"\r\n%s\r\n", error.Description().c_str()).c_str());
      return E_FAIL;
    }
  });
}

HRESULT CMobileProfileStore::DeleteItem(LPCOLESTR name) {
  std::u16string_view wanted = vk::TextOrEmpty(name);
  return VK_REPORTING_GUARD({
    try {
      vk::DomNode root = Root();
      if (!names_.Taken(root, wanted)) {
        return Raise(E_INVALIDARG, u"No mobile profile entry is named " + std::u16string(wanted));
      }
      // Only an exact match goes. A removed node has no siblings left, so the walk ends at
      // the first one; a name that differs only in case passed the test above and stays.
      bool leading = true;
      for (vk::DomNode child = root.FirstChild(); child; child = child.NextSibling()) {
        if (child.IsElement() && vk::EntryName(child) == wanted) {
          names_.Removing(child, leading);
          root.RemoveChild(child);
          break;
        }
        leading = leading && child.IsElement();
      }
      MarkDirty();
      return S_OK;
    } catch (const vk::ComError& error) {
      return Raise(error.Status(), error.Description());
    }
  });
}

HRESULT CMobileProfileStore::GetItem(LPCOLESTR name, MobileProfileItem* item) {
  if (item == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  return VK_QUIET_GUARD({
    // Only A to Z are folded on the stored side; any other character must match the
    // lower-cased name exactly.
    std::u16string xpath =
        u"./ITEM[translate(@Name, '1234567890ABCDEFGHIJKLMNOPQRSTUVWXYZ', "
        u"'1234567890abcdefghijklmnopqrstuvwxyz') = '" +
        vk::WideToLower(vk::TextOrEmpty(name)) + u"']";
    vk::DomNode entry = Root().SelectSingleNode(xpath);
    if (!entry) return E_FAIL;
    Fill(*item, entry);
    return S_OK;
  });
}

HRESULT CMobileProfileStore::GetItemCount(LONG* count) {
  if (count == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  return VK_QUIET_GUARD({
    *count = Root().SelectNodes(u"./ITEM").Length();
    return S_OK;
  });
}

HRESULT CMobileProfileStore::GetItems(MobileProfileItem* items) {
  if (items == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  return VK_QUIET_GUARD({
    // Every leading element child is an entry here, whatever its tag; the records stop at
    // the count the caller sized its array from, so foreign elements cannot overrun it.
    vk::DomNode root = Root();
    long capacity = root.SelectNodes(u"./ITEM").Length();
    long filled = 0;
    for (vk::DomNode child = root.FirstChild(); child.IsElement() && filled < capacity;
         child = child.NextSibling()) {
      Fill(items[filled++], child);
    }
    return S_OK;
  });
}

HRESULT CMobileProfileStore::Close() {
  return CloseStore();
}
