#include "storage/EncipheredFile.h"

#include <algorithm>
#include <climits>

#include "platform/ComError.h"
#include "platform/Files.h"
#include "platform/SymmetryCipher.h"
#include "platform/Text.h"

namespace vk {
namespace {

constexpr size_t kCipherOverhead = 17;

// A path whose name has no ".dat" would be its own companion: it has none.
std::optional<std::u16string> ExistingCompanion(std::u16string_view path) {
  std::u16string companion = CompanionPath(path);
  if (companion == path || !IsFileExist(companion)) return std::nullopt;
  return companion;
}

bool LoadDeciphered(DomDocument& document, std::string_view plain) {
  try {
    if (document.LoadXml(PlainAsUtf16(plain))) return true;
  } catch (...) {
    // The ANSI reading is tried next.
  }
  return document.LoadXml(PlainAsAnsi(plain));
}

}  // namespace

FileKey MakeFileKey(std::u16string_view path) {
  size_t last = path.rfind(kSep);
  std::u16string_view folder =
      last == std::u16string_view::npos ? std::u16string_view() : path.substr(0, last);
  size_t slash = folder.rfind(kSep);
  std::u16string_view name = slash == std::u16string_view::npos ? folder : folder.substr(slash + 1);
  std::string ansi = ToAnsi(WideToLower(name));
  FileKey key{};
  for (size_t i = 0; i < key.size(); ++i) {
    uint8_t byte = i < ansi.size() ? static_cast<uint8_t>(ansi[i]) : 0;
    key[i] = static_cast<uint8_t>(byte ^ i);
  }
  return key;
}

std::u16string CompanionPath(std::u16string_view path) {
  std::u16string out(path);
  for (size_t at = out.find(u".dat"); at != std::u16string::npos; at = out.find(u".dat", at + 4)) {
    out.replace(at, 4, u".xml");
  }
  return out;
}

std::optional<std::string> DecipherFile(std::string_view bytes, std::u16string_view path) {
  if (bytes.size() > static_cast<size_t>(INT32_MAX)) return std::nullopt;
  const FileKey key = MakeFileKey(path);
  std::string plain(bytes.size(), '\0');
  int32_t length = static_cast<int32_t>(plain.size());
  if (!ux_symmetry_decrypt2(reinterpret_cast<const uint8_t*>(bytes.data()),
                            static_cast<int32_t>(bytes.size()), key.data(),
                            reinterpret_cast<uint8_t*>(plain.data()), &length)) {
    return std::nullopt;
  }
  plain.resize(static_cast<size_t>(length));
  return plain;
}

std::string EncipherText(std::u16string_view text, std::u16string_view path) {
  if (text.size() > (static_cast<size_t>(INT32_MAX) - kCipherOverhead) / 2) {
    throw ComError(E_OUTOFMEMORY, u"The document is too large to encipher.");
  }
  std::string plain;
  plain.reserve(text.size() * 2);
  for (char16_t c : text) {
    plain.push_back(static_cast<char>(c & 0xFF));
    plain.push_back(static_cast<char>(c >> 8));
  }
  const FileKey key = MakeFileKey(path);
  std::string out(plain.size() + kCipherOverhead, '\0');
  int32_t length = static_cast<int32_t>(out.size());
  if (!ux_symmetry_encrypt2(reinterpret_cast<const uint8_t*>(plain.data()),
                            static_cast<int32_t>(plain.size()), key.data(),
                            reinterpret_cast<uint8_t*>(out.data()), &length)) {
    throw ComError(E_FAIL, u"The document cannot be enciphered.");
  }
  out.resize(static_cast<size_t>(length));
  return out;
}

std::u16string PlainAsUtf16(std::string_view plain) {
  std::u16string text;
  text.reserve(plain.size() / 2);
  for (size_t i = 0; i + 1 < plain.size(); i += 2) {
    char16_t c = static_cast<char16_t>(static_cast<uint8_t>(plain[i]) |
                                       (static_cast<uint8_t>(plain[i + 1]) << 8));
    if (c == 0) break;
    text.push_back(c);
  }
  return text;
}

std::u16string PlainAsAnsi(std::string_view plain) {
  return FromAnsi(plain.substr(0, std::min(plain.find('\0'), plain.size())));
}

HRESULT LoadEncipheredDocument(DomDocument& document, std::u16string_view path,
                               const char16_t* file_template, bool repair_companion) {
  bool loaded = false;
  std::optional<std::u16string> companion = ExistingCompanion(path);
  if (companion) {
    loaded = document.Load(*companion);
    if (!loaded && repair_companion && RepairXmlFile(*companion)) {
      loaded = document.Load(*companion);
    }
  } else {
    try {
      std::optional<std::string> bytes = ReadWholeFile(path);
      std::optional<std::string> plain = bytes ? DecipherFile(*bytes, path) : std::nullopt;
      loaded = plain && LoadDeciphered(document, *plain);
    } catch (...) {
      // A file that cannot be read or deciphered leaves the store empty.
      loaded = false;
    }
  }
  if (loaded) return S_OK;
  // The next save replaces what could not be read: its bytes are kept aside first, and the
  // data file's too when a companion hid it.
  if (companion) KeepDamagedCopy(*companion);
  KeepDamagedCopy(path);
  return document.LoadXml(file_template) ? S_OK : E_FAIL;
}

void SaveEncipheredDocument(const DomDocument& document, std::u16string_view path) {
  SetFileAttributesNormal(path);
  std::string bytes = EncipherText(document.Xml(), path);
  if (!WriteFileAtomically(path, bytes)) {
    throw ComError(E_FAIL, u"Cannot write the file " + std::u16string(path) + u".");
  }
  if (std::optional<std::u16string> companion = ExistingCompanion(path)) {
    if (!RemoveFile(*companion)) {
      throw ComError(E_FAIL, u"Cannot delete the plain file " + *companion + u".");
    }
  }
}

bool RepairXmlFile(std::u16string_view path) {
  std::optional<std::string> bytes = ReadWholeFile(path);
  if (!bytes) return false;
  bool replaced = false;
  for (char& byte : *bytes) {
    auto b = static_cast<uint8_t>(byte);
    if (b > 0 && b < 32 && b != 9 && b != 10 && b != 13) {
      byte = '*';
      replaced = true;
    }
  }
  // A failed rewrite leaves the file as it was; reading it again then fails as before.
  if (replaced) WriteFileAtomically(path, *bytes);
  return true;
}

}  // namespace vk
