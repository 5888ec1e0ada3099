#include "tools/vaultkit/StatusCommand.h"

#include <cstdio>
#include <fstream>

#include "platform/Text.h"
#include "tools/vaultkit/Host.h"

namespace vk::cli {
namespace {

std::string Take(BSTR text) {
  std::string utf8 = text == nullptr ? "" : ToUtf8(std::u16string_view(text, SysStringLen(text)));
  SysFreeString(text);
  return utf8;
}

const char* Outcome(HRESULT hr) {
  return SUCCEEDED(hr) ? "succeeded" : "failed";
}

// The assertion reports of the client log, one line each.
void PrintAssertions(const std::string& data_root) {
  std::ifstream log(data_root + "vaultkit.log");
  std::string line;
  int shown = 0;
  while (std::getline(log, line)) {
    if (line.find("ASSERT HAPPENS!") == std::string::npos) continue;
    if (shown++ == 0) std::printf("assertion reports in %svaultkit.log:\n", data_root.c_str());
    std::printf("  %s\n", line.c_str());
  }
}

}  // namespace

const char* StatusCommand::Help() const {
  return "usage: vaultkit [--data-root DIR] [--account NAME] status\n"
         "Loads the component, changes to the account when one is given, and shows the\n"
         "module's identifier and name, whether each store exists and which file it has\n"
         "open, the results of the load and the account change, and the readiness flags.\n";
}

int StatusCommand::Run(Host& host, const std::vector<std::string>& args) {
  if (!args.empty()) throw UsageError{"status takes no arguments"};
  BSTR text = nullptr;
  host.Module()->get_Identifier(&text);
  std::printf("module:          %s\n", Take(text).c_str());
  text = nullptr;
  host.Module()->get_Name(&text);
  std::printf("name:            %s\n", Take(text).c_str());
  std::printf("data root:       %s\n", host.DataRoot().c_str());
  std::printf("load:            %s (0x%08X)\n", Outcome(host.LoadStatus()),
              static_cast<unsigned>(host.LoadStatus()));
  if (host.HasAccount()) {
    std::printf("account:         %s (OnAccountChange answered 0x%08X)\n", host.Account().c_str(),
                static_cast<unsigned>(host.AccountStatus()));
  }

  IModuleDiagnostics* diagnostics = nullptr;
  host.Module()->QueryInterface(IID_IModuleDiagnostics, reinterpret_cast<void**>(&diagnostics));
  if (diagnostics == nullptr) return 0;
  LONG org = 0, users = 0, count = 0;
  diagnostics->GetReadiness(&org, &users);
  std::printf("readiness:       organisation structure %d, user list %d\n", org, users);
  diagnostics->GetStoreCount(&count);
  std::printf("\n%-26s %-8s %s\n", "store", "exists", "file");
  std::string first_missing;
  for (LONG i = 0; i < count; ++i) {
    BSTR name = nullptr, path = nullptr;
    LONG present = 0;
    diagnostics->GetStoreInfo(i, &name, &present, &path);
    std::string store = Take(name), file = Take(path);
    if (!present && first_missing.empty()) first_missing = store;
    std::printf("%-26s %-8s %s\n", store.c_str(), present ? "yes" : "no",
                file.empty() ? "-" : file.c_str());
  }
  diagnostics->Release();
  if (FAILED(host.LoadStatus()) && !first_missing.empty()) {
    std::printf("\nthe load stopped at the first store class not yet built: %s\n",
                first_missing.c_str());
  }
  PrintAssertions(host.DataRoot());
  return 0;
}

}  // namespace vk::cli
