// The server's organisation XML as handed to the directory's rebuild: imported into a fresh
// database, then the directory and the search lists it built are read.
#include <vector>

#include "fuzz/FuzzSupport.h"
#include "org/UserList.h"
#include "runtime/ComObject.h"

namespace {

// Any object serves as the client.
class Client : public vk::ComObject<IUnknown> {};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const vk::fuzz::Scratch& scratch = vk::fuzz::Scratch::Fresh();
  scratch.Write("org.xml", vk::fuzz::Bytes(data, size));
  vk::ComPtr<Client> client(new Client());
  vk::ComPtr<CUserList> list(new CUserList());
  list->Initialize(scratch.File("userList5.dat").c_str(), client.get());
  list->LoadDataFromXml(scratch.File("org.xml").c_str());
  list->WaitForSearchLists();
  LONG count = 0;
  list->GetDeptCount(&count);
  if (size_t n = vk::fuzz::Capacity(count)) {
    std::vector<ULONG> ids(n);
    if (list->GetDeptIds(ids.data(), &count) == S_OK) {
      // The first few departments with their members: enough to read back every column.
      for (LONG i = 0; i < count && i < 4; ++i) {
        LONG members = 0;
        list->GetUserCount(ids[i], &members);
        if (size_t m = vk::fuzz::Capacity(members)) {
          std::vector<UserListEntry> entries(m);
          if (list->GetDeptUsers(ids[i], entries.data(), &members) == S_OK && members > 0) {
            vk::fuzz::OwnedBstr name;
            list->GetNameByNick(entries[0].nick, &name);
          }
        }
      }
    }
  }
  vk::fuzz::OwnedBstr matches, reserved, dir_version, root_version;
  list->SearchUsers(u"", &matches, &reserved);
  list->GetVersionInfo(&dir_version, &root_version);
  ULONG version = 0;
  list->GetMaxDeptVersion(&version);
  list->GetProVer(&version);
  list->GetChangedDeptCount(u"0", &count);
  list->WaitForSearchLists();
  return 0;
}
