#include "storage/EncipheredStore.h"

#include "platform/Assert.h"
#include "platform/ComError.h"
#include "storage/EncipheredFile.h"

namespace vk {

EncipheredStore::EncipheredStore(const EncipheredStoreSettings& settings) : settings_(settings) {}

EncipheredStore::~EncipheredStore() {
  FlushIfDirty();
}

HRESULT EncipheredStore::OpenFile(const OLECHAR* path) {
  if (!document_) document_ = std::make_unique<DomDocument>();
  if (path == nullptr) throw ComError(E_POINTER, u"No file path was given.");
  path_ = path;
  // What was not written belongs to the previous file.
  dirty_ = false;
  return LoadEncipheredDocument(*document_, path_, settings_.file_template,
                                settings_.repair_companion);
}

DomDocument& EncipheredStore::Document() {
  if (!document_) throw ComError(E_FAIL, u"The store has not been opened.");
  return *document_;
}

void EncipheredStore::FlushIfDirty() {
  if (!dirty_) return;
  dirty_ = false;
  VK_REPORTING_GUARD({
    if (settings_.save_needs_path && path_.empty()) return S_OK;
    SaveEncipheredDocument(Document(), path_);
    return S_OK;
  });
}

}  // namespace vk
