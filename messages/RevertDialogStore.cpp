#include "messages/RevertDialogStore.h"

#include <algorithm>
#include <ctime>

#include "platform/Files.h"
#include "platform/Log.h"
#include "platform/Text.h"
#include "storage/DialogSwitches.h"
#include "storage/LeadingDigits.h"
#include "storage/Markup.h"

namespace {

constexpr char16_t kHeader[] = u"<?xml version=\"1.0\" encoding=\"gb2312\"?>\r\n";
constexpr char16_t kFileName[] = u"RevertDialog.xml";

std::u16string_view Text(LPCOLESTR text) {
  return text != nullptr ? std::u16string_view(text) : std::u16string_view();
}

// Copies at most size - 1 characters, zero-filling up to there; the last character of the
// field is never written, so a value that long has no terminator.
template <size_t N>
void CopyField(OLECHAR (&field)[N], std::u16string_view value) {
  size_t copied = std::min(value.size(), N - 1);
  std::copy_n(value.data(), copied, field);
  std::fill(field + copied, field + N - 1, u'\0');
}

std::u16string LocalTimeStamp() {
  std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char text[32] = {};
  std::strftime(text, sizeof text, "%Y%m%d%H%M%S", &local);
  return vk::FromUtf8(text);
}

BSTR Allocate(std::u16string_view text) {
  return SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
}

}  // namespace

CRevertDialogStore::~CRevertDialogStore() {
  if (client_ != nullptr) client_->Release();
}

std::u16string CRevertDialogStore::Account() const {
  BSTR account = nullptr;
  if (client_ == nullptr || FAILED(client_->get_Account(&account)) || account == nullptr) {
    return std::u16string();
  }
  std::u16string text(account);
  SysFreeString(account);
  return text;
}

HRESULT CRevertDialogStore::Initialize(BSTR path, IUnknown* client) {
  IClientRoot* root = nullptr;
  if (client != nullptr) client->QueryInterface(IID_IClientRoot, reinterpret_cast<void**>(&root));
  if (client_ != nullptr) client_->Release();
  client_ = root;
  path_ = vk::NormalizeSeparators(Text(path));
  const std::u16string account = Account();
  if (account.empty() || IsPlainName(account)) {
    account_folder_ = GetFileListPath() + u"Accounts\\" + account;
  } else {
    // A name that would leave "Accounts" is not followed: the existence check looks at the
    // kept path instead, which the module passes as the same file.
    OutputDebugStringW((u"Vaultkit: the dialog store does not follow the account name '" + account +
                        u"' out of Accounts\n")
                           .c_str());
    account_folder_.clear();
  }

  int16_t exists = 0;
  RevertFileExists(&exists);
  if (exists == 0) {
    ResetFile();
  } else if (!ValidateFile()) {
    // The dialogs in it are lost with the reset; a copy stays beside the file.
    vk::KeepDamagedCopy(path_);
    ResetFile();
  }
  SetOfflineToOnline(0);
  account_ = Account();
  start_time_ = LocalTimeStamp();
  return S_OK;
}

CRevertDialogStore::Opened CRevertDialogStore::Open(CMarkup& xml, bool dialogs) const {
  if (!xml.Load(path_, 0)) return Opened::kUnreadable;
  if (!xml.FindElem(u"Dialogroot")) return Opened::kNoRoot;
  if (!dialogs) return Opened::kRoot;
  xml.IntoElem();
  if (!xml.FindElem(u"im")) return Opened::kNoDialogs;
  xml.IntoElem();
  return Opened::kDialogs;
}

bool CRevertDialogStore::FindMatching(CMarkup& xml, std::u16string_view key) {
  while (xml.FindElem(u"Dialog")) {
    if (vk::EqualsIgnoringCase(xml.GetAttrib(u"SessionID"), key) ||
        vk::EqualsIgnoringCase(xml.GetAttrib(u"Receiver"), key)) {
      return true;
    }
  }
  return false;
}

bool CRevertDialogStore::ValidateFile() const {
  CMarkup xml;
  Opened opened = Open(xml, false);
  if (opened == Opened::kUnreadable) return false;
  if (opened == Opened::kNoRoot) return true;  // kept as it is
  return vk::InvalidDialogSwitch(xml).empty();
}

HRESULT CRevertDialogStore::ResetFile() {
  CMarkup xml;
  xml.SetDoc(kHeader);
  xml.AddElem(u"Dialogroot");
  xml.AddAttrib(u"RevertOpenConfig", u"1");
  xml.AddAttrib(u"IsNeedtoRevert", u"0");
  xml.AddAttrib(u"Revertalready", u"0");
  xml.AddAttrib(u"RCARight", u"0");
  xml.AddAttrib(u"OfflineToOnline", u"0");
  xml.AddChildElem(u"im");
  xml.Save(path_, 0);  // a failed save is not reported
  return S_OK;
}

