// The lookup expressions the stores build, recognised so that KeyedLookup can answer them
// from an index instead of a scan: a path of element name tests, absolute or relative to the
// context node, joined by "/" or "//", where a step may carry one predicate comparing an
// attribute with a literal, "[@a = 'v']", or the same through "translate(@a, 'A..Z',
// 'a..z')" that folds only the ASCII capitals. Parse() accepts only what it is sure XPath
// 1.0 reads that way; anything else (including every expression XPath would reject) is
// left to the full evaluator.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vk {

struct KeyedPredicate {
  std::string attribute;
  bool folded = false;  // through translate() of A-Z to a-z
  std::string literal;  // UTF-8, as written between the quotes
};

struct KeyedStep {
  bool descendant = false;  // "//" before the step: any depth below the previous one
  std::string element;
  std::optional<KeyedPredicate> predicate;
};

class KeyedPath {
 public:
  // None when the expression is not one of the recognised shapes.
  static std::optional<KeyedPath> Parse(std::string_view expression);

  bool absolute = false;  // from the document node rather than the context node
  std::vector<KeyedStep> steps;
};

}  // namespace vk
