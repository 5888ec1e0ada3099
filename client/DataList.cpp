#include "client/DataList.h"

namespace vk {

DataList::~DataList() {
  for (IDataItem* item : items_) item->Release();
}

HRESULT DataList::Item(LONG index, IDataItem** item) {
  if (item == nullptr) return E_POINTER;
  *item = nullptr;
  if (index < 1 || static_cast<size_t>(index) > items_.size()) return E_INVALIDARG;
  *item = items_[index - 1];
  (*item)->AddRef();
  return S_OK;
}

HRESULT DataList::get_Count(LONG* count) {
  if (count == nullptr) return E_POINTER;
  *count = static_cast<LONG>(items_.size());
  return S_OK;
}

HRESULT DataList::Append(IDataItem* item) {
  if (item == nullptr) return E_POINTER;
  item->AddRef();
  items_.push_back(item);
  return S_OK;
}

HRESULT DataList::Remove(LONG index) {
  if (index < 1 || static_cast<size_t>(index) > items_.size()) return E_INVALIDARG;
  items_[index - 1]->Release();
  items_.erase(items_.begin() + (index - 1));
  return S_OK;
}

}  // namespace vk
