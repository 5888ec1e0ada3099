// The dialogs that wait for a reply and five switches about replying, in the account's
// "RevertDialog.xml". Nothing is held between calls: every operation loads the file, reads
// or edits it and saves it at once when it changed something, so there is nothing to flush.
#pragma once

#include <initializer_list>
#include <string>
#include <utility>

#include "runtime/ComObject.h"
#include "vaultkit/IRevertDialogStore.h"

class CMarkup;

class CRevertDialogStore : public vk::ComObject<IRevertDialogStore> {
 public:
  ~CRevertDialogStore() override;

  HRESULT Initialize(BSTR path, IUnknown* client) override;
  HRESULT GetIsNeedtoRevert(int16_t* flag) override;
  HRESULT RevertFileExists(int16_t* flag) override;
  HRESULT GetRevertalready(int16_t* flag) override;
  HRESULT HasDialogs(int16_t* flag) override;
  HRESULT FindDialog(LPCOLESTR key, int16_t* found) override;
  HRESULT AddDialog(LPCOLESTR session_id, LPCOLESTR parameter, LPCOLESTR mode,
                    LPCOLESTR time) override;
  HRESULT AddDialogWithReceiver(LPCOLESTR session_id, LPCOLESTR parameter, LPCOLESTR mode,
                                LPCOLESTR time, LPCOLESTR receiver) override;
  HRESULT RemoveDialog(LPCOLESTR key) override;
  HRESULT SetNeedtoRevert() override;
  HRESULT ClearNeedtoRevert() override;
  HRESULT SetRevertalready() override;
  HRESULT ClearRevertalready() override;
  HRESULT ResetFile() override;
  HRESULT SetRevertOpenConfig(LONG config) override;
  HRESULT GetRevertOpenConfig(LONG* config) override;
  HRESULT GetDialogAttrib(LPCOLESTR key, LPCOLESTR name, BSTR* value) override;
  HRESULT SetDialogAttrib(LPCOLESTR key, LPCOLESTR name, LPCOLESTR value) override;
  HRESULT GetFilePath(BSTR* path) override;
  HRESULT SetRCARight(int16_t flag) override;
  HRESULT GetRCARight(LONG* value) override;
  HRESULT GetStartTime(BSTR* time) override;
  HRESULT RemoveAllDialogs() override;
  HRESULT SetOfflineToOnline(int16_t flag) override;
  HRESULT GetOfflineToOnline(LONG* value) override;
  HRESULT GetDialogCount(LONG* count) override;
  HRESULT GetDialogs(RevertDialogInfo* dialogs, LONG count) override;

 private:
  enum class Opened { kUnreadable, kNoRoot, kNoDialogs, kRoot, kDialogs };
  // Loads the file and moves to Dialogroot, or into im when `dialogs` is set.
  Opened Open(CMarkup& xml, bool dialogs) const;
  // Moves to the first dialog after the current position that matches the key.
  static bool FindMatching(CMarkup& xml, std::u16string_view key);
  bool ValidateFile() const;
  HRESULT AppendDialog(std::initializer_list<std::pair<std::u16string_view, LPCOLESTR>> attributes);
  HRESULT SetSwitch(std::u16string_view name, std::u16string_view value);
  HRESULT GetNumberSwitch(std::u16string_view name, LONG* value);
  std::u16string Account() const;

  std::u16string path_;
  std::u16string account_;
  std::u16string account_folder_;
  IClientRoot* client_ = nullptr;
  std::u16string start_time_;
};