HRESULT CRevertDialogStore::RevertFileExists(int16_t* flag) {
  if (flag == nullptr) return E_INVALIDARG;
  // The account folder, not the path argument: the module passes the same file.
  bool exists = IsFileExist(account_folder_.empty()
                                ? path_
                                : vk::NormalizeSeparators(account_folder_ + u"\\" + kFileName));
  *flag = exists ? 1 : 0;
  return exists ? S_OK : S_FALSE;
}

HRESULT CRevertDialogStore::GetIsNeedtoRevert(int16_t* flag) {
  if (flag == nullptr) return E_INVALIDARG;
  CMarkup xml;
  if (Open(xml, false) != Opened::kRoot) return S_FALSE;
  // The flag is the inverse of the stored text: "0" reports 1.
  bool zero = xml.GetAttrib(u"IsNeedtoRevert") == u"0";
  *flag = zero ? 1 : 0;
  return zero ? S_OK : S_FALSE;
}

HRESULT CRevertDialogStore::GetRevertalready(int16_t* flag) {
  if (flag == nullptr) return E_INVALIDARG;
  CMarkup xml;
  if (Open(xml, false) != Opened::kRoot) return S_FALSE;
  bool one = xml.GetAttrib(u"Revertalready") == u"1";
  *flag = one ? 1 : 0;
  return one ? S_OK : S_FALSE;
}

HRESULT CRevertDialogStore::HasDialogs(int16_t* flag) {
  if (flag == nullptr) return E_INVALIDARG;
  CMarkup xml;
  if (Open(xml, true) != Opened::kDialogs) return S_FALSE;
  bool any = xml.FindElem(u"Dialog");
  *flag = any ? 1 : 0;
  return any ? S_OK : S_FALSE;
}

HRESULT CRevertDialogStore::FindDialog(LPCOLESTR key, int16_t* found) {
  if (found == nullptr) return E_INVALIDARG;
  CMarkup xml;
  if (Open(xml, true) != Opened::kDialogs) return S_FALSE;
  bool match = FindMatching(xml, Text(key));
  *found = match ? 1 : 0;
  return match ? S_OK : S_FALSE;
}

HRESULT CRevertDialogStore::AddDialog(LPCOLESTR session_id, LPCOLESTR parameter, LPCOLESTR mode,
                                      LPCOLESTR time) {
  return AppendDialog(
      {{u"SessionID", session_id}, {u"Parameter", parameter}, {u"Mode", mode}, {u"Time", time}});
}

HRESULT CRevertDialogStore::AddDialogWithReceiver(LPCOLESTR session_id, LPCOLESTR parameter,
                                                  LPCOLESTR mode, LPCOLESTR time,
                                                  LPCOLESTR receiver) {
  return AppendDialog({{u"SessionID", session_id},
                       {u"Parameter", parameter},
                       {u"Mode", mode},
                       {u"Time", time},
                       {u"Receiver", receiver}});
}

HRESULT CRevertDialogStore::AppendDialog(
    std::initializer_list<std::pair<std::u16string_view, LPCOLESTR>> attributes) {
  CMarkup xml;
  if (Open(xml, false) != Opened::kRoot) return S_FALSE;
  xml.IntoElem();
  if (!xml.FindElem(u"im")) return S_FALSE;
  // No duplicate check: the same session may wait twice.
  xml.AddChildElem(u"Dialog");
  for (const auto& [name, value] : attributes) xml.AddChildAttrib(name, Text(value));
  xml.Save(path_, 0);
  return S_OK;
}

HRESULT CRevertDialogStore::RemoveDialog(LPCOLESTR key) {
  CMarkup xml;
  if (Open(xml, true) != Opened::kDialogs || !FindMatching(xml, Text(key))) return S_FALSE;
  xml.RemoveElem();
  xml.Save(path_, 0);
  return S_OK;
}

HRESULT CRevertDialogStore::SetSwitch(std::u16string_view name, std::u16string_view value) {
  CMarkup xml;
  if (Open(xml, false) != Opened::kRoot) return S_FALSE;
  xml.SetAttrib(name, value);
  xml.Save(path_, 0);
  return S_OK;
}

HRESULT CRevertDialogStore::GetNumberSwitch(std::u16string_view name, LONG* value) {
  if (value == nullptr) return E_INVALIDARG;
  CMarkup xml;
  if (Open(xml, false) != Opened::kRoot) return S_FALSE;
  *value = vk::ParseLeadingDigits(std::u16string_view(xml.GetAttrib(name)));
  return S_OK;
}

