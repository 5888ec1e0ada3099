// Named items, each a set of fields with a text id and a text value, in the account's
// "WEZExtBuddy.xml" (the external buddies). Changes stay in memory until Close; an empty path
// keeps the store in memory only.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "runtime/ComObject.h"
#include "storage/DomDocument.h"
#include "vaultkit/IWEZItemStore.h"

class CWEZItemStore : public vk::ComObject<IWEZItemStore> {
 public:
  CWEZItemStore() = default;
  // Writes pending changes, as Close does.
  ~CWEZItemStore() override;

  HRESULT Initialize(BSTR path) override;
  HRESULT SetItemFields(LPCOLESTR name, const ItemField* fields, LONG count) override;
  HRESULT DeleteItem(LPCOLESTR name) override;
  HRESULT DeleteItemFields(LPCOLESTR name, const ItemField* fields, LONG count) override;
  HRESULT GetItemCount(LONG* count) override;
  HRESULT GetItemFieldCount(LPCOLESTR name, LONG* count) override;
  HRESULT GetItemNames(ItemField* items) override;
  HRESULT GetItemFields(LPCOLESTR name, ItemField* fields, LONG* count) override;
  HRESULT ExportToFile(LPCOLESTR path) override;
  HRESULT MergeIntoFile(LPCOLESTR path) override;
  HRESULT GetItemFieldList(LPCOLESTR name, VARIANT* values) override;
  HRESULT FindItemByFieldValue(LPCOLESTR text, BSTR* name) override;
  HRESULT Close() override;

 private:
  struct Field {
    std::u16string id, value;
  };

  // The open document; operations before Initialize find none and fail through their guard.
  vk::DomDocument& Document();
  // Nothing to do on an empty path; a failing write throws for the operation's guard.
  void SaveFile();
  void FlushIfDirty();
  // What GetItemNames and GetItemFields hand out, never more records than the matching
  // count operation announces, since the caller sized the array from it.
  std::vector<std::u16string> ItemNames();
  std::vector<Field> ItemFields(std::u16string_view name);
  HRESULT CopyInto(LPCOLESTR path, bool create_missing);

  std::unique_ptr<vk::DomDocument> document_;
  std::u16string path_;
  bool dirty_ = false;
};
