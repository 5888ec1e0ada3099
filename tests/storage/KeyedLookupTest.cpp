// The keyed lookups against libxml2's own XPath on the same document: random documents,
// changed between lookups through the DOM layer, and random expressions of every shape the
// stores build and of shapes close to them; every answer must be the same nodes in the same
// order, or the same failure. VK_DIFF_SEED=random (or a number) changes the fixed seed.
#include <gtest/gtest.h>
#include <libxml/xpath.h>

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "platform/ComError.h"
#include "platform/Text.h"
#include "storage/DomDocument.h"
#include "storage/DomDocumentState.h"
#include "storage/KeyedPath.h"

namespace vk {
namespace {

// $R document element name, $E element names, $A attribute names, $V values. keyed: the
// recogniser must take it when $V holds no quote.
struct Shape {
  const char* text;
  bool keyed;
};
constexpr Shape kShapes[] = {
    {"/$R//$E[@$A=\"$V\"]", true},
    {"/$R/$E/$E[@$A=\"$V\"]", true},
    {"/$R//$E[translate(@$A, 'ABCDEFGHIJKLMNOPQRSTUVWXYZ', 'abcdefghijklmnopqrstuvwxyz') = '$V']",
     true},
    {"./$E[translate(@$A, '1234567890ABCDEFGHIJKLMNOPQRSTUVWXYZ', "
     "'1234567890abcdefghijklmnopqrstuvwxyz') = '$V']",
     true},
    {"./$E[@$A = \"$V\"]", true},
    {"./$E[@$A = \"$V\"]/$E[@$A = \"$V\"]", true},
    {"./$E[@$A = \"$V\"]//$E[@$A = \"$V\"]", true},
    {"./$E[@$A=\"$V\"]//$E", true},
    {"$E[@$A='$V']", true},
    {".//$E[@$A='$V']/$E", true},
    {"//$E[@$A='$V']", true},
    {"./$E[translate(@$A,'ABCDEFGHIJKLMNOPQRSTUVWXYZ','abcdefghijklmnopqrstuvwxyz')='$V']", true},
    // Close to the stores' shapes, but not theirs: left to libxml2.
    {"/$R//$E[@$A!=\"$V\"]", false},
    {"/$R//$E[@$A=\"$V\"][1]", false},
    {"./$E[@$A = \"$V\"]/..", false},
    {"/$R//p:$E[@$A='$V']", false},
    {"./$E[translate(@$A, 'ABC', 'abc') = '$V']", false},
    {"./$E[translate(@$A, 'ABCDEFGHIJKLMNOPQRSTUVWXYZ', 'abcdefghijklmnopqrstuvwxy') = '$V']",
     false},
    {"./$E[ @$A = \"$V\" ]", false},
    {"./$E[@$A=\"$V\"", false},
    {"./$E[@*='$V']", false},
    {"./$E[\"$V\" = @$A]", false},
    {"/$R//$E[@p:$A='$V']", false},
    {"./$E[@$A=\"$V\"] | ./$E", false},
};

const char* const kRoots[] = {"Root", "root", "User"};
const char* const kNames[] = {"User", "ITEM", "Item", "Field", "user"};
const char* const kAttributes[] = {"Nick", "NICK", "id"};
const char* const kValues[] = {"a", "A", "b", "Zed", "zED",
                               // Split so that the 'b' is not read as part of the escape.
                               ("z\xC3\x84"
                                "b"),
                               "\xE5\xBC\xA0", "", "x'y", "x\"y", "a b", "ab1"};

class Differential {
 public:
  explicit Differential(unsigned seed) : random_(seed) {}

  void Run(int documents, int operations) {
    for (int d = 0; d < documents; ++d) {
      ASSERT_TRUE(doc_.LoadXml(FromUtf8(RandomDocument())));
      for (int i = 0; i < operations; ++i) {
        if (Pick(3) == 0) {
          Change();
        } else {
          Lookup();
        }
        if (testing::Test::HasFailure()) return;
      }
    }
  }
  int lookups = 0;

