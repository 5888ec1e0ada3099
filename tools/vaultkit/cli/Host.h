// The vaultkit command as the component's client: registers the component when needed,
// creates the module by its ProgID, plays the root object and site, and hands the
// subcommands their stores.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "client/ClientRoot.h"
#include "module/StoreCatalog.h"
#include "platform/FileLock.h"
#include "vaultkit/vaultkit.h"

namespace vk::cli {

class Host {
 public:
  // `account` empty: the default account folder only, no account change. `shown_root`: the
  // data root the user named, when the component runs on a copy of it.
  Host(std::string data_root, std::string account, const std::string& shown_root = "");
  ~Host();
  // Throws UsageError when something other than a folder stands at `data_root`.
  static void CheckDataRoot(const std::string& data_root);
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
  // `text` with the data root the component runs on replaced by the one the user named.
  std::string Shown(std::string text) const;
  // The size vaultkit.log had before this run: its later lines are this run's.
  uintmax_t LogStart() const { return log_start_; }
  const std::string& Account() const { return account_; }
  bool HasAccount() const { return !account_.empty(); }
  // data root + "Accounts/<account>/<relative>"; throws UsageError without an account.
  std::u16string AccountFile(const std::string& relative) const;
  // The file of the store's row in the account folder.
  std::u16string AccountFile(StoreId id) const { return AccountFile(Row(id).file); }

  // The row's store on `path`, as the interface the row names, with a reference for the
  // caller: the module's own while it has the store open on that very file; otherwise (its
  // load or account change stopped before it) one created by the row's ProgID and opened on
  // `path` as the module opens it. Null when neither works; *opened then holds the opening's
  // failure, if it got that far.
  IUnknown* Store(StoreId id, const std::u16string& path, HRESULT* opened);
  // The file the module has the row's store open on; empty when none.
  std::u16string OpenedFile(StoreId id) const;

  IUnknown* CreateByProgId(const char16_t* prog_id, REFIID riid);

 private:
  void EnsureRegistered();

  std::string data_root_;
  std::string shown_root_;
  std::string account_;
  ClientRoot* root_ = nullptr;
  IClientModule* module_ = nullptr;
  IWEZStore* stores_ = nullptr;
  HRESULT load_status_ = E_FAIL;
  HRESULT account_status_ = S_FALSE;
  uintmax_t log_start_ = 0;
  FileLock account_lock_;  // held until the module has unloaded and written its stores
};

}  // namespace vk::cli
