#include "platform/ProfileFile.h"

#include "platform/Text.h"

namespace vk {
namespace {

bool IsBlank(char16_t c) {
  return c == u' ' || c == u'\t' || c == u'\v' || c == u'\f';
}

std::u16string_view Trim(std::u16string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

bool SameName(std::u16string_view a, std::u16string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (WideToLower(a[i]) != WideToLower(b[i])) return false;
  }
  return true;
}

// The name of a "[name]" line, or nullopt for any other line.
std::optional<std::u16string_view> SectionName(std::u16string_view line) {
  line = Trim(line);
  if (line.empty() || line.front() != u'[') return std::nullopt;
  line.remove_prefix(1);
  size_t close = line.find(u']');
  return Trim(line.substr(0, close));
}

// Splits a "key=value" line; the value keeps its blanks.
bool SplitEntry(std::u16string_view line, std::u16string_view& key, std::u16string_view& value) {
  size_t equals = line.find(u'=');
  if (equals == std::u16string_view::npos) return false;
  key = Trim(line.substr(0, equals));
  value = line.substr(equals + 1);
  return true;
}

}  // namespace

ProfileFile::ProfileFile() : mark_("\xFF\xFE") {}

ProfileFile ProfileFile::Parse(std::string_view bytes) {
  ProfileFile file;
  if (bytes.substr(0, 2) == "\xFF\xFE") {
    file.encoding_ = Encoding::kUtf16Le;
  } else if (bytes.substr(0, 2) == "\xFE\xFF") {
    file.encoding_ = Encoding::kUtf16Be;
    file.mark_ = "\xFE\xFF";
  } else if (bytes.substr(0, 3) == "\xEF\xBB\xBF") {
    file.encoding_ = Encoding::kUtf8;
    file.mark_ = "\xEF\xBB\xBF";
  } else {
    file.encoding_ = Encoding::kAnsi;
    file.mark_.clear();
  }
  bytes.remove_prefix(file.mark_.size());
  const bool wide = file.encoding_ == Encoding::kUtf16Le || file.encoding_ == Encoding::kUtf16Be;
  const size_t unit = wide ? 2 : 1;
  // A damaged wide file may end in half a character: that byte cannot be read, and it is not
  // written back.
  const size_t usable = bytes.size() - bytes.size() % unit;
  auto at = [&](size_t i) -> char16_t {
    auto byte = [&](size_t k) { return static_cast<unsigned char>(bytes[k]); };
    if (!wide) return byte(i);
    return file.encoding_ == Encoding::kUtf16Le ? static_cast<char16_t>(byte(i) | byte(i + 1) << 8)
                                                : static_cast<char16_t>(byte(i) << 8 | byte(i + 1));
  };
  auto decode = [&](size_t offset, size_t length) -> std::u16string {
    std::string_view raw = bytes.substr(offset, length);
    if (file.encoding_ == Encoding::kUtf8) return FromUtf8(raw);
    if (file.encoding_ == Encoding::kAnsi) return FromAnsi(raw);
    std::u16string text;
    for (size_t i = offset; i < offset + length; i += 2) text += at(i);
    return text;
  };
  size_t start = 0;
  for (size_t i = 0; i < usable; i += unit) {
    char16_t c = at(i);
    if (c != u'\r' && c != u'\n') continue;
    size_t end = i + unit;
    if (c == u'\r' && end < usable && at(end) == u'\n') end += unit;
    Line line;
    line.raw.assign(bytes.substr(start, i - start));
    line.end.assign(bytes.substr(i, end - i));
    line.text = decode(start, i - start);
    file.lines_.push_back(std::move(line));
    start = end;
    i = end - unit;
  }
  if (start < usable) {
    Line line;
    line.raw.assign(bytes.substr(start, usable - start));
    line.text = decode(start, usable - start);
    file.lines_.push_back(std::move(line));
  }
  return file;
}

std::optional<ProfileFile::Entry> ProfileFile::Locate(std::u16string_view section,
                                                      std::u16string_view key) const {
  bool inside = false;
  for (size_t i = 0; i < lines_.size(); ++i) {
    if (auto name = SectionName(lines_[i].text)) {
      inside = SameName(*name, section);
      continue;
    }
    std::u16string_view line_key, value;
    if (inside && SplitEntry(lines_[i].text, line_key, value) && SameName(line_key, key)) {
      return Entry{i, std::u16string(value)};
    }
  }
  return std::nullopt;
}

std::optional<size_t> ProfileFile::SectionEnd(std::u16string_view section) const {
  std::optional<size_t> end;
  for (size_t i = 0; i < lines_.size(); ++i) {
    auto name = SectionName(lines_[i].text);
    if (name && end) break;  // the next section begins
    if (name && SameName(*name, section)) {
      end = i + 1;
    } else if (end && !Trim(lines_[i].text).empty()) {
      end = i + 1;
    }
  }
  return end;
}

std::optional<std::u16string> ProfileFile::Find(std::u16string_view section,
                                                std::u16string_view key) const {
  auto entry = Locate(section, key);
  if (!entry) return std::nullopt;
  return std::move(entry->value);
}

void ProfileFile::Insert(size_t at, std::u16string text) {
  // The line before a new last line needs an end of its own.
  if (at == lines_.size() && !lines_.empty() && lines_.back().end.empty() &&
      !lines_.back().changed) {
    lines_.back().end = Encode(u"\r\n");
  }
  Line line;
  line.text = std::move(text);
  line.changed = true;
  lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(at), std::move(line));
}

bool ProfileFile::Set(std::u16string_view section, std::u16string_view key,
                      std::u16string_view value) {
  if (auto entry = Locate(section, key)) {
    if (entry->value == value) return false;
    Line& line = lines_[entry->line];
    std::u16string_view line_key, old_value;
    SplitEntry(line.text, line_key, old_value);
    line.text = Concat({line_key, u"=", value});
    line.changed = true;
    return true;
  }
  std::u16string entry = Concat({key, u"=", value});
  if (auto end = SectionEnd(section)) {
    Insert(*end, std::move(entry));
  } else {
    Insert(lines_.size(), Concat({u"[", section, u"]"}));
    Insert(lines_.size(), std::move(entry));
  }
  return true;
}

bool ProfileFile::Remove(std::u16string_view section, std::u16string_view key) {
  auto entry = Locate(section, key);
  if (!entry) return false;
  lines_.erase(lines_.begin() + static_cast<std::ptrdiff_t>(entry->line));
  return true;
}

std::string ProfileFile::Encode(std::u16string_view text) const {
  switch (encoding_) {
    case Encoding::kUtf8:
      return ToUtf8(text);
    case Encoding::kAnsi:
      return ToAnsi(text);
    default: {
      std::string bytes;
      bytes.reserve(text.size() * 2);
      for (char16_t c : text) {
        char low = static_cast<char>(c & 0xFF), high = static_cast<char>(c >> 8);
        bytes += encoding_ == Encoding::kUtf16Le ? low : high;
        bytes += encoding_ == Encoding::kUtf16Le ? high : low;
      }
      return bytes;
    }
  }
}

std::string ProfileFile::Serialize() const {
  std::string bytes = mark_;
  const std::string line_end = Encode(u"\r\n");
  for (const Line& line : lines_) {
    if (line.changed) {
      bytes += Encode(line.text);
      bytes += line_end;
    } else {
      bytes += line.raw;
      bytes += line.end;
    }
  }
  return bytes;
}

}  // namespace vk