 private:
  size_t Pick(size_t n) { return std::uniform_int_distribution<size_t>(0, n - 1)(random_); }
  template <typename T, size_t N>
  const T& Any(const T (&items)[N]) {
    return items[Pick(N)];
  }

  std::string Escaped(std::string value) {
    std::string out;
    for (char c : value) out += c == '"' ? "&quot;" : c == '&' ? "&amp;" : std::string(1, c);
    return out;
  }

  std::string RandomElement(int depth) {
    std::string name = Any(kNames);
    std::string text = "<" + name;
    if (Pick(12) == 0) text += " xmlns=\"urn:d\"";
    for (const char* attribute : kAttributes) {
      if (Pick(2) == 0) text += std::string(" ") + attribute + "=\"" + Escaped(Any(kValues)) + "\"";
    }
    if (Pick(8) == 0) text += std::string(" p:") + Any(kAttributes) + "=\"a\"";
    text += ">";
    size_t children = depth > 2 ? 0 : Pick(depth == 0 ? 12 : 4);
    for (size_t i = 0; i < children; ++i) text += RandomElement(depth + 1);
    return text + "</" + name + ">";
  }

  std::string RandomDocument() {
    std::string root = Any(kRoots);
    std::string text = "<" + root + " xmlns:p=\"urn:p\">";
    // Now and then a long flat run, so that many elements share each key.
    size_t entries = Pick(8) == 0 ? 150 + Pick(200) : Pick(30);
    for (size_t i = entries; i > 0; --i) text += RandomElement(1);
    return text + "</" + root + ">";
  }

  // Every element of the tree, the document element first.
  std::vector<DomNode> Elements() {
    std::vector<DomNode> all;
    std::vector<DomNode> pending = {doc_.DocumentElement()};
    while (!pending.empty()) {
      DomNode node = pending.back();
      pending.pop_back();
      all.push_back(node);
      for (DomNode child = node.FirstChild(); child; child = child.NextSibling()) {
        if (child.IsElement()) pending.push_back(child);
      }
    }
    return all;
  }

  void Change() {
    std::vector<DomNode> all = Elements();
    DomNode target = all[Pick(all.size())];
    DomNode other = all[Pick(all.size())];
    try {
      switch (Pick(8)) {
        case 0:
          target.SetAttribute(FromUtf8(Any(kAttributes)), FromUtf8(Any(kValues)));
          break;
        case 1:
          if (DomNode attr =
                  target.SelectSingleNode(FromUtf8(std::string("@") + Any(kAttributes)))) {
            attr.SetNodeValue(FromUtf8(Any(kValues)));
          }
          break;
        case 2: {  // a new element, given its key before or after it joins the tree
          DomNode added = doc_.CreateElement(FromUtf8(Any(kNames)));
          bool before = Pick(2) == 0;
          if (before) added.SetAttribute(FromUtf8(Any(kAttributes)), FromUtf8(Any(kValues)));
          target.InsertBefore(added, Pick(2) == 0 ? other : target.FirstChild());
          if (!before) added.SetAttribute(FromUtf8(Any(kAttributes)), FromUtf8(Any(kValues)));
          break;
        }
        case 3:  // moved, possibly with its subtree, possibly under itself (refused)
          target.AppendChild(other);
          break;
        case 4:
          if (DomNode parent = target.ParentNode(); parent.IsElement()) {
            detached_ = parent.RemoveChild(target);
            if (Pick(2) == 0) detached_.SetAttribute(FromUtf8(Any(kAttributes)), u"a");
          }
          break;
        case 5:
          if (detached_) other.AppendChild(detached_);
          break;
        case 6: {  // renamed: a copy under another name takes its place
          DomNode parent = target.ParentNode();
          if (!parent.IsElement()) break;
          DomNode renamed = doc_.CreateElement(FromUtf8(Any(kNames)));
          for (const char* attribute : kAttributes) {
            if (auto value = target.GetAttribute(FromUtf8(attribute))) {
              renamed.SetAttribute(FromUtf8(attribute), *value);
            }
          }
          while (DomNode child = target.FirstChild()) renamed.AppendChild(child);
          parent.InsertBefore(renamed, target);
          parent.RemoveChild(target);
          break;
        }
        default:
          target.SetText(Pick(2) == 0 ? u"" : u"text");
          break;
      }
    } catch (const ComError&) {
      // A refused change (a node under itself) leaves the tree as it was.
    }
  }

