// The enciphered XML files of the profile stores. A document lies on disk as the cipher of
// its UTF-16LE text (no byte-order mark, no terminator, nothing added), under a key made from
// the name of the folder that holds the file, so an account's files open only in that
// account's folder. A plain ".xml" file of the same name, left by older clients, is read in
// preference and deleted once the enciphered file has been written.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "storage/DomDocument.h"
#include "vaultkit/vkcom.h"

namespace vk {

using FileKey = std::array<uint8_t, 16>;

// The folder name of the path (the last component before the file name), lower-cased, in the
// ANSI code page, its first 16 bytes (the rest zero), each XOR its index.
FileKey MakeFileKey(std::u16string_view path);
// The plain companion of a data file: the path with every ".dat" replaced by ".xml".
std::u16string CompanionPath(std::u16string_view path);

// An enciphered file's plaintext under the key of its path; none when the cipher refuses the
// bytes (damaged, truncated, another folder's key, not an enciphered file).
std::optional<std::string> DecipherFile(std::string_view bytes, std::u16string_view path);
// The file's bytes for a document text under the key of its path.
std::string EncipherText(std::u16string_view text, std::u16string_view path);
// The two readings of a plaintext, each up to its first NUL: UTF-16LE, and the ANSI code page.
std::u16string PlainAsUtf16(std::string_view plain);
std::u16string PlainAsAnsi(std::string_view plain);

// Loads the companion when it exists (repaired and read again when asked and it does not
// parse), else the enciphered file under either reading; when nothing loads, the template,
// which is not written until the next save (the unreadable files are copied aside first).
// E_FAIL only when the template does not load.
HRESULT LoadEncipheredDocument(DomDocument& document, std::u16string_view path,
                               const char16_t* file_template, bool repair_companion);
// Writes the whole enciphered file atomically, then deletes the companion. Throws ComError
// when the file cannot be written (the old file stays) or the companion cannot be deleted.
void SaveEncipheredDocument(const DomDocument& document, std::u16string_view path);
// Replaces each control byte other than tab, line feed and carriage return by '*' in the raw
// bytes of a plain file, rewriting it when one was found; false when it cannot be read.
bool RepairXmlFile(std::u16string_view path);

}  // namespace vk
