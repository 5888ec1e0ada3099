#include "tools/vaultkit/cli/Host.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "client/ModuleSite.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "tools/vaultkit/cli/AccountNames.h"
#include "tools/vaultkit/cli/Command.h"
#include "tools/vaultkit/cli/InstallLayout.h"

namespace vk::cli {
namespace {

// Absolute, without "." or "..", ending in '/'.
std::string FolderPath(const std::string& folder) {
  std::error_code ec;
  auto absolute = std::filesystem::absolute(folder, ec);
  std::string path = ec ? folder : absolute.lexically_normal().string();
  if (path.empty() || path.back() != '/') path += '/';
  return path;
}

std::string Hex(HRESULT hr) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(hr));
  return text;
}

}  // namespace

Host::Host(std::string data_root, std::string account, const std::string& shown_root,
           Consent consent)
    : data_root_(std::move(data_root)), account_(std::move(account)), consent_(consent) {
  CheckDataRoot(data_root_);
  data_root_ = FolderPath(data_root_);
  shown_root_ = shown_root.empty() ? data_root_ : FolderPath(shown_root);
  root_ = new ClientRoot();
  root_->SetDataFolder(FromUtf8(data_root_));
  root_->SetAccount(FromUtf8(account_));
}

void Host::CheckDataRoot(const std::string& data_root) {
  std::error_code ec;
  if (std::filesystem::exists(data_root, ec) && !std::filesystem::is_directory(data_root, ec)) {
    throw UsageError{"--data-root " + data_root + " is not a folder"};
  }
}

std::string Host::Shown(std::string text) const {
  if (shown_root_ == data_root_) return text;
  for (size_t at = text.find(data_root_); at != std::string::npos;
       at = text.find(data_root_, at + shown_root_.size())) {
    text.replace(at, data_root_.size(), shown_root_);
  }
  return text;
}

Host::~Host() {
  if (module_ != nullptr && SUCCEEDED(load_status_)) module_->OnUnload();
  if (stores_ != nullptr) stores_->Release();
  if (module_ != nullptr) module_->Release();
  root_->Release();
}

// Registers the component unless the registry already sends every class's ProgID to the
// library this command uses (a registry written by an older build may lack newer classes).
void Host::EnsureRegistered() {
  static const char16_t* const kProgIds[] = {
      VK_PROGID_STORE_MODULE,        VK_PROGID_WEZ_PROFILE_PRO_STORE,
      VK_PROGID_DEPT_LEADER,         VK_PROGID_KEY_DEPTS,
      VK_PROGID_LOCAL_OFF_MSG_STORE, VK_PROGID_MOBILE_PROFILE_STORE,
      VK_PROGID_OPTION_STORE,        VK_PROGID_PORTAL_STORE,
      VK_PROGID_REVERT_DIALOG_STORE, VK_PROGID_WEZ_GROUP_STORE,
      VK_PROGID_WEZ_ITEM_STORE,      VK_PROGID_WEZ_PROFILE_STORE,
      VK_PROGID_USER_GRID,           VK_PROGID_USER_LIST};
  std::string component = InstallLayout::ComponentPath();
  char registry[4096] = {};
  bool registered = SUCCEEDED(VkRegistryPath(registry, sizeof registry));
  CLSID clsid;
  for (const char16_t* prog_id : kProgIds) {
    registered = registered && SUCCEEDED(CLSIDFromProgID(prog_id, &clsid));
  }
  if (registered) {
    std::ifstream in(registry);
    std::stringstream text;
    text << in.rdbuf();
    registered = text.str().find(component) != std::string::npos;
  }
  if (registered) return;
  void* library = dlopen(component.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    throw Failure{"cannot load the component " + component + ": " + dlerror()};
  }
  auto reg = reinterpret_cast<PFN_DllRegisterServer>(dlsym(library, "DllRegisterServer"));
  if (reg == nullptr) throw Failure{component + " exports no DllRegisterServer"};
  reg();
}

void Host::ClaimAccountFirst(std::chrono::milliseconds wait) {
  claim_first_ = true;
  wait_ = wait;
}

void Host::RequireAccount(const std::string& data_root, const std::string& hint) {
  required_in_ = data_root;
  required_hint_ = hint;
}

