#include "org/UserListFolderLock.h"

#include <cerrno>
#include <cstring>

#include "platform/Files.h"
#include "platform/Log.h"
#include "platform/Text.h"

namespace vk {

bool UserListFolderLock::Take(const std::u16string& database_path, const char16_t* consequence) {
  const size_t separator = database_path.rfind(kSep);
  const std::u16string folder =
      separator == std::u16string::npos ? u"." : database_path.substr(0, separator + 1);
  if (lock_.Take(PathToNative(folder), kWait)) return true;
  const std::u16string reason =
      errno == EWOULDBLOCK ? u"another process holds it" : FromUtf8(std::strerror(errno));
  const std::u16string line = u"[UserlistError] CUserList::LoadXmlToDb cannot lock the folder " +
                              folder + u" (" + reason + u"): " + consequence;
  OutputDebugStringW(line.c_str());
  return false;
}

}  // namespace vk