  std::string Expand(const char* text) {
    std::string out;
    for (const char* c = text; *c != 0; ++c) {
      if (*c != '$') {
        out += *c;
        continue;
      }
      char what = *++c;
      out += what == 'R'   ? Any(kRoots)
             : what == 'E' ? Any(kNames)
             : what == 'A' ? Any(kAttributes)
                           : Any(kValues);
    }
    return out;
  }

  // libxml2 alone: the nodes, or none when the expression fails.
  std::optional<std::vector<xmlNodePtr>> Reference(xmlNodePtr context, const std::string& xpath) {
    xmlXPathContextPtr ctx = xmlXPathNewContext(context->doc);
    ctx->node = context;
    ctx->error = [](void*, xmlErrorPtr) {};
    xmlXPathObjectPtr result =
        xmlXPathEvalExpression(reinterpret_cast<const xmlChar*>(xpath.c_str()), ctx);
    xmlXPathFreeContext(ctx);
    std::optional<std::vector<xmlNodePtr>> nodes;
    if (result != nullptr && result->type == XPATH_NODESET) {
      nodes.emplace();
      for (int i = 0; result->nodesetval != nullptr && i < result->nodesetval->nodeNr; ++i) {
        nodes->push_back(result->nodesetval->nodeTab[i]);
      }
    }
    xmlXPathFreeObject(result);
    return nodes;
  }

  void Lookup() {
    const Shape& shape = Any(kShapes);
    std::string xpath = Expand(shape.text);
    std::vector<DomNode> all = Elements();
    size_t choice = Pick(10);
    DomNode context = choice == 0                ? doc_.DocumentNode()
                      : choice == 1              ? all[Pick(all.size())]
                      : choice == 2 && detached_ ? detached_
                                                 : doc_.DocumentElement();
    std::optional<std::vector<xmlNodePtr>> expected = Reference(context.Raw(), xpath);
    std::optional<std::vector<xmlNodePtr>> actual;
    DomNode single;
    try {
      DomNodeList list = context.SelectNodes(FromUtf8(xpath));
      actual.emplace();
      for (long i = 0; i < list.Length(); ++i) actual->push_back(list.Item(i).Raw());
      single = context.SelectSingleNode(FromUtf8(xpath));
    } catch (const ComError& error) {
      EXPECT_EQ(error.Status(), E_FAIL) << xpath;
    }
    ++lookups;
    ASSERT_EQ(expected, actual) << xpath << " in " << ToUtf8(doc_.Xml());
    if (actual) {
      ASSERT_EQ(single.Raw(), actual->empty() ? nullptr : actual->front()) << xpath;
    }
    if (xpath.find("x'y") == std::string::npos && xpath.find("x\"y") == std::string::npos) {
      ASSERT_EQ(KeyedPath::Parse(xpath).has_value(), shape.keyed) << xpath;
    }
  }

  std::mt19937 random_;
  DomDocument doc_;
  DomNode detached_;
};

unsigned Seed() {
  const char* chosen = std::getenv("VK_DIFF_SEED");
  if (chosen == nullptr) return 20261123;
  if (std::string(chosen) == "random") return std::random_device()();
  return static_cast<unsigned>(std::strtoul(chosen, nullptr, 10));
}

TEST(KeyedLookupTest, AnswersAsLibxml2DoesThroughRandomChanges) {
  unsigned seed = Seed();
  SCOPED_TRACE("VK_DIFF_SEED=" + std::to_string(seed));
  Differential differential(seed);
  differential.Run(150, 60);
  EXPECT_GT(differential.lookups, 5000);
}

}  // namespace
}  // namespace vk
