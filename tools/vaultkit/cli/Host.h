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
#include "tools/vaultkit/cli/Consent.h"
#include "vaultkit/vaultkit.h"

namespace vk::cli {

// Nothing is created, claimed or loaded until a command first asks for a store, a file of the
// account or the module: a command line that turns out to be wrong leaves no trace.
class Host {
 public:
  // `account` empty: the default account folder only, no account change. `shown_root`: the
  // data root the user named, when the component runs on a copy of it.
  Host(std::string data_root, std::string account, const std::string& shown_root = "",
       Consent consent = {});
  ~Host();
  // Throws UsageError when something other than a folder stands at `data_root`.
  static void CheckDataRoot(const std::string& data_root);
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  // Owns the account for this run before the component is loaded, waiting up to `wait` for
  // another process that owns it; the loading throws Failure naming that process when it
  // still does.
  void ClaimAccountFirst(std::chrono::milliseconds wait);
  // The account folder must already be under `data_root` (the one the user named) when the
  // component is loaded; otherwise the loading throws NotFound, naming the accounts there
  // are and adding `hint`. Checked at the load so that a wrong command line is told first.
  void RequireAccount(const std::string& data_root, const std::string& hint);
  HRESULT LoadStatus() { return Ready(), load_status_; }
  HRESULT AccountStatus() { return Ready(), account_status_; }

  IClientModule* Module() { return Ready(), module_; }
  IWEZStore* Stores() { return Ready(), stores_; }
  // The root object, set up before the load (a command may choose its language first).
  ClientRoot* Root() const { return root_; }
  // Whether a command that deletes or replaces data may go on with `what`; see Consent.
  bool Confirm(const std::string& what) const { return consent_.Confirm(what); }
  bool DryRun() const { return consent_.dry_run; }
  const std::string& DataRoot() const { return data_root_; }
  // `text` with the data root the component runs on replaced by the one the user named.
  std::string Shown(std::string text) const;
  // The size vaultkit.log had before this run: its later lines are this run's.
  uintmax_t LogStart() { return Ready(), log_start_; }
  const std::string& Account() const { return account_; }
  bool HasAccount() const { return !account_.empty(); }
  // data root + "Accounts/<account>/<relative>"; throws UsageError without an account.
  std::u16string AccountFile(const std::string& relative);
  // The file of the store's row in the account folder.
  std::u16string AccountFile(StoreId id) { return AccountFile(Row(id).file); }

  // The row's file in the account folder as the user has it, before anything is loaded: what
  // a command copies aside before it lets the store replace it. Throws UsageError without an
  // account.
  std::string UserFile(StoreId id) const;

  // The row's store on `path`, as the interface the row names, with a reference for the
  // caller: the module's own while it has the store open on that very file; otherwise (its
  // load or account change stopped before it) one created by the row's ProgID and opened on
  // `path` as the module opens it. Null when neither works; *opened then holds the opening's
  // failure, if it got that far.
  IUnknown* Store(StoreId id, const std::u16string& path, HRESULT* opened);
  // The file the module has the row's store open on; empty when none.
  std::u16string OpenedFile(StoreId id);

  IUnknown* CreateByProgId(const char16_t* prog_id, REFIID riid);

  // Creates the data root, claims the account when asked to, registers, creates the module
  // and runs OnLoad and (with an account) OnAccountChange, once. Throws Failure when the
  // component cannot be reached at all. Every accessor of the component calls it.
  void Ready();

 private:
  void ClaimAccount();
  void Load();
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
  Consent consent_;
  bool ready_ = false;
  bool claim_first_ = false;
  std::string required_in_;  // the data root the account must exist in; empty: no check
  std::string required_hint_;
  std::chrono::milliseconds wait_{0};
  FileLock account_lock_;  // held until the module has unloaded and written its stores
};

}  // namespace vk::cli
