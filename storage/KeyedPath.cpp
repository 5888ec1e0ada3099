#include "storage/KeyedPath.h"

#include <array>

namespace vk {
namespace {

constexpr std::string_view kUpper = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";

// A cursor over the expression; every Take* consumes only on success.
class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text) {}

  bool AtEnd() const { return at_ == text_.size(); }
  bool Peek(std::string_view token) const { return text_.substr(at_).starts_with(token); }
  bool Take(std::string_view token) {
    if (!Peek(token)) return false;
    at_ += token.size();
    return true;
  }
  void SkipBlanks() {
    while (at_ < text_.size() && IsBlank(text_[at_])) ++at_;
  }

  // An ASCII name that XPath reads as a plain name test: no prefix, no axis, no node type,
  // no operator name.
  std::optional<std::string> TakeName() {
    size_t end = at_;
    while (end < text_.size() && IsNameChar(text_[end], end == at_)) ++end;
    std::string name(text_.substr(at_, end - at_));
    static constexpr std::array<std::string_view, 8> kReserved = {
        "and", "or", "div", "mod", "node", "text", "comment", "processing-instruction"};
    for (std::string_view reserved : kReserved) {
      if (name == reserved) return std::nullopt;
    }
    if (name.empty()) return std::nullopt;
    at_ = end;
    return name;
  }

  // A quoted literal whose characters XPath accepts (well-formed UTF-8, XML characters).
  std::optional<std::string> TakeLiteral() {
    if (AtEnd() || (text_[at_] != '"' && text_[at_] != '\'')) return std::nullopt;
    size_t close = text_.find(text_[at_], at_ + 1);
    if (close == std::string_view::npos) return std::nullopt;
    std::string_view body = text_.substr(at_ + 1, close - at_ - 1);
    if (!IsXmlText(body)) return std::nullopt;
    at_ = close + 1;
    return std::string(body);
  }

 private:
  static bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
  static bool IsNameChar(char c, bool first) {
    if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_') return true;
    return !first && c >= '0' && c <= '9';
  }
  static bool IsXmlChar(char32_t c) {
    return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) ||
           (c >= 0xE000 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0x10FFFF);
  }
  // Decodes strict UTF-8 (no overlong forms) and checks every character.
  static bool IsXmlText(std::string_view text) {
    for (size_t i = 0; i < text.size();) {
      auto byte = static_cast<unsigned char>(text[i]);
      size_t length = byte < 0x80 ? 1 : byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC2 ? 2 : 0;
      if (length == 0 || byte > 0xF4 || i + length > text.size()) return false;
      char32_t c = length == 1 ? byte : byte & (0x7F >> length);
      for (size_t k = 1; k < length; ++k) {
        auto next = static_cast<unsigned char>(text[i + k]);
        if ((next & 0xC0) != 0x80) return false;
        c = (c << 6) | (next & 0x3F);
      }
      static constexpr std::array<char32_t, 5> kSmallest = {0, 0, 0x80, 0x800, 0x10000};
      if (c < kSmallest[length] || !IsXmlChar(c)) return false;
      i += length;
    }
    return true;
  }

  std::string_view text_;
  size_t at_ = 0;
};

// True when translate(x, from, to) changes exactly the capitals A-Z into their small letters
// and leaves every other character as it is.
bool FoldsOnlyCapitals(std::string_view from, std::string_view to) {
  std::array<int, 128> map{};
  for (int c = 0; c < 128; ++c) map[c] = c;
  std::array<bool, 128> seen{};
  for (size_t i = 0; i < from.size(); ++i) {
    auto c = static_cast<unsigned char>(from[i]);
    if (c >= 128) return false;
    if (seen[c]) continue;  // only the first occurrence counts
    seen[c] = true;
    if (i >= to.size()) return false;  // a character without a partner is removed
    if (static_cast<unsigned char>(to[i]) >= 128) return false;
    map[c] = to[i];
  }
  for (int c = 0; c < 128; ++c) {
    bool upper = kUpper.find(static_cast<char>(c)) != std::string_view::npos;
    if (map[c] != (upper ? c - 'A' + 'a' : c)) return false;
  }
  return true;
}

// "@a = 'v'" or "translate(@a, 'A..Z', 'a..z') = 'v'".
std::optional<KeyedPredicate> TakePredicate(Reader& in) {
  KeyedPredicate predicate;
  bool folded = in.Take("translate(");
  if (!in.Take("@")) return std::nullopt;
  std::optional<std::string> attribute = in.TakeName();
  if (!attribute) return std::nullopt;
  if (folded) {
    std::optional<std::string> from, to;
    in.SkipBlanks();
    if (!in.Take(",")) return std::nullopt;
    in.SkipBlanks();
    if (!(from = in.TakeLiteral())) return std::nullopt;
    in.SkipBlanks();
    if (!in.Take(",")) return std::nullopt;
    in.SkipBlanks();
    if (!(to = in.TakeLiteral())) return std::nullopt;
    in.SkipBlanks();
    if (!in.Take(")") || !FoldsOnlyCapitals(*from, *to)) return std::nullopt;
  }
  in.SkipBlanks();
  if (!in.Take("=")) return std::nullopt;
  in.SkipBlanks();
  std::optional<std::string> literal = in.TakeLiteral();
  if (!literal) return std::nullopt;
  return KeyedPredicate{std::move(*attribute), folded, std::move(*literal)};
}

}  // namespace

std::optional<KeyedPath> KeyedPath::Parse(std::string_view expression) {
  Reader in(expression);
  KeyedPath path;
  bool descendant = false;
  if (in.Take("//")) {
    path.absolute = descendant = true;
  } else if (in.Take("/")) {
    path.absolute = true;
  } else if (in.Take(".//")) {
    descendant = true;
  } else {
    in.Take("./");
  }
  while (true) {
    KeyedStep step;
    step.descendant = descendant;
    std::optional<std::string> name = in.TakeName();
    if (!name) return std::nullopt;
    step.element = std::move(*name);
    if (in.Take("[")) {
      step.predicate = TakePredicate(in);
      if (!step.predicate || !in.Take("]")) return std::nullopt;
    }
    path.steps.push_back(std::move(step));
    if (in.AtEnd()) return path;
    if (in.Take("//")) {
      descendant = true;
    } else if (in.Take("/")) {
      descendant = false;
    } else {
      return std::nullopt;
    }
  }
}

}  // namespace vk
