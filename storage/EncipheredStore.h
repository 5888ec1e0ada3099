// What the two enciphered profile stores share: the document (created by the first opening
// and reused by every later one), the file path, the dirty flag, and writing the enciphered
// file when the flag is set. A store derives from this and from its component interface.
#pragma once

#include <memory>
#include <string>

#include "storage/DomDocument.h"
#include "vaultkit/vkcom.h"

namespace vk {

struct EncipheredStoreSettings {
  // The complete text of an empty file of the store's kind.
  const char16_t* file_template = nullptr;
  // A plain companion that does not parse has its control bytes replaced and is read again.
  bool repair_companion = false;
  // A store that has no path (never opened, or opened on "") writes nothing.
  bool save_needs_path = false;
};

class EncipheredStore {
 public:
  explicit EncipheredStore(const EncipheredStoreSettings& settings);
  // Writes pending changes.
  virtual ~EncipheredStore();
  EncipheredStore(const EncipheredStore&) = delete;
  EncipheredStore& operator=(const EncipheredStore&) = delete;

 protected:
  // Creates the document when there is none yet, keeps the path and reads the file, dropping
  // changes not yet written. Throws ComError for a null path, leaving the store as it was.
  HRESULT OpenFile(const OLECHAR* path);
  bool HasDocument() const { return document_ != nullptr; }
  // Throws ComError before the first opening.
  DomDocument& Document();
  DomNode DocumentElement() { return Document().DocumentElement(); }
  void MarkDirty() { dirty_ = true; }
  // Clears the flag and writes the file when it was set; a failed write is reported and the
  // change stays only in memory.
  void FlushIfDirty();
  const std::u16string& Path() const { return path_; }

 private:
  const EncipheredStoreSettings& settings_;
  std::unique_ptr<DomDocument> document_;
  std::u16string path_;
  bool dirty_ = false;
};

}  // namespace vk
