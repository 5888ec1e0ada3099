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
  // False when the file cannot be read, is not well-formed in the ANSI code page (GBK), or
  // its root is not OffMsgIndexData; what was visited before the fault showed is not to be
  // trusted then.
  static bool Scan(std::u16string_view path, const Visit& on_root, const Visit& on_record);
  // Reads no further than the root's start tag, then looks at the end of the file: true when
  // the head is well-formed up to an OffMsgIndexData root and the file ends by closing that
  // root. A file cut short (the damage a crash or a full disk leaves) fails; so does one this
  // cannot judge (a root closed in its start tag, something after the root), which the full
  // scan must then read.
  static bool ScanRoot(std::u16string_view path, const Visit& on_root);
};

}  // namespace vk
