#include <cstdio>
#include <iterator>
#include <vector>

#include "platform/Files.h"
#include "platform/Text.h"
#include "tools/vaultkit/cli/Host.h"
#include "tools/vaultkit/cli/Json.h"
#include "tools/vaultkit/cli/StoreAccess.h"
#include "tools/vaultkit/cli/Table.h"
#include "tools/vaultkit/cli/XmlEntries.h"
#include "tools/vaultkit/commands/Commands.h"

namespace vk::cli {

// portal show|install|version on the account's PortalIcon/EPortal.xml.
class PortalCommand : public Command {
 public:
  const char* Name() const override { return "portal"; }
  const char* Summary() const override { return "the enterprise portal (PortalIcon/EPortal.xml)"; }
  const char* Help() const override;
  int Run(Host& host, const Args& args) override;
};

namespace {

const char* const kLanguages[] = {"Simplified Chinese", "English", "Traditional Chinese"};

std::string Text(IPortalStore* store, HRESULT (IPortalStore::*get)(BSTR*)) {
  BSTR text = nullptr;
  HRESULT hr = (store->*get)(&text);
  return SUCCEEDED(hr) ? Utf8(text) : "(not found)";
}

// True or false; null when the document does not say.
Json FlagJson(IPortalStore* store, HRESULT (IPortalStore::*get)(BOOL*)) {
  BOOL flag = 0;
  return SUCCEEDED((store->*get)(&flag)) ? Json(flag != 0) : Json(nullptr);
}

std::string Flag(IPortalStore* store, HRESULT (IPortalStore::*get)(BOOL*)) {
  const Json flag = FlagJson(store, get);
  return flag.is_null() ? "(not found)" : flag.get<bool>() ? "on" : "off";
}

std::vector<LONG> Departments(IPortalStore* portal) {
  LONG count = 0;
  portal->GetPortalDeptCount(&count);
  if (count <= 0) return {};
  // The store writes one entry past the length it is given: leave room for it.
  std::vector<LONG> ids(static_cast<size_t>(count) + 1);
  portal->GetPortalDepts(ids.data(), count);
  ids.resize(static_cast<size_t>(count));
  return ids;
}

std::vector<PortalTipInfo> Tips(IPortalStore* portal) {
  LONG count = 0;
  portal->GetUserTipsCount(&count);
  if (count <= 0) return {};
  std::vector<PortalTipInfo> records(static_cast<size_t>(count));
  portal->GetUserTips(records.data(), count);
  return records;
}

std::string Field(const OLECHAR* chars, size_t size) {
  size_t n = 0;
  while (n < size && chars[n] != 0) ++n;
  return ToUtf8(std::u16string_view(chars, n));
}

Json ShowJson(IPortalStore* portal, LONG language) {
  LONG version = 0;
  Json doc = {{"language", language}};
  doc["version"] = portal->GetVersion(&version) == S_OK ? Json(version) : Json();
  doc["dept_portal"] = {{"enabled", FlagJson(portal, &IPortalStore::GetDeptPortalEnable)},
                        {"note", Text(portal, &IPortalStore::GetDeptPortalNote)},
                        {"url", Text(portal, &IPortalStore::GetDeptPortalUrl)}};
  doc["user_portal"] = {{"enabled", FlagJson(portal, &IPortalStore::GetUserPortalEnable)},
                        {"link_text", Text(portal, &IPortalStore::GetUserPortalLinkText)},
                        {"url", Text(portal, &IPortalStore::GetUserPortalUrl)}};
  doc["tips"] = {{"enabled", FlagJson(portal, &IPortalStore::GetUserTipsEnable)},
                 {"state", Text(portal, &IPortalStore::GetUserTipsState)}};
  doc["departments"] = Departments(portal);
  Json tips = Json::array();
  for (const PortalTipInfo& tip : Tips(portal)) {
    tips.push_back({{"name", Field(tip.name, 256)},
                    {"note", Field(tip.note, 256)},
                    {"link", Field(tip.link, 1024)}});
  }
  doc["tip_list"] = tips;
  return doc;
}

int Show(IPortalStore* portal, LONG language) {
  LONG version = 0;
  std::printf("language:            %s\n", kLanguages[language]);
  if (portal->GetVersion(&version) == S_OK) {
    std::printf("version:             %d\n", version);
  } else {
    std::printf("version:             (not found: no published document yet)\n");
  }
  std::printf("department portal:   %s\n",
              Flag(portal, &IPortalStore::GetDeptPortalEnable).c_str());
  std::printf("  note:              %s\n", Text(portal, &IPortalStore::GetDeptPortalNote).c_str());
  std::printf("  address:           %s\n", Text(portal, &IPortalStore::GetDeptPortalUrl).c_str());
  std::printf("user portal:         %s\n",
              Flag(portal, &IPortalStore::GetUserPortalEnable).c_str());
  std::printf("  link text:         %s\n",
              Text(portal, &IPortalStore::GetUserPortalLinkText).c_str());
  std::printf("  address:           %s\n", Text(portal, &IPortalStore::GetUserPortalUrl).c_str());
  std::printf("tips:                %s, state %s\n",
              Flag(portal, &IPortalStore::GetUserTipsEnable).c_str(),
              Text(portal, &IPortalStore::GetUserTipsState).c_str());
  std::vector<LONG> depts = Departments(portal);
  std::string list;
  for (LONG id : depts) list += (list.empty() ? "" : ", ") + std::to_string(id);
  std::printf("departments:         %s\n", depts.empty() ? "none" : list.c_str());
  std::vector<PortalTipInfo> tips = Tips(portal);
  if (!tips.empty()) {
    std::printf("\n");
    Table table({"tip", "note", "link"});
    for (const PortalTipInfo& tip : tips) {
      table.Add({Field(tip.name, 256), Field(tip.note, 256), Field(tip.link, 1024)});
    }
    table.Print();
  }
  return kExitOk;
}

}  // namespace

const char* PortalCommand::Help() const {
  return "usage: vaultkit [--data-root DIR] --account NAME portal ACTION [--json]\n"
         "  show [--language N]   every field in the client's language (0 Simplified\n"
         "                        Chinese, the default; 1 English; 2 Traditional Chinese),\n"
         "                        the departments and the tips\n"
         "  install FILE          put a published portal document (root PORTAL) in place;\n"
         "                        a file that does not parse or has another root is refused\n"
         "  version get|set N     the document's version\n";
}

int PortalCommand::Run(Host& host, const Args& all) {
  Args args = all;
  bool json = args.TakeFlag("--json");
  if (args.empty()) throw UsageError{"portal needs an action: show, install or version"};
  const std::string& action = args[0];
  std::vector<std::string> rest(args.begin() + 1, args.end());
  LONG language = 0;
  if (action == "show") {
    if (rest.size() == 2 && rest[0] == "--language") {
      language = ParseInt32(rest[1], "N");
      if (language < 0 || language > 2) throw UsageError{"the language is 0, 1 or 2"};
    } else if (!rest.empty()) {
      throw UsageError{"portal show takes only --language N"};
    }
    host.Root()->SetLanguage(language);
  }
  ComPtr<IPortalStore> portal = OpenPortal(host);
  if (action == "show") {
    if (!json) return Show(portal.get(), language);
    PrintJson(ShowJson(portal.get(), language));
    return kExitOk;
  }
  if (action == "install" && rest.size() == 1) {
    const std::optional<std::string> bytes = ReadWholeFile(FromUtf8(rest[0]));
    if (!bytes) throw UsageError{"cannot read " + rest[0]};
    // The store would take a document it cannot read for an empty one: refuse it here.
    std::optional<std::string> root_name = XmlRootName(FromUtf8(rest[0]));
    if (!root_name) throw Failure{rest[0] + " is not well-formed XML: nothing installed"};
    if (*root_name != "PORTAL") {
      throw Failure{rest[0] + " is not a portal document (its root is " + *root_name +
                    ", not PORTAL): nothing installed"};
    }
    std::u16string path = host.AccountFile(StoreId::kPortal);
    CreateFolders(path.substr(0, path.rfind(kSep)));
    if (!WriteFileAtomically(path, *bytes)) {
      throw Failure{"cannot write " + ToUtf8(path) + ": " + FailureReason(E_FAIL)};
    }
    // The store keeps its document in memory and writes it back when it goes: it must
    // take up the new file now, or it would put its old document over it.
    IUnknown* root = static_cast<IClientRoot*>(host.Root());
    int status = Report("Initialize", portal->Initialize(path.c_str(), root));
    if (status == kExitOk)
      std::printf("installed %s as %s\n", rest[0].c_str(), ToUtf8(path).c_str());
    return status;
  }
  if (action == "version") {
    int status = VersionAction(portal.get(), rest, json);
    portal->Close();
    return status;
  }
  throw UsageError{"unknown or incomplete portal action (see vaultkit portal --help)"};
}

std::unique_ptr<Command> MakePortalCommand() {
  return std::make_unique<PortalCommand>();
}

}  // namespace vk::cli