void Host::Ready() {
  if (ready_) return;
  std::error_code ec;
  if (HasAccount() && !required_in_.empty() &&
      !std::filesystem::is_directory(std::filesystem::path(required_in_) / "Accounts" / account_,
                                     ec)) {
    throw NotFound{"no account '" + account_ + "' under " + required_in_ +
                   "/Accounts; accounts: " + AccountList(required_in_) + required_hint_};
  }
  ready_ = true;
  // Created private, like every folder the component makes in it.
  if (!CreateFolders(FromUtf8(data_root_))) {
    throw Failure{"cannot create the data root " + data_root_ + ": " + std::strerror(errno)};
  }
  setenv("VAULTKIT_DATA_ROOT", data_root_.c_str(), 1);
  // Where this run's lines of the client log begin.
  log_start_ = std::filesystem::file_size(data_root_ + "vaultkit.log", ec);
  if (ec) log_start_ = 0;
  if (claim_first_) ClaimAccount();
  Load();
  // What the load and the account change left in the thread's error object is theirs: a
  // command's operation reports only what it left itself.
  SetErrorInfo(0, nullptr);
}

void Host::ClaimAccount() {
  if (!HasAccount()) return;
  const std::string folder = data_root_ + "Accounts/" + account_;
  if (!CreateFolders(FromUtf8(folder))) {
    throw Failure{"cannot create the account folder " + folder + ": " + std::strerror(errno)};
  }
  const std::string lock = folder + "/" + kAccountLockFile;
  if (account_lock_.Take(lock, wait_)) {
    account_lock_.RecordHolder();
    return;
  }
  if (errno != EWOULDBLOCK) throw Failure{"cannot lock " + lock + ": " + std::strerror(errno)};
  const pid_t holder = FileLock::RecordedHolder(lock);
  throw Failure{
      "the account '" + account_ + "' is in use by " +
      (holder > 0 ? "process " + std::to_string(holder) : std::string("another process")) +
      "; nothing was changed"};
}

void Host::Load() {
  EnsureRegistered();
  CLSID clsid;
  HRESULT hr = CLSIDFromProgID(VK_PROGID_STORE_MODULE, &clsid);
  if (SUCCEEDED(hr)) {
    hr = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IClientModule,
                          reinterpret_cast<void**>(&module_));
  }
  if (FAILED(hr) || module_ == nullptr) {
    throw Failure{"cannot create Vaultkit.StoreModule: " + Hex(hr)};
  }
  module_->QueryInterface(IID_IWEZStore, reinterpret_cast<void**>(&stores_));
  auto* site = new ModuleSite(root_);
  load_status_ = module_->OnLoad(static_cast<IModuleSite*>(site));
  site->Release();
  if (HasAccount()) account_status_ = module_->OnAccountChange();
}

std::u16string Host::AccountFile(const std::string& relative) {
  if (!HasAccount()) throw UsageError{"this command needs --account NAME"};
  if (!IsPlainName(FromUtf8(account_))) {
    throw UsageError{"'" + account_ + "' is not an account name"};
  }
  Ready();
  return FromUtf8(data_root_ + "Accounts/" + account_ + "/" + relative);
}

std::string Host::UserFile(StoreId id) const {
  if (!HasAccount()) throw UsageError{"this command needs --account NAME"};
  return data_root_ + "Accounts/" + account_ + "/" + Row(id).file;
}

IUnknown* Host::CreateByProgId(const char16_t* prog_id, REFIID riid) {
  Ready();
  CLSID clsid;
  void* object = nullptr;
  if (FAILED(CLSIDFromProgID(prog_id, &clsid)) ||
      FAILED(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, riid, &object))) {
    return nullptr;
  }
  return static_cast<IUnknown*>(object);
}

IUnknown* Host::Store(StoreId id, const std::u16string& path, HRESULT* opened) {
  Ready();
  const StoreRow& row = Row(id);
  IUnknown* store = nullptr;
  if (stores_ != nullptr && OpenedFile(id) == path &&
      SUCCEEDED(row.get(stores_, row.kind, &store)) && store != nullptr) {
    return store;
  }
  store = CreateByProgId(row.prog_id, *row.iid);
  if (store == nullptr) return nullptr;
  *opened = row.open(store, path.c_str(), static_cast<IClientRoot*>(root_), row.kind);
  if (FAILED(*opened)) {
    store->Release();
    return nullptr;
  }
  SetErrorInfo(0, nullptr);  // the opening's own notes are not the next operation's failure
  return store;
}

std::u16string Host::OpenedFile(StoreId id) {
  Ready();
  IModuleDiagnostics* diagnostics = nullptr;
  if (module_ == nullptr || FAILED(module_->QueryInterface(
                                IID_IModuleDiagnostics, reinterpret_cast<void**>(&diagnostics)))) {
    return u"";
  }
  // The module's diagnostic rows are the catalogue's, in its order.
  BSTR path = nullptr;
  diagnostics->GetStoreInfo(static_cast<LONG>(id), nullptr, nullptr, &path);
  std::u16string file = path == nullptr ? u"" : path;
  SysFreeString(path);
  diagnostics->Release();
  return file;
}

}  // namespace vk::cli
