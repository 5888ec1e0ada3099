#include "tools/vaultkit/PortalCommand.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

#include "platform/Files.h"
#include "platform/Text.h"
#include "tools/vaultkit/Host.h"
#include "tools/vaultkit/StoreAccess.h"

namespace vk::cli {
namespace {

const char* const kLanguages[] = {"Simplified Chinese", "English", "Traditional Chinese"};

std::string Text(IPortalStore* store, HRESULT (IPortalStore::*get)(BSTR*)) {
  BSTR text = nullptr;
  HRESULT hr = (store->*get)(&text);
  return SUCCEEDED(hr) ? Utf8(text) : "(not found)";
}

std::string Flag(IPortalStore* store, HRESULT (IPortalStore::*get)(BOOL*)) {
  BOOL flag = 0;
  return SUCCEEDED((store->*get)(&flag)) ? (flag ? "on" : "off") : "(not found)";
}

std::string Field(const OLECHAR* chars, size_t size) {
  size_t n = 0;
  while (n < size && chars[n] != 0) ++n;
  return ToUtf8(std::u16string_view(chars, n));
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

  LONG depts = 0;
  portal->GetPortalDeptCount(&depts);
  if (depts > 0) {
    // The store writes one entry past the length it is given: leave room for it.
    std::vector<LONG> ids(static_cast<size_t>(depts) + 1);
    portal->GetPortalDepts(ids.data(), depts);
    std::printf("departments (%d):    ", depts);
    for (LONG i = 0; i < depts; ++i) std::printf(i == 0 ? "%d" : ", %d", ids[i]);
    std::printf("\n");
  } else {
    std::printf("departments:         none\n");
  }

  LONG tips = 0;
  portal->GetUserTipsCount(&tips);
  if (tips > 0) {
    std::vector<PortalTipInfo> records(static_cast<size_t>(tips));
    portal->GetUserTips(records.data(), tips);
    std::printf("\n%-12s %-44s %s\n", "tip", "note", "link");
    for (const PortalTipInfo& tip : records) {
      std::printf("%-12s %-44s %s\n", Field(tip.name, 256).c_str(), Field(tip.note, 256).c_str(),
                  Field(tip.link, 1024).c_str());
    }
  }
  return 0;
}

}  // namespace

const char* PortalCommand::Help() const {
  return "usage: vaultkit [--data-root DIR] --account NAME portal ACTION\n"
         "  show [--language N]   every field in the client's language (0 Simplified\n"
         "                        Chinese, the default; 1 English; 2 Traditional Chinese),\n"
         "                        the departments and the tips\n"
         "  install FILE          put a published portal document (root PORTAL) in place\n"
         "  version get|set N     the document's version\n";
}

int PortalCommand::Run(Host& host, const std::vector<std::string>& args) {
  if (args.empty()) throw UsageError{"portal needs an action: show, install or version"};
  const std::string& action = args[0];
  std::vector<std::string> rest(args.begin() + 1, args.end());
  LONG language = 0;
  if (action == "show") {
    if (rest.size() == 2 && rest[0] == "--language") {
      language = static_cast<LONG>(ParseLong(rest[1], "N"));
      if (language < 0 || language > 2) throw UsageError{"the language is 0, 1 or 2"};
    } else if (!rest.empty()) {
      throw UsageError{"portal show takes only --language N"};
    }
    host.Root()->SetLanguage(language);
  }
  ComRef<IPortalStore> portal = OpenPortal(host);
  if (action == "show") return Show(portal.get(), language);
  if (action == "install" && rest.size() == 1) {
    std::ifstream in(rest[0], std::ios::binary);
    if (!in) throw UsageError{"cannot read " + rest[0]};
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::u16string path = host.AccountFile("PortalIcon/EPortal.xml");
    CreateFolders(path.substr(0, path.rfind(kSep)));
    if (!WriteFileAtomically(path, bytes)) {
      std::fprintf(stderr, "vaultkit: cannot write %s\n", ToUtf8(path).c_str());
      return 1;
    }
    // The store keeps its document in memory and writes it back when it goes: it must
    // take up the new file now, or it would put its old document over it.
    IUnknown* root = static_cast<IClientRoot*>(host.Root());
    int status = Report("Initialize", portal->Initialize(path.c_str(), root));
    if (status == 0) std::printf("installed %s as %s\n", rest[0].c_str(), ToUtf8(path).c_str());
    return status;
  }
  if (action == "version") {
    int status = VersionAction(portal.get(), rest);
    portal->Close();
    return status;
  }
  throw UsageError{"unknown or incomplete portal action (see vaultkit portal --help)"};
}

}  // namespace vk::cli
