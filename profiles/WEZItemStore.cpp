#include "profiles/WEZItemStore.h"

#include "platform/Assert.h"
#include "platform/ComError.h"
#include "platform/Files.h"
#include "profiles/ItemXPath.h"
#include "storage/FixedField.h"
#include "storage/XmlStoreBase.h"

namespace {

const char16_t kTemplate[] =
    u"<?xml version=\"1.0\" encoding=\"GB2312\"?><?WEZ 用户详细资料 ?><Root></Root>";
const char16_t kItem[] = u"Item";
const char16_t kField[] = u"Field";
const char16_t kName[] = u"Name";
const char16_t kId[] = u"id";
const char16_t kAllItems[] = u"/Root//Item";

// What a record's 256-unit field carries of a text.
std::u16string_view RecordText(std::u16string_view text) {
  return text.substr(0, std::size(ItemField{}.value) - 1);
}

// An attribute that is absent reads as empty, as a missing name or id always has.
std::u16string AttributeOf(const vk::DomNode& node, const char16_t* name) {
  if (!node.IsElement()) return {};
  return node.GetAttribute(name).value_or(std::u16string());
}

// Copies every item of the source into the target: a missing item is appended and the
// target written at once, a missing field is added with the source's value, and a field the
// target already has keeps its value.
void CopyItems(vk::DomDocument& source, vk::DomDocument& target, std::u16string_view path) {
  vk::DomNode target_root = target.DocumentElement();
  for (vk::DomNode item = source.DocumentElement().FirstChild(); item; item = item.NextSibling()) {
    std::u16string name = AttributeOf(item, kName);
    if (name.empty()) continue;
    vk::DomNode copy = target_root.SelectSingleNode(vk::ItemXPath(name));
    if (!copy) {
      copy = target.CreateElement(kItem);
      copy.SetAttribute(kName, name);
      target_root.AppendChild(copy);
      target.Save(path);
    }
    for (vk::DomNode field = item.FirstChild(); field; field = field.NextSibling()) {
      std::u16string id = AttributeOf(field, kId);
      if (id.empty()) continue;
      if (target_root.SelectSingleNode(vk::FieldXPath(name, id))) continue;
      vk::DomNode added = target.CreateElement(kField);
      added.SetAttribute(kId, id);
      added.SetText(field.Text());
      copy.AppendChild(added);
    }
  }
  target.Save(path);
}

}  // namespace

CWEZItemStore::~CWEZItemStore() {
  VK_REPORTING_GUARD({
    FlushIfDirty();
    return S_OK;
  });
}

vk::DomDocument& CWEZItemStore::Document() {
  if (!document_) throw vk::ComError(E_POINTER, u"The item store has not been initialised.");
  return *document_;
}

void CWEZItemStore::SaveFile() {
  if (path_.empty()) return;
  vk::SetFileAttributesNormal(path_);
  Document().Save(path_);
}

void CWEZItemStore::FlushIfDirty() {
  if (!dirty_) return;
  dirty_ = false;
  SaveFile();
}

HRESULT CWEZItemStore::Initialize(BSTR path) {
  return VK_REPORTING_GUARD({
    // The previous account's document and unsaved changes go with it.
    if (!document_) document_ = std::make_unique<vk::DomDocument>();
    dirty_ = false;
    path_ = vk::TextOrEmpty(path);
    if (document_->Load(path_)) return S_OK;
    vk::KeepDamagedCopy(path_);  // the template replaces it: its bytes are kept aside first
    if (!document_->LoadXml(kTemplate)) return E_FAIL;
    SaveFile();
    vk::ReportAtLine(u"vorlik:initialize itemstore", __FILE__, __LINE__);
    return S_OK;
  });
}

