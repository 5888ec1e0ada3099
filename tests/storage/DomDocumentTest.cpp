#include <gtest/gtest.h>

#include <filesystem>

#include "platform/ComError.h"
#include "platform/Text.h"
#include "storage/DomDocument.h"
#include "storage/XmlRecordFilter.h"
#include "tests/support/TempDataRoot.h"

namespace vk {
namespace {

namespace fs = std::filesystem;

class DomDocumentTest : public testing::Test {
 protected:
  std::u16string PathOf(const std::string& name) const { return root_.File(FromUtf8(name)); }

  test::TempDataRoot root_;
};

// Runs f, which must throw a ComError; returns it.
template <typename F>
ComError CatchComError(F&& f) {
  try {
    f();
  } catch (const ComError& error) {
    return error;
  }
  ADD_FAILURE() << "no ComError was thrown";
  return ComError(S_OK, u"");
}

TEST_F(DomDocumentTest, Gb2312FileRoundTripsByteForByte) {
  // The form libxml2 writes: declaration, line break, content without added formatting.
  std::string original = "<?xml version=\"1.0\" encoding=\"gb2312\"?>\n" +
                         ToAnsi(
                             u"<?WEZ 用户详细资料 ?>\n<UserGrid ProVer=\"3\">"
                             u"<User Grid=\"5\" Nick=\"张三\"/><Dept>研发部</Dept>"
                             u"<Dept>部門</Dept></UserGrid>\n");
  root_.WriteBytes("in.xml", original);
  DomDocument doc;
  ASSERT_TRUE(doc.Load(PathOf("in.xml"))) << ToUtf8(doc.ParseError());
  DomNode user = doc.SelectSingleNode(u"/UserGrid/User");
  ASSERT_TRUE(user);
  EXPECT_EQ(user.GetAttribute(u"Nick"), u"张三");
  EXPECT_EQ(doc.SelectSingleNode(u"Dept").Text(), u"研发部");
  // "gb2312" is read as the client's platform reads it, code page 936: GBK characters too.
  EXPECT_EQ(doc.SelectSingleNode(u"Dept[2]").Text(), u"部門");
  doc.Save(PathOf("out.xml"));
  EXPECT_EQ(root_.ReadBytes("out.xml"), original);
}

TEST_F(DomDocumentTest, StringDeclaringGb2312SavesGb2312Bytes) {
  DomDocument doc;
  ASSERT_TRUE(
      doc.LoadXml(u"<?xml version=\"1.0\" encoding=\"GB2312\"?><?WEZ 用户详细资料 ?>"
                  u"<Root b=\"2\" a=\"1\"></Root>"));
  doc.DocumentElement().SetAttribute(u"Nick", u"李四");
  doc.DocumentElement().SetAttribute(u"Ver", int64_t{-7});
  std::string bytes = doc.SaveToBytes();
  EXPECT_EQ(bytes, "<?xml version=\"1.0\" encoding=\"GB2312\"?>\n" +
                       ToAnsi(u"<?WEZ 用户详细资料 ?>\n<Root b=\"2\" a=\"1\" Nick=\"李四\" "
                              u"Ver=\"-7\"/>\n"));
  // A character GB2312 lacks is kept as a reference, so nothing is lost.
  doc.DocumentElement().SetAttribute(u"Nick", u"😀");
  DomDocument reread;
  std::string saved = doc.SaveToBytes();
  ASSERT_TRUE(reread.LoadXml(FromAnsi(saved.substr(saved.find('\n')))));
  EXPECT_EQ(reread.DocumentElement().GetAttribute(u"Nick"), u"😀");

  // The text form is Unicode but still names the declared encoding.
  std::u16string xml = doc.Xml();
  EXPECT_EQ(xml.rfind(u"<?xml version=\"1.0\" encoding=\"GB2312\"?>\n<?WEZ 用户详细资料 ?>", 0),
            0u);
  EXPECT_NE(xml.find(u"Nick=\"😀\""), std::u16string::npos);
}

TEST_F(DomDocumentTest, BadXPathRaisesTheErrorObject) {
  DomDocument doc;
  ASSERT_TRUE(doc.LoadXml(u"<PORTAL><DeptPortal><NoteCN>x</NoteCN></DeptPortal></PORTAL>"));
  for (const char16_t* bad : {u"/PORTAL/DeptPortal/", u"/UserGrid//User[@Nick=\"a\"b\"]",
                              u"count(/PORTAL)", u"/PORTAL[", u""}) {
    ComError error = CatchComError([&] { doc.SelectSingleNode(bad); });
    EXPECT_EQ(error.Status(), E_FAIL) << ToUtf8(bad);
    EXPECT_FALSE(error.Description().empty()) << ToUtf8(bad);
  }
  EXPECT_EQ(CatchComError([&] { doc.SelectNodes(u"//*["); }).Status(), E_FAIL);
}

TEST_F(DomDocumentTest, XPathRunsFromTheDocumentElement) {
  DomDocument doc;
  ASSERT_TRUE(
      doc.LoadXml(u"<Root ProVer=\"4\"><User Nick=\"Ann\"/><Grp><User Nick=\"Bob\"/>"
                  u"</Grp></Root>"));
  EXPECT_EQ(doc.SelectSingleNode(u"User").GetAttribute(u"Nick"), u"Ann");
  EXPECT_EQ(doc.SelectNodes(u"/Root//User").Length(), 2);
  EXPECT_EQ(doc.SelectNodes(u"//User[translate(@Nick,'ABCDEFGHIJKLMNOPQRSTUVWXYZ',"
                            u"'abcdefghijklmnopqrstuvwxyz')='bob']")
                .Length(),
            1);
  EXPECT_TRUE(doc.SelectSingleNode(u"/Root//User[@Nick=\"ann\"]").IsNull());
  EXPECT_EQ(doc.SelectNodes(u"/Nothing").Length(), 0);
  EXPECT_TRUE(doc.SelectNodes(u"/Nothing").Item(0).IsNull());

  DomNode version = doc.SelectSingleNode(u"/Root//@ProVer");
  ASSERT_TRUE(version);
  EXPECT_EQ(version.NodeValue(), u"4");
  version.SetNodeValue(u"a&b<\"c\"");
  EXPECT_EQ(doc.DocumentElement().GetAttribute(u"ProVer"), u"a&b<\"c\"");

  // From the document node a relative path starts with the document element's name.
  EXPECT_EQ(doc.DocumentNode().SelectSingleNode(u"Root"), doc.DocumentElement());
  EXPECT_EQ(doc.DocumentNode().SelectNodes(u"Root/User").Length(), 1);
  EXPECT_TRUE(doc.DocumentNode().SelectSingleNode(u"User").IsNull());
}

TEST_F(DomDocumentTest, RemovingANodeThatIsNotAChildRaises) {
  DomDocument doc;
  ASSERT_TRUE(doc.LoadXml(u"<R><A><B/></A><C/><D/></R>"));
  DomNode root = doc.DocumentElement();
  DomNode grandchild = doc.SelectSingleNode(u"A/B");
  EXPECT_EQ(CatchComError([&] { root.RemoveChild(grandchild); }).Status(), E_INVALIDARG);
  EXPECT_EQ(CatchComError([&] { root.RemoveChild(root); }).Status(), E_INVALIDARG);
  EXPECT_EQ(CatchComError([&] { root.RemoveChild(DomNode()); }).Status(), E_INVALIDARG);
  DomNode fresh = doc.CreateElement(u"New");
  EXPECT_EQ(CatchComError([&] { root.RemoveChild(fresh); }).Status(), E_INVALIDARG);

  // A removed node is detached from its siblings, as the W3C DOM does it.
  DomNode removed = root.RemoveChild(root.FirstChild());
  EXPECT_EQ(removed.NodeName(), u"A");
  EXPECT_TRUE(removed.NextSibling().IsNull());
  EXPECT_EQ(root.FirstChild().NodeName(), u"C");
  EXPECT_EQ(CatchComError([&] { root.RemoveChild(removed); }).Status(), E_INVALIDARG);
  // The removed subtree stays usable while it is held and can be put back.
  EXPECT_EQ(removed.FirstChild().NodeName(), u"B");
  root.AppendChild(removed);
  EXPECT_EQ(root.ChildNodes().Length(), 3);
  EXPECT_EQ(root.ChildNodes().Item(2).NodeName(), u"A");
  EXPECT_EQ(CatchComError([&] { removed.AppendChild(root); }).Status(), E_FAIL);

  DomDocument other;
  ASSERT_TRUE(other.LoadXml(u"<X/>"));
  EXPECT_EQ(CatchComError([&] { other.DocumentElement().AppendChild(fresh); }).Status(),
            E_INVALIDARG);
}

TEST_F(DomDocumentTest, AbsentAttributeDiffersFromEmpty) {
  DomDocument doc;
  ASSERT_TRUE(doc.LoadXml(u"<R Empty=\"\" Full=\"x\"/>"));
  DomNode root = doc.DocumentElement();
  EXPECT_EQ(root.GetAttribute(u"Empty"), std::optional<std::u16string>(u""));
  EXPECT_EQ(root.GetAttribute(u"Full"), u"x");
  EXPECT_FALSE(root.GetAttribute(u"Missing").has_value());
  EXPECT_FALSE(root.GetAttribute(u"full").has_value());
  EXPECT_TRUE(doc.SelectSingleNode(u"/R/@Missing").IsNull());
  EXPECT_FALSE(doc.SelectSingleNode(u"/R/@Empty").IsNull());
}

TEST_F(DomDocumentTest, NodeValuesFollowTheW3CRules) {
  DomDocument doc;
  ASSERT_TRUE(doc.LoadXml(u"<R><T>old</T><!--c--></R>"));
  DomNode element = doc.SelectSingleNode(u"T");
  EXPECT_FALSE(element.NodeValue().has_value());
  EXPECT_EQ(CatchComError([&] { element.SetNodeValue(u"x"); }).Status(), E_FAIL);
  DomNode text = element.FirstChild();
  EXPECT_EQ(text.NodeName(), u"#text");
  text.SetNodeValue(u"new & <improved>");
  EXPECT_EQ(element.Text(), u"new & <improved>");
  EXPECT_EQ(element.NextSibling().NodeValue(), u"c");
  EXPECT_EQ(CatchComError([&] { element.SetAttribute(u"bad name", u"v"); }).Status(), E_INVALIDARG);
  EXPECT_EQ(CatchComError([&] { element.SetAttribute(u"A", std::u16string(1, u'\x01')); }).Status(),
            E_INVALIDARG);
  EXPECT_EQ(CatchComError([&] { text.GetAttribute(u"A"); }).Status(), E_FAIL);

  // An element's text replaces all its children; the old child's handle stays usable.
  element.AppendChild(doc.CreateElement(u"Sub"));
  element.SetText(u"a &amp; b <c>");
  EXPECT_EQ(element.Text(), u"a &amp; b <c>");
  EXPECT_EQ(text.NodeValue(), u"new & <improved>");
  EXPECT_NE(doc.SaveToBytes().find("<R><T>a &amp;amp; b &lt;c&gt;</T><!--c--></R>"),
            std::string::npos);
  element.SetText(u"");
  EXPECT_TRUE(element.FirstChild().IsNull());
  EXPECT_EQ(CatchComError([&] { text.SetText(u"x"); }).Status(), E_FAIL);
}

TEST_F(DomDocumentTest, WhitespaceOnlyTextIsDroppedOnLoad) {
  root_.WriteBytes("ws.xml",
                   "<?xml version=\"1.0\"?>\n<R>\n  <A/>\n  <B> x </B>\r\n\t<C>  </C>\n"
                   "  <P xml:space=\"preserve\"> <Q/></P>\n</R>\n");
  DomDocument doc;
  ASSERT_TRUE(doc.Load(PathOf("ws.xml")));
  DomNode root = doc.DocumentElement();
  EXPECT_EQ(root.ChildNodes().Length(), 4);
  EXPECT_EQ(root.FirstChild().NodeName(), u"A");
  EXPECT_EQ(root.FirstChild().NextSibling().NodeName(), u"B");
  EXPECT_EQ(doc.SelectSingleNode(u"B").Text(), u" x ");
  EXPECT_TRUE(doc.SelectSingleNode(u"C").FirstChild().IsNull());
  EXPECT_EQ(doc.SelectSingleNode(u"P").FirstChild().NodeName(), u"#text");
}

TEST_F(DomDocumentTest, BrokenFilesFailToLoadQuietly) {
  root_.WriteBytes("empty.xml", "");
  root_.WriteBytes("truncated.xml",
                   "<?xml version=\"1.0\" encoding=\"gb2312\"?>\n<Leader ProVer=\"0\"><De");
  root_.WriteBytes("binary.xml", std::string("\x00\x01\x02\xff\xfe garbage", 14));
  root_.WriteBytes("text.xml", "just some words");
  root_.WriteBytes("encoding.xml", "<?xml version=\"1.0\" encoding=\"no-such-charset\"?><R/>");
  testing::internal::CaptureStderr();
  for (const char* name :
       {"empty.xml", "truncated.xml", "binary.xml", "text.xml", "encoding.xml", "missing.xml"}) {
    DomDocument doc;
    EXPECT_FALSE(doc.Load(PathOf(name))) << name;
    EXPECT_FALSE(doc.ParseError().empty()) << name;
    EXPECT_TRUE(doc.DocumentElement().IsNull()) << name;
    EXPECT_TRUE(doc.SelectSingleNode(u"/R").IsNull()) << name;
  }
  DomDocument doc;
  EXPECT_FALSE(doc.LoadXml(u"<R><unclosed></R>"));
  EXPECT_THROW(doc.SelectSingleNode(u"]["), ComError);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(DomDocumentTest, DocumentsDeclaringEntitiesAreRefusedAndNothingIsFetched) {
  root_.WriteBytes("secret.txt", "top secret");
  root_.WriteBytes("ext.dtd", "<!ENTITY e \"top secret\">");
  const std::string file = "file://" + root_.NativeFile("");
  std::string quadratic = "<!DOCTYPE R [<!ENTITY e \"" + std::string(1000, 'x') + "\">]><R a=\"";
  for (int i = 0; i < 1000; ++i) quadratic += "&e;";
  quadratic += "\"/>";
  const struct {
    std::string text;
    bool loads;
  } cases[] = {
      {"<!DOCTYPE R [<!ENTITY e SYSTEM \"" + file + "secret.txt\">]><R>&e;</R>", false},
      {"<!DOCTYPE R [<!ENTITY a \"lol\"><!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;\">"
       "<!ENTITY c \"&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;\">]><R>&c;</R>",
       false},
      {quadratic, false},
      {"<!DOCTYPE R [<!ENTITY % p \"<!ENTITY e 'x'>\">]><R/>", false},
      {"<!DOCTYPE R [<!ENTITY e SYSTEM \"" + file + "ext.dtd\" NDATA n>]><R/>", false},
      // The external subset is never read, so its entity stays unknown, and is not fetched.
      {"<!DOCTYPE R SYSTEM \"" + file + "ext.dtd\"><R a=\"1\">&e;</R>", true},
      {"<!DOCTYPE R [<!ELEMENT R ANY><!ATTLIST R a CDATA #IMPLIED>]><R a=\"1\"/>", true},
      {"<!DOCTYPE R><R a=\"1\"/>", true},
  };
  for (const auto& c : cases) {
    const std::string text = "<?xml version=\"1.0\" encoding=\"gb2312\"?>" + c.text;
    root_.WriteBytes("doc.xml", text);
    DomDocument from_file, from_string, from_bytes;
    EXPECT_EQ(from_file.Load(PathOf("doc.xml")), c.loads) << c.text.substr(0, 80);
    EXPECT_EQ(from_string.LoadXml(FromUtf8(text)), c.loads) << c.text.substr(0, 80);
    EXPECT_EQ(from_bytes.LoadBytesIn(text, "GBK"), c.loads) << c.text.substr(0, 80);
    for (DomDocument* doc : {&from_file, &from_string, &from_bytes}) {
      if (!c.loads) {
        EXPECT_NE(doc->ParseError().find(u"declares entities"), std::u16string::npos);
        EXPECT_TRUE(doc->DocumentElement().IsNull());
        continue;
      }
      EXPECT_EQ(doc->DocumentElement().GetAttribute(u"a"), u"1");
      EXPECT_EQ(doc->SaveToBytes().find("top secret"), std::string::npos);
    }
  }
}

TEST_F(DomDocumentTest, SaveFailureRaisesAndLeavesNoPartialFile) {
  DomDocument doc;
  ASSERT_TRUE(doc.LoadXml(u"<R/>"));
  EXPECT_EQ(CatchComError([&] { doc.Save(PathOf("no/such/folder/out.xml")); }).Status(), E_FAIL);
  EXPECT_FALSE(fs::exists(root_.NativeFile("no")));
  ASSERT_TRUE(doc.LoadXml(u"<?xml version=\"1.0\" encoding=\"no-such-charset\"?><R/>"));
  EXPECT_THROW(doc.Save(PathOf("out.xml")), ComError);
  EXPECT_FALSE(fs::exists(root_.NativeFile("out.xml")));
}

TEST_F(DomDocumentTest, CreatedElementsKeepAttributeOrder) {
  DomDocument doc;
  ASSERT_TRUE(
      doc.LoadXml(u"<?xml version=\"1.0\" encoding=\"gb2312\"?><Leader ProVer=\"0\"></Leader>"));
  {
    DomNode dropped = doc.CreateElement(u"Unused");  // freed once no handle remains
  }
  DomNode dept = doc.CreateElement(u"Dept");
  dept.SetAttribute(u"id", int64_t{5});
  dept.SetAttribute(u"Leader", int64_t{100});
  dept.SetAttribute(u"Version", int64_t{3});
  DomNode child = doc.CreateElement(u"Child");
  dept.AppendChild(child);
  doc.DocumentElement().AppendChild(dept);
  dept.SetAttribute(u"Leader", int64_t{200});
  EXPECT_EQ(doc.SaveToBytes(),
            "<?xml version=\"1.0\" encoding=\"gb2312\"?>\n<Leader ProVer=\"0\"><Dept id=\"5\" "
            "Leader=\"200\" Version=\"3\"><Child/></Dept></Leader>\n");
  EXPECT_EQ(CatchComError([&] { doc.CreateElement(u"1bad"); }).Status(), E_INVALIDARG);
}

// The streamed rewrite of a record list against the tree it stands in for: the same bytes
// wherever it answers, and no answer where it cannot promise them.
TEST_F(DomDocumentTest, StreamedRecordRemovalWritesWhatTheTreeWrites) {
  auto tree = [](const std::string& bytes, std::u16string_view id, int& removed) {
    DomDocument doc;
    removed = 0;
    if (!doc.LoadBytesIn(bytes, "GBK")) return std::string("unreadable");
    DomNode root = doc.DocumentElement();
    if (root.NodeName() != u"Index") return std::string("other root");
    for (DomNode node = root.FirstChild(), next; node; node = next) {
      next = node.NextSibling();
      std::u16string key = node.IsElement() && node.NodeName() == u"Rec"
                               ? node.GetAttribute(u"Id").value_or(u"")
                               : u"";
      if (!key.empty() && EqualsIgnoringCase(key, id)) root.RemoveChild(node), ++removed;
    }
    root.SetAttribute(u"Sum", int64_t{removed});
    return doc.SaveToBytesIn("GBK");
  };
  // A generated list: GBK text, references, CRLF, mixed case ids and stray nodes.
  std::string generated = "<?xml version=\"1.0\" encoding=\"gb2312\"?>\r\n<Index Sum=\"9\">\r\n";
  for (int i = 0; i < 300; ++i) {
    const std::string n = std::to_string(i % 7);
    generated += i % 3 == 0   ? "<Rec Id=\"ID" + n + "\" T=\"" + ToAnsi(u"\u6807\u9898") + "\"/>"
                 : i % 3 == 1 ? "<Rec T='a&amp;b&lt;&#x4E2D;&#x1F600;\t' Id=\"id" + n + "\"></Rec>"
                              : "<Rec Id=\"Id" + n + "\">x&gt;<!-- c --><In a=\"&quot;\"/></Rec>";
    generated += i % 5 == 0 ? "\r\n  <!-- note -->text&amp;\r\n" : "\r\n";
  }
  generated += "</Index>\r\n";
  struct Case {
    std::string xml;
    const char16_t* id;
    bool streams;
  };
  const std::string gbk = ToAnsi(u"\u4E2D\u6587");
  const Case cases[] = {
      {generated, u"id3", true},
      {generated, u"none", true},
      {"<Index><Rec Id=\"a\"/><Rec Id=\"A\"/></Index>", u"a", true},  // all go: "<Index/>"
      {"<?xml version='1.0' standalone='yes'?><Index Sum='1'><Rec Id='" + gbk + "' T='" + gbk +
           "'/>" + gbk + "<![CDATA[<]]><?pi x?></Index>",
       u"b", true},
      {"<Index><Rec/><Rec Id=\"\"/><Rec Id=\"a\">\n <x>\n</x></Rec>\n</Index>", u"", true},
      {"<Index xml:space=\"preserve\"> <Rec Id=\"a\"/> </Index>", u"a", false},
      {"<Index xmlns=\"urn:x\"><Rec Id=\"a\"/></Index>", u"a", false},
      {"<!DOCTYPE Index><Index><Rec Id=\"a\"/></Index>", u"a", false},
      {"<!-- before --><Index><Rec Id=\"a\"/></Index>", u"a", false},
      {"<Index><Rec Id=\"a\"/></Index><?after?>", u"a", false},
      {"<Other><Rec Id=\"a\"/></Other>", u"a", false},
      {"<Index><Rec Id=\"a\"/>", u"a", false},  // cut short
      {"<Index><Rec Id=\"a&bad;\"/></Index>", u"a", false},
      {"", u"a", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.xml.substr(0, 80));
    root_.WriteBytes("list.xml", c.xml);
    int removed = 0;
    const std::string expected = tree(c.xml, c.id, removed);
    XmlRecordFilter filter("GBK", "Index", "Rec", "Id");
    const bool streamed = filter.Read(PathOf("list.xml"), [&](std::u16string_view key) {
      return !key.empty() && EqualsIgnoringCase(key, c.id);
    });
    ASSERT_EQ(streamed, c.streams);
    if (!streamed) continue;
    EXPECT_EQ(filter.Removed(), removed);
    EXPECT_EQ(filter.Save("Sum", std::to_string(removed)), expected);
  }
}

}  // namespace
}  // namespace vk
