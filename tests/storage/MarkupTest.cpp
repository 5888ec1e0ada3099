#include <gtest/gtest.h>

#include <string>

#include "storage/Markup.h"
#include "tests/support/TempDataRoot.h"

namespace vk::test {
namespace {

const std::string kDecl = "<?xml version=\"1.0\" encoding=\"gb2312\"?>";

TEST(MarkupTest, BuildsADocumentBehindAPrologAndSavesItInGb2312) {
  TempDataRoot root;
  CMarkup xml;
  EXPECT_FALSE(xml.Save(root.File(u"empty.xml"), 0));  // nothing to save yet
  ASSERT_TRUE(xml.SetDoc(u"<?xml version=\"1.0\" encoding=\"gb2312\"?>\r\n"));
  EXPECT_FALSE(xml.Save(root.File(u"empty.xml"), 0));
  EXPECT_FALSE(root.ReadBytes("empty.xml"));
  ASSERT_TRUE(xml.AddElem(u"Root"));
  EXPECT_FALSE(xml.AddElem(u"Second"));  // one document element
  EXPECT_TRUE(xml.AddAttrib(u"b", u"2"));
  EXPECT_TRUE(xml.AddAttrib(u"a", u"名字"));
  EXPECT_TRUE(xml.SetAttrib(u"n", -7L));
  EXPECT_FALSE(xml.AddChildAttrib(u"x", u"1"));  // no child position yet
  EXPECT_TRUE(xml.AddChildElem(u"One"));
  EXPECT_TRUE(xml.AddChildAttrib(u"k", u"v\"<&"));
  EXPECT_TRUE(xml.AddChildElem(u"Two"));
  EXPECT_FALSE(xml.AddChildElem(u"bad name"));
  EXPECT_FALSE(xml.SetAttrib(u"bad name", u"x"));
  ASSERT_TRUE(xml.Save(root.File(u"out.xml"), 0));
  // Attributes in the order they were added; the name in GB2312 bytes.
  EXPECT_EQ(root.ReadBytes("out.xml"),
            kDecl +
                "\r\n<Root b=\"2\" a=\"\xC3\xFB\xD7\xD6\" n=\"-7\"><One k=\"v&quot;&lt;&amp;\"/>"
                "<Two/></Root>\n");
  // A folder that is not there: no file, false.
  EXPECT_FALSE(xml.Save(root.File(u"missing/out.xml"), 0));
}

TEST(MarkupTest, NavigatesOneLevelAtATime) {
  TempDataRoot root;
  root.WriteBytes("in.xml",
                  kDecl +
                      "\r\n<R v=\"\xC3\xFB\"><a id=\"1\"/><!--c--><b id=\"2\"><a id=\"in\"/></b>"
                      "text<a id=\"3\"/><a id=\"4\"/></R>");
  CMarkup xml;
  ASSERT_TRUE(xml.Load(root.File(u"in.xml"), 0));
  EXPECT_FALSE(xml.FindElem(u"a"));  // the document level holds R only
  EXPECT_EQ(xml.GetAttrib(u"v"), u"");
  ASSERT_TRUE(xml.FindElem(u"R"));
  EXPECT_EQ(xml.GetAttrib(u"v"), u"名");
  EXPECT_FALSE(xml.FindElem(u"R"));
  ASSERT_TRUE(xml.IntoElem());

  // Each step: the name looked for, whether found, the id at the position afterwards.
  struct Step {
    const char16_t* name;
    bool found;
    const char16_t* id;
  } steps[] = {{u"a", true, u"1"},
               {u"a", true, u"3"},
               {u"b", false, u"3"},
               {u"", true, u"4"},
               {u"a", false, u"4"}};
  for (const Step& s : steps) {
    EXPECT_EQ(xml.FindElem(s.name), s.found) << std::string(s.name, s.name + 1);
    EXPECT_EQ(xml.GetAttrib(u"id"), s.id);
  }
  EXPECT_TRUE(xml.OutOfElem());
  EXPECT_EQ(xml.GetAttrib(u"v"), u"名");
  EXPECT_FALSE(xml.OutOfElem());

  // Removing moves back one element, so a find-and-remove loop takes every match.
  xml.IntoElem();
  int removed = 0;
  while (xml.FindElem(u"a")) removed += xml.RemoveElem() ? 1 : 0;
  EXPECT_EQ(removed, 3);
  EXPECT_EQ(xml.GetAttrib(u"id"), u"2");  // back at b
  xml.OutOfElem();
  xml.IntoElem();
  ASSERT_TRUE(xml.FindElem(u"b"));
  EXPECT_TRUE(xml.AddElem(u"new"));  // after b
  EXPECT_TRUE(xml.SetAttrib(u"n", 1L));
  ASSERT_TRUE(xml.Save(root.File(u"in.xml"), 0));
  EXPECT_EQ(root.ReadBytes("in.xml"),
            kDecl +
                "\r\n<R v=\"\xC3\xFB\"><!--c--><b id=\"2\"><a id=\"in\"/></b>"
                "<new n=\"1\"/>text</R>\n");
}

}  // namespace
}  // namespace vk::test
