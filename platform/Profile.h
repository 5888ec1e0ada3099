// Private-profile (INI) functions for UTF-16LE files, written as the client platform's own
// profile functions write them: FF FE mark, CR LF lines, sections and keys matched without
// regard to case, other sections and lines left untouched, writes replacing the file
// atomically. A file without the FF FE mark is read as ANSI text (GBK) and, when written,
// keeps that form.
#pragma once

#include <cstdint>

// Returns the value's leading-digits integer, or `fallback` when the key is absent.
uint32_t GetPrivateProfileIntW(const char16_t* section, const char16_t* key, int32_t fallback,
                               const char16_t* path);
// Copies the trimmed value (or `fallback`) into out, at most size-1 characters and a NUL;
// returns the number of characters copied.
uint32_t GetPrivateProfileStringW(const char16_t* section, const char16_t* key,
                                  const char16_t* fallback, char16_t* out, uint32_t size,
                                  const char16_t* path);
// Writes key=value into the section (creating both as needed); a null value deletes the key.
bool WritePrivateProfileStringW(const char16_t* section, const char16_t* key, const char16_t* value,
                                const char16_t* path);
// Structures: each byte as two upper-case hex digits, then the checksum byte (low eight
// bits of the byte sum) as two more. The reader rejects a wrong length or checksum.
bool WritePrivateProfileStructW(const char16_t* section, const char16_t* key, const void* data,
                                uint32_t size, const char16_t* path);
bool GetPrivateProfileStructW(const char16_t* section, const char16_t* key, void* data,
                              uint32_t size, const char16_t* path);
