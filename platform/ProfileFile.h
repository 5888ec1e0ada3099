// One private-profile (INI) file held as lines, for the profile functions. Lines keep their
// bytes: only the lines a write changes or adds are re-encoded, so everything else in the
// file, damaged text included, is written back exactly as it was read.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vk {

class ProfileFile {
 public:
  enum class Encoding { kUtf16Le, kUtf16Be, kUtf8, kAnsi };

  // An empty file in UTF-16LE with the FF FE mark (the form of newly created files).
  ProfileFile();
  // Reads the bytes of a file; any bytes give a usable (possibly empty) profile.
  static ProfileFile Parse(std::string_view bytes);

  // The raw value of the first key of that name in the first section of that name that
  // has it (names matched without regard to case); nullopt when absent.
  std::optional<std::u16string> Find(std::u16string_view section, std::u16string_view key) const;
  // Replaces the key's value, or adds the key at the end of its section, or adds the section
  // at the end of the file. Returns false when nothing changed.
  bool Set(std::u16string_view section, std::u16string_view key, std::u16string_view value);
  // Removes the key's line; false when there was none.
  bool Remove(std::u16string_view section, std::u16string_view key);

  std::string Serialize() const;
  Encoding encoding() const { return encoding_; }

 private:
  struct Line {
    std::u16string text;
    std::string raw;  // the bytes as read, without the line end
    std::string end;  // the line end as read
    bool changed = false;
  };
  struct Entry {
    size_t line;
    std::u16string value;
  };

  std::optional<Entry> Locate(std::u16string_view section, std::u16string_view key) const;
  // Index after the last non-blank line of the first section of that name, or nullopt.
  std::optional<size_t> SectionEnd(std::u16string_view section) const;
  void Insert(size_t at, std::u16string text);
  std::string Encode(std::u16string_view text) const;

  Encoding encoding_ = Encoding::kUtf16Le;
  std::string mark_;
  std::vector<Line> lines_;
};

}  // namespace vk
