#include "storage/XmlStoreBase.h"

#include <optional>

#include "platform/Assert.h"
#include "platform/ComError.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "storage/FileCreationTime.h"
#include "storage/LeadingDigits.h"

namespace vk {

XmlStoreBase::XmlStoreBase(const XmlStoreSettings& settings)
    : settings_(settings), document_(std::make_unique<DomDocument>()) {}

XmlStoreBase::~XmlStoreBase() {
  CloseStore();
  ReleaseClient();
}

void XmlStoreBase::ReleaseClient() {
  if (client_ != nullptr) client_->Release();
  client_ = nullptr;
}

HRESULT XmlStoreBase::InitializeStore(const OLECHAR* path, IUnknown* client) {
  return VK_REPORTING_GUARD({
    // A store is opened again at every account change: the previous account's document,
    // unsaved changes and client go, and a failed opening leaves the store closed rather
    // than serving (or later writing) the previous account's data under the new path.
    initialized_ = false;
    dirty_ = false;
    path_.clear();
    ReleaseClient();
    document_.reset();
    document_ = std::make_unique<DomDocument>();
    if (path == nullptr) {
      VK_REPORT_ASSERT();
      return E_FAIL;
    }
    path_ = path;
    if (!document_->Load(path_)) {
      // A missing, unreadable or damaged file is replaced by the empty file of its kind;
      // the bytes of a damaged one are kept aside first, so that nothing is lost for good.
      KeepDamagedCopy(path_);
      if (!document_->LoadXml(settings_.file_template)) {
        VK_REPORT_ASSERT();
        return E_FAIL;
      }
      if (!SaveFile()) {
        VK_REPORT_ASSERT();
        return E_FAIL;
      }
    }
    // Without a record, the creation time would be read from the file itself, and every
    // save replaces the file: the expiry period would restart at each save. The time the
    // file system reports now is kept at once.
    if (settings_.keep_creation_time && !HasCreationRecord(path_)) {
      if (std::optional<int64_t> born = GetFileCreationTime(path_)) {
        SetFileCreationTime(path_, *born);
      }
    }
    initialized_ = true;
    if (client != nullptr) {
      void* root = nullptr;
      HRESULT hr = client->QueryInterface(IID_IClientRoot, &root);
      if (hr == E_NOINTERFACE) {
        root = nullptr;
      } else if (FAILED(hr)) {
        throw ComError(hr, u"The client does not answer for its root interface.");
      }
      client_ = static_cast<IClientRoot*>(root);
    }
    return S_OK;
  });
}

HRESULT XmlStoreBase::GetStoreVersion(LONG* version) {
  if (version == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  *version = 0;
  if (!initialized_) return E_FAIL;
  return VK_QUIET_GUARD({
    DomNode node = document_->SelectSingleNode(settings_.version_xpath);
    if (node.IsNull()) return E_FAIL;
    *version = ParseLeadingDigits(node.NodeValue());
    return S_OK;
  });
}

HRESULT XmlStoreBase::SetStoreVersion(LONG version) {
  if (!initialized_) return E_FAIL;
  return VK_QUIET_GUARD({
    DomNode node = document_->SelectSingleNode(settings_.version_xpath);
    if (!node.IsNull()) {
      node.SetNodeValue(FromUtf8(std::to_string(version)));
    } else {
      document_->DocumentElement().SetAttribute(settings_.version_attribute, int64_t{version});
    }
    MarkDirty();
    if (settings_.flush_after_set_version) FlushIfDirty();
    return S_OK;
  });
}

HRESULT XmlStoreBase::CloseStore() {
  if (settings_.close_saves_always) {
    // Nothing to write before a file has been opened.
    if (initialized_) SaveFile();
    dirty_ = false;
  } else {
    FlushIfDirty();
  }
  return S_OK;
}

void XmlStoreBase::FlushIfDirty() {
  if (!dirty_) return;
  dirty_ = false;
  SaveFile();
}

bool XmlStoreBase::SaveFile() {
  HRESULT hr = VK_REPORTING_GUARD({
    if (settings_.create_folders) EnsureDirectory(path_);
    SetFileAttributesNormal(path_);
    std::optional<LockGuard> guard;
    if (settings_.save_under_lock) guard.emplace(lock_);
    bool existed = IsFileExist(path_);
    document_->Save(path_);
    // A file this save created starts its expiry period now.
    if (settings_.keep_creation_time && !existed) {
      SetFileCreationTime(path_, CurrentUnixTime());
    }
    return S_OK;
  });
  return hr == S_OK;
}

void RemoveLeadingElements(DomNode parent) {
  for (DomNode child = parent.FirstChild(); child.IsElement(); child = parent.FirstChild()) {
    parent.RemoveChild(child);
  }
}

void EnsureDirectory(std::u16string_view path) {
  size_t at = path.rfind(kSep);
  if (at == std::u16string_view::npos || at == 0) return;
  std::u16string_view folder = path.substr(0, at);
  if (!CreateFolder(folder)) {
    EnsureDirectory(folder);
    CreateFolder(folder);
  }
}

}  // namespace vk
