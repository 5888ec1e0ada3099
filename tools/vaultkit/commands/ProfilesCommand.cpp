#include <cstdio>

#include "platform/Text.h"
#include "storage/FixedField.h"
#include "tools/vaultkit/cli/Host.h"
#include "tools/vaultkit/cli/Json.h"
#include "tools/vaultkit/cli/StoreAccess.h"
#include "tools/vaultkit/cli/Table.h"
#include "tools/vaultkit/commands/Commands.h"

namespace vk::cli {

// profiles set|get|list|delete|nick-by-uin on the account's enciphered WEZProfile.dat.
class ProfilesCommand : public Command {
 public:
  const char* Name() const override { return "profiles"; }
  const char* Summary() const override {
    return "user profiles by nickname (WEZProfile.dat, enciphered)";
  }
  const char* Help() const override;
  int Run(Host& host, const Args& args) override;
};

namespace {

std::string Text(const OLECHAR* field, size_t units) {
  return ToUtf8(FieldText(field, units));
}

// Texts longer than the record's field would be cut short by the store: refused here.
template <size_t N>
void SetText(OLECHAR (&field)[N], const std::string& key, const std::string& value) {
  std::u16string text = FromUtf8(value);
  if (text.size() > N - 1) {
    throw UsageError{key + " holds at most " + std::to_string(N - 1) + " characters"};
  }
  FillField(field, text);
}

void Apply(ProfileInfo& p, const std::string& assignment) {
  size_t eq = assignment.find('=');
  if (eq == std::string::npos) throw UsageError{"'" + assignment + "' is not FIELD=VALUE"};
  const std::string key = assignment.substr(0, eq), value = assignment.substr(eq + 1);
  if (key == "uin") {
    p.uin = ParseInt32(value, "uin");
  } else if (key == "gender") {
    uint32_t gender = ParseUint32(value, "gender");
    if (gender > 255) throw UsageError{"gender must be a whole number from 0 to 255"};
    p.gender = static_cast<BYTE>(gender);
  } else if (key == "face") {
    int32_t face = ParseInt32(value, "face");
    if (face < -32768 || face > 32767) {
      throw UsageError{"face must be a whole number from -32768 to 32767"};
    }
    p.face = static_cast<int16_t>(face);
  } else if (key == "uright") {
    p.uright = ParseInt32(value, "uright");
  } else if (key == "version") {
    p.version = ParseInt32(value, "version");
  } else if (key == "name") {
    SetText(p.name, key, value);
  } else if (key == "mobile") {
    SetText(p.mobile, key, value);
  } else if (key == "email") {
    SetText(p.email, key, value);
  } else if (key == "phone") {
    SetText(p.phone, key, value);
  } else {
    throw UsageError{"unknown field '" + key +
                     "' (uin, name, gender, face, mobile, email, phone, uright, version)"};
  }
}

Json ToJson(const ProfileInfo& p) {
  return {{"nick", Text(p.nick, 32)},
          {"uin", p.uin},
          {"name", Text(p.name, 32)},
          {"gender", p.gender},
          {"face", p.face},
          {"mobile", Text(p.mobile, 32)},
          {"email", Text(p.email, 64)},
          {"phone", Text(p.phone, 32)},
          {"uright", p.uright},
          {"version", p.version}};
}

// One table row per profile, the columns in the record's order.
void Print(const std::vector<ProfileInfo>& profiles, bool json) {
  if (json) {
    Json all = Json::array();
    for (const ProfileInfo& p : profiles) all.push_back(ToJson(p));
    PrintJson(all);
    return;
  }
  Table table(
      {"nick", "uin", "name", "gender", "face", "mobile", "email", "phone", "uright", "version"});
  for (const ProfileInfo& p : profiles) {
    std::vector<std::string> row;
    const Json record = ToJson(p);
    for (const Json& value : record) {
      row.push_back(value.is_string() ? value.get<std::string>() : value.dump());
    }
    table.Add(row);
  }
  if (table.Empty()) {
    std::printf("(no profiles)\n");
  } else {
    table.Print();
  }
}

ProfileInfo WithNick(const std::string& nick) {
  ProfileInfo p{};
  SetText(p.nick, "NICK", nick);
  return p;
}

ProfileInfo Find(IWEZProfileStore* store, const std::string& nick) {
  ProfileInfo p = WithNick(nick);
  Lookup("GetProfile", "no profile is kept for '" + nick + "'",
         [&] { return store->GetProfile(&p); });
  return p;
}

}  // namespace

const char* ProfilesCommand::Help() const {
  return "usage: vaultkit [--data-root DIR] [--account NAME] profiles ACTION [--json]\n"
         "  set NICK FIELD=VALUE...  add or change the profile of NICK; fields not given keep\n"
         "                    their stored values. FIELDs: uin, name, gender (0..255), face\n"
         "                    (-32768..32767), mobile, email, phone, uright, version; texts\n"
         "                    hold at most 31 characters (email 63)\n"
         "  get NICK          the profile of NICK (letters A-Z match in either case)\n"
         "  list              the profiles directly under the file's root, in file order\n"
         "  delete NICK       remove every profile of NICK, in any letter case\n"
         "  nick-by-uin UIN   the nickname of the first profile with that number (0 never\n"
         "                    matches)\n"
         "The store puts NICK into its lookup without escaping: a NICK holding a single quote\n"
         "is never found, and setting it twice keeps two profiles. Without --account the\n"
         "default folder \"0\" is used. Changes are written to WEZProfile.dat, enciphered, when\n"
         "the command ends (every 60 s in the client); a plain WEZProfile.xml beside it is read\n"
         "instead, and deleted by that first write.\n";
}

int ProfilesCommand::Run(Host& host, const Args& all) {
  Args args = all;
  bool json = args.TakeFlag("--json");
  if (args.empty()) {
    throw UsageError{"profiles needs an action: set, get, list, delete or nick-by-uin"};
  }
  const std::string& action = args[0];
  std::vector<std::string> rest(args.begin() + 1, args.end());
  CheckAction("profiles", args,
              {{"get", "NICK"},
               {"list", ""},
               {"nick-by-uin", "UIN:i"},
               {"set", "NICK FIELD FIELD..."},
               {"delete", "NICK"}});
  if (action == "set") {
    ProfileInfo probe = WithNick(rest[0]);
    for (size_t i = 1; i < rest.size(); ++i) Apply(probe, rest[i]);
  }
  ComPtr<IWEZProfileStore> store = OpenProfiles(host);
  if (action == "get" && rest.size() == 1) {
    ProfileInfo p = Find(store.get(), rest[0]);
    json ? PrintJson(ToJson(p)) : Print({p}, false);
    return kExitOk;
  }
  if (action == "list" && rest.empty()) {
    LONG count = 0;
    if (HRESULT hr = store->GetProfileCount(&count); hr != S_OK)
      return Report("GetProfileCount", hr);
    std::vector<ProfileInfo> profiles(static_cast<size_t>(count));
    // The store refuses an array it cannot write into: an empty file lists nothing.
    HRESULT hr = count == 0 ? S_OK : store->GetProfiles(profiles.data(), &count);
    if (hr != S_OK) return Report("GetProfiles", hr);
    profiles.resize(static_cast<size_t>(count));
    Print(profiles, json);
    return kExitOk;
  }
  if (action == "nick-by-uin" && rest.size() == 1) {
    LONG uin = ParseInt32(rest[0], "UIN");
    BSTR nick = nullptr;
    Lookup("GetNickByUin", "no profile has the UIN " + rest[0],
           [&] { return store->GetNickByUin(uin, &nick); });
    std::string text = Utf8(nick);
    if (json) {
      PrintJson({{"uin", uin}, {"nick", text}});
    } else {
      std::printf("%s\n", text.c_str());
    }
    return kExitOk;
  }
  int status = kExitOk;
  if (action == "set" && rest.size() >= 2) {
    ProfileInfo p = WithNick(rest[0]);
    if (store->GetProfile(&p) != S_OK) p = WithNick(rest[0]);
    FillField(p.nick, FromUtf8(rest[0]));  // the spelling given now is kept
    for (size_t i = 1; i < rest.size(); ++i) Apply(p, rest[i]);
    status = Report("SetProfile", store->SetProfile(&p));
  } else if (action == "delete" && rest.size() == 1) {
    Find(store.get(), rest[0]);
    status = Report("DeleteProfile", store->DeleteProfile(FromUtf8(rest[0]).c_str()));
  } else {
    throw UsageError{"unknown or incomplete profiles action (see vaultkit profiles --help)"};
  }
  return CloseAndConfirm(host, store.get(), StoreId::kProfiles, status);
}

std::unique_ptr<Command> MakeProfilesCommand() {
  return std::make_unique<ProfilesCommand>();
}

}  // namespace vk::cli
