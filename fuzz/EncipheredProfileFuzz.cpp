// The two enciphered profile files as found in an account folder. The first byte picks the
// store (profiles or buddy profiles) and how the rest reaches it: as the enciphered file's
// bytes, as the text enciphered under the folder's key (so that the deciphered document is
// what varies), or as the plain companion that older clients left. The store reads the file,
// answers, takes a change and writes its enciphered file.
#include <string>
#include <vector>

#include "fuzz/FuzzSupport.h"
#include "platform/SymmetryCipher.h"
#include "profiles/WEZProfileProStore.h"
#include "profiles/WEZProfileStore.h"
#include "storage/EncipheredFile.h"

namespace {

constexpr char kFolder[] = "Accounts/fuzz/";

std::string Encipher(std::string_view plain, std::u16string_view path) {
  const vk::FileKey key = vk::MakeFileKey(path);
  std::string out(plain.size() + 17, '\0');
  int32_t length = static_cast<int32_t>(out.size());
  // Fixed filler: the same input always makes the same file.
  vk::SymmetryEncrypt(reinterpret_cast<const uint8_t*>(plain.data()),
                      static_cast<int32_t>(plain.size()), key.data(),
                      reinterpret_cast<uint8_t*>(out.data()), &length, [] { return uint8_t{0}; });
  out.resize(static_cast<size_t>(length));
  return out;
}

// Places the bytes as the file `name` (".dat") of the fuzz account, in the way `mode` picks.
std::u16string Place(const vk::fuzz::Scratch& scratch, const std::string& name, int mode,
                     std::string_view bytes) {
  const std::string dat = kFolder + name + ".dat";
  const std::u16string path = scratch.File(dat);
  switch (mode) {
    case 0:
      scratch.Write(dat, bytes);
      break;
    case 1:
      scratch.Write(dat, Encipher(bytes, path));
      break;
    default:
      scratch.Write(kFolder + name + ".xml", bytes);
      break;
  }
  return path;
}

void Profiles(const std::u16string& path) {
  vk::ComPtr<CWEZProfileStore> store(new CWEZProfileStore());
  if (store->Initialize(path.c_str()) != S_OK) return;
  LONG count = 0;
  store->GetProfileCount(&count);
  std::u16string nick = u"ann";
  if (size_t n = vk::fuzz::Capacity(count)) {
    std::vector<ProfileInfo> profiles(n);
    LONG got = static_cast<LONG>(n);
    if (store->GetProfiles(profiles.data(), &got) == S_OK && got > 0) {
      nick = vk::FieldText(profiles[0].nick);
    }
  }
  ProfileInfo profile{};
  vk::CopyToField(profile.nick, nick);
  store->GetProfile(&profile);
  vk::fuzz::OwnedBstr by_uin;
  store->GetNickByUin(profile.uin != 0 ? profile.uin : 1, &by_uin);
  ProfileInfo added{};
  added.uin = 42;
  vk::CopyToField(added.nick, u"Bob");
  vk::CopyToField(added.name, u"Bob Jones");
  store->SetProfile(&added);
  store->DeleteProfile(nick.c_str());
  store->Close();
}

void BuddyProfiles(const std::u16string& path) {
  vk::ComPtr<CWEZProfileProStore> store(new CWEZProfileProStore());
  if (store->Initialize(vk::fuzz::OwnedBstr(path).get()) != S_OK) return;
  LONG count = 0;
  store->GetBuddyFieldCount(u"ann", &count);
  if (size_t n = vk::fuzz::Capacity(count)) {
    std::vector<BuddyField> fields(n);
    store->GetBuddyFields(u"ann", fields.data());
  }
  VARIANT value;
  VariantInit(&value);
  store->GetBuddyField(u"ann", u"Mobile", &value);
  VariantClear(&value);
  BuddyField change[1] = {};
  vk::CopyToField(change[0].name, u"Mobile");
  vk::CopyToField(change[0].value, u"123");
  store->SetBuddyFields(u"ann", change, 1);
  store->DeleteBuddy(u"bob");
  store->Close();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const vk::fuzz::Scratch& scratch = vk::fuzz::Scratch::Fresh();
  const int mode = (data[0] >> 1) % 3;
  const std::string_view bytes = vk::fuzz::Bytes(data + 1, size - 1);
  if (data[0] & 1) {
    BuddyProfiles(Place(scratch, "WEZProfilePro", mode, bytes));
  } else {
    Profiles(Place(scratch, "WEZProfile", mode, bytes));
  }
  return 0;
}