HRESULT CWEZItemStore::SetItemFields(LPCOLESTR name, const ItemField* fields, LONG count) {
  dirty_ = true;  // even when nothing changes
  return VK_REPORTING_GUARD({
    std::u16string item_name(vk::TextOrEmpty(name));
    vk::DomNode root = Document().DocumentElement();
    if (!vk::SelectThroughBuffer(root, vk::ItemXPath(item_name))) {
      vk::DomNode item = Document().CreateElement(kItem);
      item.SetAttribute(kName, item_name);
      root.AppendChild(item);
    }
    if (count > 0 && fields == nullptr) throw vk::ComError(E_POINTER, u"No field records.");
    for (LONG i = 0; i < count; ++i) {
      std::u16string_view id = vk::FieldText(fields[i].id);
      if (id.empty()) continue;
      // A name that does not fit the expression finds no item: the fields have nowhere to go.
      vk::DomNode item = vk::SelectThroughBuffer(root, vk::ItemXPath(item_name));
      if (!item) continue;
      vk::DomNode field = vk::SelectThroughBuffer(root, vk::FieldXPath(item_name, id));
      if (!field) {
        field = Document().CreateElement(kField);
        field.SetAttribute(kId, id);
        item.AppendChild(field);
      }
      field.SetText(vk::FieldText(fields[i].value));
    }
    return S_OK;
  });
}

HRESULT CWEZItemStore::DeleteItem(LPCOLESTR name) {
  dirty_ = true;
  return VK_REPORTING_GUARD({
    vk::DomNode root = Document().DocumentElement();
    vk::DomNode item = vk::SelectThroughBuffer(root, vk::ItemXPath(vk::TextOrEmpty(name)));
    if (item) root.RemoveChild(item);
    return S_OK;
  });
}

HRESULT CWEZItemStore::DeleteItemFields(LPCOLESTR name, const ItemField* fields, LONG count) {
  dirty_ = true;
  return VK_REPORTING_GUARD({
    std::u16string_view item_name = vk::TextOrEmpty(name);
    vk::DomNode root = Document().DocumentElement();
    vk::DomNode item = root.SelectSingleNode(vk::ItemXPath(item_name));
    if (!item) return S_OK;
    if (count > 0 && fields == nullptr) throw vk::ComError(E_POINTER, u"No field records.");
    for (LONG i = 0; i < count; ++i) {
      vk::DomNode field =
          root.SelectSingleNode(vk::FieldXPath(item_name, vk::FieldText(fields[i].id)));
      if (field) item.RemoveChild(field);
    }
    return S_OK;
  });
}

