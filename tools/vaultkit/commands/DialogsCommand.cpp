#include <cstdio>
#include <filesystem>

#include "platform/Text.h"
#include "tools/vaultkit/cli/Host.h"
#include "tools/vaultkit/cli/Json.h"
#include "tools/vaultkit/cli/SetAside.h"
#include "tools/vaultkit/cli/StoreAccess.h"
#include "tools/vaultkit/cli/Table.h"
#include "tools/vaultkit/commands/Commands.h"

namespace vk::cli {

// dialogs list|add|remove|switches|set|reset on the account's RevertDialog.xml.
class DialogsCommand : public Command {
 public:
  const char* Name() const override { return "dialogs"; }
  const char* Summary() const override { return "dialogs waiting for a reply (RevertDialog.xml)"; }
  const char* Help() const override;
  int Run(Host& host, const Args& args) override;
};

namespace {

// An operation named with the file it works on: every dialog operation loads and saves it.
std::string On(const char* operation) {
  return std::string(Row(StoreId::kRevertDialogs).file) + ": " + operation;
}

// A record field up to its terminator or its end (a value that fills it has none).
template <size_t N>
std::string Field(const OLECHAR (&field)[N]) {
  size_t length = 0;
  while (length < N && field[length] != 0) ++length;
  return ToUtf8(std::u16string_view(field, length));
}

int List(IRevertDialogStore* store, bool json) {
  LONG count = 0;
  if (int status = Report(On("GetDialogCount").c_str(), store->GetDialogCount(&count));
      status != kExitOk) {
    return status;
  }
  std::vector<RevertDialogInfo> records(static_cast<size_t>(count));
  if (count > 0) {
    if (int status = Report(On("GetDialogs").c_str(), store->GetDialogs(records.data(), count));
        status != kExitOk) {
      return status;
    }
  }
  Json all = Json::array();
  Table table({"session", "parameter", "mode", "time", "receiver"});
  for (const RevertDialogInfo& r : records) {
    std::vector<std::string> row = {Field(r.SessionID), Field(r.Parameter), Field(r.Mode),
                                    Field(r.Time), Field(r.Receiver)};
    all.push_back({{"session", row[0]},
                   {"parameter", row[1]},
                   {"mode", row[2]},
                   {"time", row[3]},
                   {"receiver", row[4]}});
    table.Add(row);
  }
  if (json) {
    PrintJson(all);
  } else if (table.Empty()) {
    std::printf("(no dialogs)\n");
  } else {
    table.Print();
  }
  return kExitOk;
}

int Switches(IRevertDialogStore* store, bool json) {
  LONG config = 0, rca = 0, offline = 0;
  int16_t need_flag = 0, already = 0;
  HRESULT need = store->GetIsNeedtoRevert(&need_flag);
  HRESULT done = store->GetRevertalready(&already);
  for (auto [what, hr] : {std::pair{"GetRevertOpenConfig", store->GetRevertOpenConfig(&config)},
                          std::pair{"GetRCARight", store->GetRCARight(&rca)},
                          std::pair{"GetOfflineToOnline", store->GetOfflineToOnline(&offline)}}) {
    if (int status = Report(what, hr); status != kExitOk) return status;
  }
  // The getter reports 1 (and S_OK) when the stored IsNeedtoRevert is "0".
  int stored_need = need == S_OK && need_flag == 1 ? 0 : 1;
  int stored_already = done == S_OK && already == 1 ? 1 : 0;
  if (json) {
    PrintJson({{"revert_open_config", config},
               {"is_need_to_revert", stored_need},
               {"revert_already", stored_already},
               {"rca_right", rca},
               {"offline_to_online", offline}});
    return kExitOk;
  }
  Table table({"switch", "value"});
  table.Add({"RevertOpenConfig", std::to_string(config)});
  table.Add({"IsNeedtoRevert", std::to_string(stored_need) + " (GetIsNeedtoRevert reports " +
                                   std::to_string(need_flag) + ")"});
  table.Add({"Revertalready", std::to_string(stored_already)});
  table.Add({"RCARight", std::to_string(rca)});
  table.Add({"OfflineToOnline", std::to_string(offline)});
  table.Print();
  return kExitOk;
}

int Set(IRevertDialogStore* store, const std::string& name, const std::string& text) {
  int32_t value = ParseInt32(text, "VALUE");
  auto flag = [&] {
    if (value < -32768 || value > 32767) throw UsageError{"VALUE must fit 16 bits"};
    return static_cast<int16_t>(value);
  };
  auto zero_or_one = [&] {
    if (value != 0 && value != 1) throw UsageError{name + " takes 0 or 1"};
    return value == 1;
  };
  if (name == "RevertOpenConfig") {
    return Report(On("SetRevertOpenConfig").c_str(), store->SetRevertOpenConfig(value));
  }
  if (name == "IsNeedtoRevert") {
    return zero_or_one() ? Report(On("SetNeedtoRevert").c_str(), store->SetNeedtoRevert())
                         : Report(On("ClearNeedtoRevert").c_str(), store->ClearNeedtoRevert());
  }
  if (name == "Revertalready") {
    return zero_or_one() ? Report(On("SetRevertalready").c_str(), store->SetRevertalready())
                         : Report(On("ClearRevertalready").c_str(), store->ClearRevertalready());
  }
  if (name == "RCARight") return Report(On("SetRCARight").c_str(), store->SetRCARight(flag()));
  if (name == "OfflineToOnline") {
    return Report(On("SetOfflineToOnline").c_str(), store->SetOfflineToOnline(flag()));
  }
  throw UsageError{"unknown switch " + name + " (see vaultkit dialogs --help)"};
}

}  // namespace

const char* DialogsCommand::Help() const {
  return "usage: vaultkit [--data-root DIR] --account NAME dialogs ACTION [--json]\n"
         "  list                      the dialogs in file order\n"
         "  add SESSION PARAMETER MODE TIME [RECEIVER]\n"
         "                            append a dialog; the same session may be added twice\n"
         "  remove KEY                remove the first dialog whose SessionID, else Receiver,\n"
         "                            is KEY in any letter case; exit 1 when none; an empty\n"
         "                            KEY matches the first dialog without a Receiver\n"
         "  switches                  the five switches as stored; note that the store's\n"
         "                            GetIsNeedtoRevert reports the INVERSE (1 for \"0\")\n"
         "  set SWITCH VALUE          RevertOpenConfig N (any number; at the next start a\n"
         "                            value other than 0, 1 or 2 makes the store recreate\n"
         "                            the file and lose every dialog), IsNeedtoRevert 0|1,\n"
         "                            Revertalready 0|1, RCARight N, OfflineToOnline N\n"
         "                            (these two store 1 for 1 and 0 for anything else;\n"
         "                            OfflineToOnline is reset to 0 at every start)\n"
         "  reset                     replace the file by an empty one\n"
         "reset, and a RevertOpenConfig other than 0, 1 or 2, ask first (--yes: do not ask;\n"
         "--dry-run: only say what would go) and keep a copy as RevertDialog.xml.removed-TIME.\n"
         "Every action loads the file and saves it at once; a file without Dialogroot or im\n"
         "is refused (exit 3) and left as it is.\n";
}

int DialogsCommand::Run(Host& host, const Args& all) {
  Args args = all;
  bool json = args.TakeFlag("--json");
  if (args.empty()) throw UsageError{"dialogs needs an action: list, add, remove, ..."};
  const std::string& action = args[0];
  std::vector<std::string> rest(args.begin() + 1, args.end());
  CheckAction("dialogs", args,
              {{"list", ""},
               {"switches", ""},
               {"add", "A B C D [RECEIVER]"},
               {"remove", "KEY"},
               {"set", "SWITCH VALUE"},
               {"reset", ""}});
  // Emptying the file, or a RevertOpenConfig with which the next start recreates it, loses
  // every dialog: asked first, and the file is copied beside itself.
  const bool loses_all =
      action == "reset" || (action == "set" && rest[0] == "RevertOpenConfig" &&
                            (ParseInt32(rest[1], "VALUE") < 0 || ParseInt32(rest[1], "VALUE") > 2));
  if (loses_all) {
    const std::string file = host.UserFile(StoreId::kRevertDialogs);
    const std::string what = action == "reset" ? "empty RevertDialog.xml"
                                               : "set RevertOpenConfig " + rest[1] +
                                                     ", with which the client's next start "
                                                     "recreates RevertDialog.xml";
    if (!host.Confirm(what + ", losing every dialog in it (a copy is kept as " +
                      "RevertDialog.xml.removed-TIME)")) {
      return kExitOk;
    }
    if (IsRegularFile(file)) {
      SetAside(file, std::filesystem::path(file).parent_path().string(), "RevertDialog.xml");
    }
  }
  ComPtr<IRevertDialogStore> store = OpenRevertDialogs(host);
  // Each change saves the file at once; what the save left behind says whether it worked.
  auto saved = [&](int status) {
    if (status == kExitOk) ConfirmWritten(host, StoreId::kRevertDialogs);
    return status;
  };
  if (action == "list" && rest.empty()) return List(store.get(), json);
  if (action == "switches" && rest.empty()) return Switches(store.get(), json);
  if (action == "add" && (rest.size() == 4 || rest.size() == 5)) {
    std::vector<std::u16string> w;
    for (const auto& a : rest) w.push_back(FromUtf8(a));
    HRESULT hr = rest.size() == 4
                     ? store->AddDialog(w[0].c_str(), w[1].c_str(), w[2].c_str(), w[3].c_str())
                     : store->AddDialogWithReceiver(w[0].c_str(), w[1].c_str(), w[2].c_str(),
                                                    w[3].c_str(), w[4].c_str());
    return saved(Report(On("AddDialog").c_str(), hr));
  }
  if (action == "remove" && rest.size() == 1) {
    std::u16string key = FromUtf8(rest[0]);
    int16_t found = 0;
    HRESULT hr = store->FindDialog(key.c_str(), &found);
    // S_FALSE with the flag 0 is "no match"; S_FALSE alone is a file the store cannot use.
    if (hr == S_FALSE && found == 0) {
      LONG count = 0;
      if (store->GetDialogCount(&count) == S_OK) throw NotFound{"no dialog matches " + rest[0]};
    }
    return saved(Report(On("RemoveDialog").c_str(), store->RemoveDialog(key.c_str())));
  }
  if (action == "set" && rest.size() == 2) return saved(Set(store.get(), rest[0], rest[1]));
  if (action == "reset" && rest.empty())
    return saved(Report(On("ResetFile").c_str(), store->ResetFile()));
  throw UsageError{"unknown or incomplete dialogs action (see vaultkit dialogs --help)"};
}

std::unique_ptr<Command> MakeDialogsCommand() {
  return std::make_unique<DialogsCommand>();
}

}  // namespace vk::cli
