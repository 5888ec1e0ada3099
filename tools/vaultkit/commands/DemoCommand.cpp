#include <cstdio>
#include <fstream>
#include <iterator>

#include "platform/Files.h"
#include "platform/Text.h"
#include "tools/vaultkit/cli/Host.h"
#include "tools/vaultkit/cli/InstallLayout.h"
#include "tools/vaultkit/cli/StoreAccess.h"
#include "tools/vaultkit/commands/Commands.h"

namespace vk::cli {

// A scripted tour of everything the component offers, on ./demo-data and account "alice"
// unless told otherwise; it prints each step as the command line that does the same.
class DemoCommand : public Command {
 public:
  const char* Name() const override { return "demo"; }
  const char* Summary() const override { return "a scripted tour on ./demo-data"; }
  const char* Help() const override;
  int Run(Host& host, const Args& args) override;
  // It builds its account: the tour is the point.
  bool Writes(const std::vector<std::string>&) const override { return true; }

 private:
  int Step(Host& host, const std::string& command, std::vector<std::string> args);
};

namespace {

uint64_t g_fake_now = 0;
uint64_t FakeClock(void*) {
  return g_fake_now;
}

void Banner(const char* text) {
  std::printf("\n== %s ==\n", text);
}

void ShowBytes(const std::string& path, size_t limit) {
  std::ifstream in(path, std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  std::printf("%s: %zu bytes:", path.c_str(), bytes.size());
  for (size_t i = 0; i < bytes.size() && i < limit; ++i) {
    std::printf(" %02X", static_cast<unsigned char>(bytes[i]));
  }
  std::printf(bytes.size() > limit ? " ...\n" : "\n");
}

void ShowText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  std::printf("  %s\n", bytes.empty() ? "(empty)" : vk::ToUtf8(vk::FromAnsi(bytes)).c_str());
}

}  // namespace

const char* DemoCommand::Help() const {
  return "usage: vaultkit [--data-root DIR] [--account NAME] demo\n"
         "Walks through every store the component offers, on ./demo-data and the account\n"
         "\"alice\" unless --data-root and --account say otherwise, printing each step as the\n"
         "vaultkit command line that does the same.\n";
}

int DemoCommand::Step(Host& host, const std::string& command, std::vector<std::string> args) {
  std::string line = "vaultkit --data-root " + host.DataRoot() +
                     (host.HasAccount() ? " --account " + host.Account() : "") + " " + command;
  for (const auto& a : args) line += " " + a;
  std::printf("\n$ %s\n", line.c_str());
  std::fflush(stdout);
  for (auto& c : AllCommands()) {
    if (command != c->Name()) continue;
    int status = kExitOk;
    try {
      status = c->Run(host, Args(args, args.size()));
    } catch (const NotFound& e) {
      std::printf("vaultkit: %s\n", e.message.c_str());
      status = kExitNotFound;
    } catch (const Failure& e) {
      std::printf("vaultkit: %s\n", e.message.c_str());
      status = kExitFailed;
    }
    std::fflush(stdout);
    return status;
  }
  return kExitUsage;
}

int DemoCommand::Run(Host& host, const Args& args) {
  if (!args.empty()) throw UsageError{"demo takes no arguments"};
  int failures = 0;
  // The status shows a failed load as it is (while store classes are missing) without
  // failing the tour.
  auto step = [&](const std::string& command, std::vector<std::string> a) {
    if (Step(host, command, std::move(a)) != kExitOk && command != "status") ++failures;
  };

  Banner("The module, loaded as the client loads it");
  step("status", {});

  Banner("Options: the global wez.cfg and the account's User.cfg");
  step("options", {"set", "LastLogin", host.HasAccount() ? host.Account() : "nobody"});
  step("options", {"set", "AutoLogin", "1"});
  step("options", {"get", "AutoLogin"});
  step("options", {"set-struct", "WindowPos", "0A0014001E002800"});
  step("options", {"get-struct", "WindowPos", "8"});
  step("options", {"list"});
  if (host.HasAccount()) {
    step("options", {"--user", "set", "FontSize", "12"});
    step("options", {"--user", "list"});
    ShowBytes(host.DataRoot() + "Accounts/" + host.Account() + "/User.cfg", 24);
  }
  ShowBytes(host.DataRoot() + "Accounts/wez.cfg", 24);

  if (host.HasAccount()) {
    const std::string samples = InstallLayout::SamplesDir();
    Banner("The organisation directory");
    step("users", {"import", samples + "/org.xml"});
    step("users", {"search", "zh"});
    step("users", {"dept", "100"});
    step("users", {"find", "LiSi"});
    step("users", {"depts"});

    Banner("The user grid: changes wait in memory for the flush");
    {
      ComPtr<IUserGrid> grid = OpenUserGrid(host);
      std::string file = host.DataRoot() + "Accounts/" + host.Account() + "/UserGrid.xml";
      grid->SetGrid(u"zhangsan", 42);
      std::printf("SetGrid(zhangsan, 42) done; %s before the flush:\n", file.c_str());
      ShowText(file);
      grid->Close();
      std::printf("after the flush (Close, which the module runs every 60 s):\n");
      ShowText(file);
    }
    step("grid", {"get", "zhangsan"});
    step("grid", {"list"});

    Banner("Key departments and department leaders");
    step("keydepts", {"set", "lisi", "100", "101"});
    step("keydepts", {"get", "lisi"});
    step("leader", {"set", "100", "3", "10002"});
    step("leader", {"set", "100", "2", "10003"});
    std::printf("(an older version does not replace the leader)\n");
    step("leader", {"get", "100"});
    step("leader", {"list", "--json"});

    Banner("The enterprise portal in the client's three languages");
    step("portal", {"install", samples + "/EPortal.xml"});
    step("portal", {"show"});
    step("portal", {"show", "--language", "1"});
    step("portal", {"show", "--language", "2"});

    Banner("External buddies: items of id=value fields");
    step("items", {"set", "wangwu@partner", "email=wangwu@partner.example", "phone=010-5555"});
    step("items", {"get", "wangwu@partner"});
    step("items", {"find", "010"});

    Banner("The mobile profile: names unique regardless of case");
    step("mobile", {"add", "Mum", "--gid", "1", "--number", "13800000000"});
    step("mobile", {"add", "mum", "--gid", "1", "--info", "stored as mum1"});
    step("mobile", {"list"});

    Banner("Dialogs waiting for a reply: every change is saved at once");
    step("dialogs", {"add", "s1001", "chat", "1", "20261123093000", "zhangsan"});
    step("dialogs", {"add", "s1002", "file", "2", "20261123094500"});
    step("dialogs", {"list"});
    step("dialogs", {"remove", "ZHANGSAN"});
    std::printf("(a key matches the SessionID, else the Receiver, in any letter case)\n");
    step("dialogs", {"set", "IsNeedtoRevert", "1"});
    step("dialogs", {"switches"});

    Banner("Offline messages: generated channels, listed by conversation");
    step("offmsg", {"generate", "--conversations", "3", "--records", "7"});
    step("offmsg", {"generate", "--channel", "2", "--conversations", "2", "--records", "3"});
    step("offmsg", {"count"});
    step("offmsg", {"list"});
    step("offmsg", {"show", "IM1"});
    step("offmsg", {"delete", "im1"});
    step("offmsg", {"list"});
    step("offmsg", {"count"});
    step("offmsg", {"latest"});

    Banner("Profiles and buddy fields, enciphered on disk with the account's key");
    const std::string folder = host.DataRoot() + "Accounts/" + host.Account() + "/";
    step("profiles", {"set", "zhangsan", "uin=10001", "name=张三", "email=zhangsan@example.cn"});
    step("profiles", {"get", "ZhangSan"});
    step("buddies", {"set", "LiSi", "备注=老同学", "生日=0312"});
    step("buddies", {"get", "lisi"});
    std::printf("each command closes its store, as the module's flush does; on disk:\n");
    ShowBytes(folder + "WEZProfile.dat", 24);
    ShowBytes(folder + "WEZProfilePro.dat", 24);
    step("inspect", {folder + "WEZProfile.dat"});
    step("inspect", {folder + "WEZProfilePro.dat"});

    Banner("Contact groups: the company tree, with members from the directory");
    step("groups", {"import", samples + "/CompanyGroups.xml"});
    step("groups", {"tree", "1"});
    step("groups", {"members", "1", "101"});

    Banner("Contact groups: an earlier client's file taken in, then the user's own edits");
    const std::u16string legacy = host.AccountFile("UserDefinedGroup.xml");
    ReplaceFileWithCopy(FromUtf8(samples + "/UserDefinedGroup.xml"), legacy);
    std::printf("copied %s to %s\n", (samples + "/UserDefinedGroup.xml").c_str(),
                ToUtf8(legacy).c_str());
    {
      // Opening the store (as the account change does) takes the file in and renames it.
      ComPtr<IWEZGroupStore> own = OpenGroupStore(host, VK_GROUP_USER_DEFINED);
      own->Initialize(host.AccountFile(StoreId::kUserDefinedGroups).c_str(), VK_GROUP_USER_DEFINED);
    }
    std::printf("%s now: %s; %s.bak: %s\n", ToUtf8(legacy).c_str(),
                IsFileExist(legacy) ? "still there" : "gone", ToUtf8(legacy).c_str(),
                IsFileExist(legacy + u".bak") ? "there" : "missing");
    step("groups", {"tree", "4"});
    step("groups", {"add", "4", "60000001", "午餐小组"});
    step("groups", {"add-member", "4", "60000011", "zhaoliu"});
    step("groups", {"rename", "4", "60000010", "项目二组"});
    step("groups", {"tree", "4"});
    step("groups", {"members", "4", "60000011", "--json"});
  }

  Banner("Readiness and root events");
  IWEZStore* stores = host.Stores();
  stores->NotifyOrgStructStatus(1);
  stores->NotifyUserListStatus(1);
  std::printf("the client reported: organisation structure ready, user list ready\n");
  host.Root()->FireMyPresenceChange(1, 0);
  std::printf("the root fired OnMyPresenceChange(1, 0): the module clears both flags\n");
  step("status", {});

  Banner("The flush timer");
  g_fake_now = VkGetTickCount();
  VkSetClock(&FakeClock, nullptr);
  int fired = 0;
  for (int second = 1; second <= 120; ++second) {
    g_fake_now += 1000;
    int now_fired = VkPumpMessages();
    if (now_fired > 0) std::printf("after %3d s of loop time: the flush ran\n", second);
    fired += now_fired;
  }
  VkSetClock(nullptr, nullptr);
  std::printf("two minutes of loop time, %d flushes\n", fired);

  Banner("The account folder, checked as support staff check a user's folder");
  step("check", {});

  std::printf("\ndemo finished%s\n", failures == 0 ? "" : " with failures");
  return failures == 0 ? kExitOk : kExitFailed;
}

std::unique_ptr<Command> MakeDemoCommand() {
  return std::make_unique<DemoCommand>();
}

}  // namespace vk::cli
