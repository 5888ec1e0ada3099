// Reads an index file in one pass without building a tree, for the operations that only
// read it: the root's attributes, then those of each OffMsgRec child in file order. A
// channel of 10,000 records reads in a fraction of the time a document takes to build. It sits
// in the storage layer, not with the offline store, so `vaultkit check` reads an index exactly
// as the store does without linking the store.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace vk {

class ReadableFile;

// The attributes of one element while the scan is at it.
class OffMsgAttributes {
 public:
  OffMsgAttributes(const unsigned char** attributes, int count)
      : attributes_(attributes), count_(count) {}
  // Absent: none.
  std::optional<std::u16string> Get(std::string_view name) const;
  // The same as UTF-8 text, as the parser hands it on.
  std::optional<std::string> Utf8(std::string_view name) const;
  // Absent reads as empty.
  std::u16string Text(std::string_view name) const { return Get(name).value_or(u""); }
  // The leading-digits integer; absent reads as 0.
  int32_t Int(std::string_view name) const;
  // The value as it stands in the parser's buffer, valid during the visit only.
  std::optional<std::string_view> Raw(std::string_view name) const;
  // Every unprefixed attribute's name and raw value, in document order.
  template <typename Visit>
  void ForEach(Visit&& visit) const {
    for (int i = 0; i < count_; ++i) {
      const unsigned char** entry = attributes_ + 5 * i;
      if (entry[1] != nullptr) continue;
      visit(std::string_view(reinterpret_cast<const char*>(entry[0])),
            std::string_view(reinterpret_cast<const char*>(entry[3]),
                             static_cast<size_t>(entry[4] - entry[3])));
    }
  }
  // A raw value as UTF-8 text.
  static std::string Unescape(std::string_view raw);

 private:
  const unsigned char** attributes_;
  int count_;
};

class OffMsgIndexScan {
 public:
  using Visit = std::function<void(const OffMsgAttributes&)>;

  // Part of an index read as a document of its own: the file's first `head` bytes, then its
  // bytes from `from` up to `to` (negative: up to its end), then `tail`.
  struct Part {
    int64_t head = 0, from = 0, to = -1;
    std::string_view tail;
  };
  // A large index read as two documents, one on each processor. The first is the file up to
  // a record's start tag, closed there with the root's end tag: it is well-formed only when
  // that tag stands between two children of the root (not in a comment, a CDATA section or
  // another element). The second is the file's head (prolog and root start tag, so the same
  // declarations apply) followed by the file from that record on. When the first reads, the
  // file reads exactly when the second does, and its records are the first's then the
  // second's.
  struct Split {
    int64_t root_end = 0;  // just after the root's start tag
    int64_t at = 0;        // the record's start tag
    Part First() const;
    Part Second() const { return {root_end, at, -1, {}}; }
  };

  // False when the file cannot be read, is not well-formed in the ANSI code page (GBK), or
  // its root is not OffMsgIndexData; what was visited before the fault showed is not to be
  // trusted then.
  static bool Scan(std::u16string_view path, const Visit& on_root, const Visit& on_record);
  // The same for a part of an open file; two parts may be read from two threads at once.
  static bool Scan(ReadableFile& file, const Part& part, const Visit& on_root,
                   const Visit& on_record);
  // A record's start tag at about `fraction` of the file, after a root start tag that has been
  // read as well-formed; none when there is no such tag near there.
  static std::optional<Split> FindSplit(ReadableFile& file, double fraction);
  // Reads no further than the root's start tag, then looks at the end of the file: true when
  // the head is well-formed up to an OffMsgIndexData root and the file ends by closing that
  // root. A file cut short (the damage a crash or a full disk leaves) fails; so does one this
  // cannot judge (a root closed in its start tag, something after the root), which the full
  // scan must then read.
  static bool ScanRoot(std::u16string_view path, const Visit& on_root);
};

}  // namespace vk
