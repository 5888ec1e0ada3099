// What every versioned XML store shares: opening its file or writing its template in its
// place, the version attribute, the dirty flag and when the file is written, and the client
// root it keeps. A store derives from this and from its component interface.
#pragma once

#include <memory>
#include <string>

#include "platform/RecursiveLock.h"
#include "storage/DomDocument.h"
#include "storage/XmlStoreSettings.h"
#include "vaultkit/client.h"

namespace vk {

class XmlStoreBase {
 public:
  explicit XmlStoreBase(const XmlStoreSettings& settings);
  // Writes pending changes (every change, for a store that always saves on close).
  virtual ~XmlStoreBase();
  XmlStoreBase(const XmlStoreBase&) = delete;
  XmlStoreBase& operator=(const XmlStoreBase&) = delete;

 protected:
  // The shared operations, for the stores' interface methods to forward to.
  HRESULT InitializeStore(const OLECHAR* path, IUnknown* client);
  HRESULT GetStoreVersion(LONG* version);
  HRESULT SetStoreVersion(LONG version);
  HRESULT CloseStore();

  // Writes the document to the path; false (with an assertion report) when that fails.
  bool SaveFile();
  void MarkDirty() { dirty_ = true; }
  void FlushIfDirty();

  bool IsInitialized() const { return initialized_; }
  bool IsDirty() const { return dirty_; }
  DomDocument& Document() { return *document_; }
  bool HasDocument() const { return document_ != nullptr; }
  const std::u16string& Path() const { return path_; }
  // May be null: Initialize accepts a missing client.
  IClientRoot* Client() const { return client_; }
  RecursiveLock& Lock() { return lock_; }

 private:
  void ReleaseClient();

  const XmlStoreSettings& settings_;
  bool initialized_ = false;
  bool dirty_ = false;
  std::u16string path_;
  std::unique_ptr<DomDocument> document_;
  IClientRoot* client_ = nullptr;
  RecursiveLock lock_;
};

// Removes parent's children from the first on while the first child is an element; a text
// or comment child ends the removal.
void RemoveLeadingElements(DomNode parent);

// A wide in-string of an interface; null reads as empty.
inline std::u16string_view TextOrEmpty(const OLECHAR* text) {
  return text != nullptr ? std::u16string_view(text) : std::u16string_view();
}

// Creates the file's folder; when that fails, creates its parent the same way and tries once
// more.
void EnsureDirectory(std::u16string_view path);

}  // namespace vk
