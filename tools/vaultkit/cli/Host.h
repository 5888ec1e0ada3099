// The vaultkit command as the component's client: registers the component when needed,
// creates the module by its ProgID, plays the root object and site, and hands the
// subcommands their stores.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "client/ClientRoot.h"
#include "platform/FileLock.h"
#include "vaultkit/vaultkit.h"

namespace vk::cli {

class Host {
 public:
  // `account` empty: the default account folder only, no account change.
  Host(std::string data_root, std::string account);
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  // Owns the account for this run before the component is loaded, waiting up to `wait` for
  // another process that owns it; throws Failure naming that process when it still does.
  void ClaimAccount(std::chrono::milliseconds wait);
  // Registers, creates the module and runs OnLoad and (with an account) OnAccountChange.
  // Throws Failure when the component cannot be reached at all.
  void Load();
  HRESULT LoadStatus() const { return load_status_; }
  HRESULT AccountStatus() const { return account_status_; }

  IClientModule* Module() const { return module_; }
  IWEZStore* Stores() const { return stores_; }
  ClientRoot* Root() const { return root_; }
  const std::string& DataRoot() const { return data_root_; }
  // The size vaultkit.log had before this run: its later lines are this run's.
  uintmax_t LogStart() const { return log_start_; }
  const std::string& Account() const { return account_; }
  bool HasAccount() const { return !account_.empty(); }
  // data root + "Accounts/<account>/<relative>"; throws UsageError without an account.
  std::u16string AccountFile(const std::string& relative) const;

  // A store reached through the module. While the module has not opened it (its load or
  // account change stopped before it), the store is created by its ProgID and opened on
  // its file (`open` does that). `row` names the store in the module's diagnostics.
  template <typename I, typename Get, typename Open>
  I* Store(const char16_t* row, Get get, const char16_t* prog_id, Open open);
  // The file the module has the store of diagnostics row `row` open on; empty when none.
  std::u16string OpenedFile(const char16_t* row) const;

  IUnknown* CreateByProgId(const char16_t* prog_id, REFIID riid);

 private:
  void EnsureRegistered();

  std::string data_root_;
  std::string account_;
  ClientRoot* root_ = nullptr;
  IClientModule* module_ = nullptr;
  IWEZStore* stores_ = nullptr;
  HRESULT load_status_ = E_FAIL;
  HRESULT account_status_ = S_FALSE;
  uintmax_t log_start_ = 0;
  FileLock account_lock_;  // held until the module has unloaded and written its stores
};

template <typename I, typename Get, typename Open>
I* Host::Store(const char16_t* row, Get get, const char16_t* prog_id, Open open) {
  I* store = nullptr;
  if (stores_ != nullptr && !OpenedFile(row).empty() && SUCCEEDED(get(stores_, &store)) &&
      store != nullptr) {
    return store;
  }
  store = static_cast<I*>(CreateByProgId(prog_id, InterfaceId<I>::Get()));
  if (store != nullptr && FAILED(open(store))) {
    store->Release();
    store = nullptr;
  }
  return store;
}

}  // namespace vk::cli