HRESULT CRevertDialogStore::SetNeedtoRevert() {
  return SetSwitch(u"IsNeedtoRevert", u"1");
}

HRESULT CRevertDialogStore::ClearNeedtoRevert() {
  return SetSwitch(u"IsNeedtoRevert", u"0");
}

HRESULT CRevertDialogStore::SetRevertalready() {
  return SetSwitch(u"Revertalready", u"1");
}

HRESULT CRevertDialogStore::ClearRevertalready() {
  return SetSwitch(u"Revertalready", u"0");
}

HRESULT CRevertDialogStore::SetRevertOpenConfig(LONG config) {
  // No range check here; the next Initialize judges a value outside 0 to 2 invalid.
  return SetSwitch(u"RevertOpenConfig", vk::FromUtf8(std::to_string(config)));
}

HRESULT CRevertDialogStore::GetRevertOpenConfig(LONG* config) {
  return GetNumberSwitch(u"RevertOpenConfig", config);
}

HRESULT CRevertDialogStore::SetRCARight(int16_t flag) {
  return SetSwitch(u"RCARight", flag == 1 ? u"1" : u"0");
}

HRESULT CRevertDialogStore::GetRCARight(LONG* value) {
  return GetNumberSwitch(u"RCARight", value);
}

HRESULT CRevertDialogStore::SetOfflineToOnline(int16_t flag) {
  return SetSwitch(u"OfflineToOnline", flag == 1 ? u"1" : u"0");
}

HRESULT CRevertDialogStore::GetOfflineToOnline(LONG* value) {
  return GetNumberSwitch(u"OfflineToOnline", value);
}

HRESULT CRevertDialogStore::GetDialogAttrib(LPCOLESTR key, LPCOLESTR name, BSTR* value) {
  if (value == nullptr) return S_FALSE;
  CMarkup xml;
  if (Open(xml, true) != Opened::kDialogs || !FindMatching(xml, Text(key))) return S_FALSE;
  *value = Allocate(xml.GetAttrib(Text(name)));
  return S_OK;
}

HRESULT CRevertDialogStore::SetDialogAttrib(LPCOLESTR key, LPCOLESTR name, LPCOLESTR value) {
  CMarkup xml;
  if (Open(xml, true) != Opened::kDialogs || !FindMatching(xml, Text(key))) return S_FALSE;
  // A name that cannot be an attribute changes nothing.
  if (xml.SetAttrib(Text(name), Text(value))) xml.Save(path_, 0);
  return S_OK;
}

HRESULT CRevertDialogStore::GetFilePath(BSTR* path) {
  if (path == nullptr) return S_FALSE;
  *path = Allocate(path_);
  return S_OK;
}

HRESULT CRevertDialogStore::GetStartTime(BSTR* time) {
  if (time == nullptr) return S_FALSE;
  *time = Allocate(start_time_);
  return S_OK;
}

HRESULT CRevertDialogStore::RemoveAllDialogs() {
  CMarkup xml;
  if (Open(xml, true) != Opened::kDialogs) return S_FALSE;
  while (xml.FindElem(u"Dialog")) xml.RemoveElem();
  xml.Save(path_, 0);
  return S_OK;
}

HRESULT CRevertDialogStore::GetDialogCount(LONG* count) {
  if (count == nullptr) return E_INVALIDARG;
  CMarkup xml;
  Opened opened = Open(xml, true);
  if (opened == Opened::kUnreadable) return S_OK;
  if (opened != Opened::kDialogs) return S_FALSE;
  // Added to the caller's count, which the caller initialises.
  while (xml.FindElem(u"Dialog")) ++*count;
  return S_OK;
}

HRESULT CRevertDialogStore::GetDialogs(RevertDialogInfo* dialogs, LONG count) {
  if (count == 0) return S_FALSE;
  CMarkup xml;
  Opened opened = Open(xml, true);
  if (opened == Opened::kUnreadable) return S_OK;
  if (opened != Opened::kDialogs) return S_FALSE;
  if (dialogs == nullptr) return E_INVALIDARG;
  for (LONG i = 0; i < count && xml.FindElem(u"Dialog"); ++i) {
    RevertDialogInfo& info = dialogs[i];
    CopyField(info.SessionID, xml.GetAttrib(u"SessionID"));
    CopyField(info.Parameter, xml.GetAttrib(u"Parameter"));
    CopyField(info.Mode, xml.GetAttrib(u"Mode"));
    CopyField(info.Time, xml.GetAttrib(u"Time"));
    CopyField(info.Receiver, xml.GetAttrib(u"Receiver"));
  }
  return S_OK;
}