HRESULT CWEZItemStore::GetItemCount(LONG* count) {
  if (count == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  return VK_REPORTING_GUARD({
    *count = Document().SelectNodes(kAllItems).Length();
    return S_OK;
  });
}

HRESULT CWEZItemStore::GetItemFieldCount(LPCOLESTR name, LONG* count) {
  if (count == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  return VK_REPORTING_GUARD({
    *count = vk::CountThroughBuffer(Document().DocumentElement(),
                                    vk::ItemFieldsXPath(vk::TextOrEmpty(name)));
    return S_OK;
  });
}

std::vector<std::u16string> CWEZItemStore::ItemNames() {
  vk::DomNode root = Document().DocumentElement();
  long capacity = Document().SelectNodes(kAllItems).Length();
  std::vector<std::u16string> names;
  for (vk::DomNode child = root.FirstChild(); child && static_cast<long>(names.size()) < capacity;
       child = child.NextSibling()) {
    std::u16string name = AttributeOf(child, kName);
    if (!name.empty()) names.push_back(std::move(name));
  }
  return names;
}

std::vector<CWEZItemStore::Field> CWEZItemStore::ItemFields(std::u16string_view name) {
  vk::DomNode root = Document().DocumentElement();
  long capacity = vk::CountThroughBuffer(root, vk::ItemFieldsXPath(name));
  std::vector<Field> fields;
  vk::DomNode item = vk::SelectThroughBuffer(root, vk::ItemXPath(name));
  if (!item) return fields;
  for (vk::DomNode child = item.FirstChild(); child && static_cast<long>(fields.size()) < capacity;
       child = child.NextSibling()) {
    std::u16string id = AttributeOf(child, kId);
    if (!id.empty()) fields.push_back({std::move(id), child.Text()});
  }
  return fields;
}

HRESULT CWEZItemStore::GetItemNames(ItemField* items) {
  if (items == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  return VK_REPORTING_GUARD({
    ItemField* record = items;
    for (const std::u16string& name : ItemNames()) {
      vk::CopyToField(record->id, kName);
      vk::CopyToField(record->value, name);
      ++record;
    }
    return S_OK;
  });
}

HRESULT CWEZItemStore::GetItemFields(LPCOLESTR name, ItemField* fields, LONG* count) {
  if (fields == nullptr || count == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  return VK_REPORTING_GUARD({
    *count = 0;
    for (const Field& field : ItemFields(vk::TextOrEmpty(name))) {
      vk::CopyToField(fields[*count].id, field.id);
      vk::CopyToField(fields[*count].value, field.value);
      ++*count;
    }
    return S_OK;
  });
}

HRESULT CWEZItemStore::CopyInto(LPCOLESTR path, bool create_missing) {
  return VK_REPORTING_GUARD({
    vk::DomDocument& source = Document();
    std::u16string target_path(vk::TextOrEmpty(path));
    vk::DomDocument target;
    if (!target.Load(target_path)) {
      if (!create_missing) {
        vk::SetErrorDescription(target_path + u": not an item file that can be read");
        return E_FAIL;
      }
      vk::KeepDamagedCopy(target_path);
      if (!target.LoadXml(kTemplate)) return E_FAIL;
      vk::SetFileAttributesNormal(target_path);
      target.Save(target_path);
    }
    CopyItems(source, target, target_path);
    return S_OK;
  });
}

HRESULT CWEZItemStore::ExportToFile(LPCOLESTR path) {
  return CopyInto(path, true);
}

HRESULT CWEZItemStore::MergeIntoFile(LPCOLESTR path) {
  return CopyInto(path, false);
}

HRESULT CWEZItemStore::GetItemFieldList(LPCOLESTR name, VARIANT* values) {
  if (values == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  return VK_REPORTING_GUARD({
    std::vector<Field> fields = ItemFields(vk::TextOrEmpty(name));
    if (fields.empty()) return S_OK;  // the variant is left as it was
    SAFEARRAY* array = SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(fields.size()));
    if (array == nullptr) throw vk::ComError(E_OUTOFMEMORY, u"Cannot create the array.");
    for (LONG i = 0; i < static_cast<LONG>(fields.size()); ++i) {
      // Values are handed out as the records carry them.
      std::u16string text(RecordText(fields[i].value));
      BSTR value = SysAllocString(text.c_str());
      HRESULT hr = SafeArrayPutElement(array, &i, value);
      SysFreeString(value);
      if (FAILED(hr)) {
        SafeArrayDestroy(array);
        throw vk::ComError(hr, u"Cannot fill the array.");
      }
    }
    values->vt = VT_ARRAY | VT_BSTR;
    values->u.parray = array;
    return S_OK;
  });
}

HRESULT CWEZItemStore::FindItemByFieldValue(LPCOLESTR text, BSTR* name) {
  if (name == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  *name = SysAllocString(u"");
  return VK_REPORTING_GUARD({
    std::u16string_view wanted = vk::TextOrEmpty(text);
    // Names and values are used as the records carry them.
    for (const std::u16string& item : ItemNames()) {
      std::u16string item_name(RecordText(item));
      for (const Field& field : ItemFields(item_name)) {
        // An ordering, not an equality: the first value not below the text matches.
        if (wanted <= RecordText(field.value)) {
          SysFreeString(*name);
          *name = SysAllocString(item_name.c_str());
          return S_OK;
        }
      }
    }
    return S_OK;
  });
}

HRESULT CWEZItemStore::Close() {
  // A failed write is reported by the guard; the change stays in memory only.
  VK_REPORTING_GUARD({
    FlushIfDirty();
    return S_OK;
  });
  return S_OK;
}
