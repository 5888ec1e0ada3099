#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>

#include "platform/Assert.h"
#include "platform/Text.h"
#include "tests/support/ErrorDescription.h"
#include "tests/support/LogCapture.h"

namespace {

TEST(AssertTest, ReportAssertWritesOneImportantRecord) {
  vk::test::LogCapture log;
  vk::ReportAssert("store/Thing.cpp", 77);
  auto records = log.Records();
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0].level, u"important");
  EXPECT_EQ(records[0].source, u"");
  EXPECT_EQ(records[0].function, u"");
  EXPECT_EQ(records[0].text, u"ASSERT HAPPENS!\nfile: store/Thing.cpp\nline: 77\n");
  EXPECT_FALSE(records[0].login);

  log.Clear();
  const std::string long_path(600, 'p');
  vk::ReportAssert(long_path.c_str(), 1);
  records = log.Records();
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0].text.size(), 511u);
  EXPECT_EQ(records[0].text, (u"ASSERT HAPPENS!\nfile: " + vk::FromUtf8(long_path)).substr(0, 511));

  log.Clear();
  vk::ReportAtLine(u"store opened", "s.cpp", 3);
  ASSERT_EQ(log.Records().size(), 1u);
  EXPECT_EQ(log.Records()[0].text, u"store opened\nfile: s.cpp\nline: 3\n");
  EXPECT_EQ(log.Records()[0].level, u"important");
}

TEST(AssertTest, ComErrorMessages) {
  EXPECT_EQ(vk::ComError(E_FAIL, u"").ErrorMessage(), "Unspecified error");
  EXPECT_EQ(vk::ComError(E_INVALIDARG, u"").ErrorMessage(), "The parameter is incorrect.");
  EXPECT_EQ(vk::ComError(E_NOTIMPL, u"").ErrorMessage(), "Not implemented");
  EXPECT_EQ(vk::ComError(static_cast<HRESULT>(0x80041234), u"").ErrorMessage(),
            "Unknown error 0x80041234");
}

struct Case {
  std::function<void()> thrower;
  std::string trace;
};

TEST(AssertTest, EachKindOfExceptionGivesItsTraceLine) {
  const std::string long_message(300, 'm');
  // Each line is "f.cpp(12) : exception (<kind>): <text>\r\n"; the rows give its middle.
  const Case cases[] = {
      {[] { throw vk::ComError(E_FAIL, u"Bad XPath 表达式"); },
       "(_com_error): Unspecified error | Bad XPath 表达式"},
      {[] { throw vk::FrameworkException("framework"); }, "(CException*): framework"},
      {[&] { throw vk::FrameworkException(long_message); },
       "(CException*): " + long_message.substr(0, 255)},
      {[] { throw new vk::FrameworkException("by pointer"); }, "(CException*): by pointer"},
      {[] { throw "narrow"; }, "(const char*): narrow"},
      {[] { throw u"宽字符"; }, "(const wchar*): 宽字符"},
      {[] { throw 42; }, "(...): Unknown error."},
      {[] { throw std::runtime_error("std"); }, "(...): Unknown error."},
  };
  for (const Case& c : cases) {
    for (bool reporting : {false, true}) {
      vk::test::LogCapture log;
      HRESULT hr = vk::Guarded("f.cpp", 12, reporting, [&]() -> HRESULT {
        c.thrower();
        return S_OK;
      });
      EXPECT_EQ(hr, E_FAIL);
      EXPECT_EQ(log.DebugLines(),
                std::vector<std::string>{"f.cpp(12) : exception " + c.trace + "\r\n"});
      auto records = log.Records();
      ASSERT_EQ(records.size(), reporting ? 1u : 0u) << c.trace;
      if (reporting) {
        EXPECT_EQ(records[0].text, u"ASSERT HAPPENS!\nfile: f.cpp\nline: 12\n");
      }
    }
  }
}

TEST(AssertTest, GuardMacrosPassResultsThroughAndCarryTheirLine) {
  vk::test::LogCapture log;
  EXPECT_EQ(VK_QUIET_GUARD({ return S_FALSE; }), S_FALSE);
  EXPECT_EQ(VK_REPORTING_GUARD({ return E_INVALIDARG; }), E_INVALIDARG);
  EXPECT_TRUE(log.Records().empty());
  EXPECT_TRUE(log.DebugLines().empty());

  const unsigned line = __LINE__ + 1;
  HRESULT hr = VK_REPORTING_GUARD({ throw "boom"; });
  EXPECT_EQ(hr, E_FAIL);
  const std::string expected =
      std::string(__FILE__) + "(" + std::to_string(line) + ") : exception (const char*): boom\r\n";
  EXPECT_EQ(log.DebugLines(), std::vector<std::string>{expected});
  EXPECT_EQ(log.CountLevel(u"important"), 1u);

  // The thread's error object says what went wrong, for the client to read after the call.
  EXPECT_EQ(VK_QUIET_GUARD({ throw vk::ComError(E_FAIL, u"XPath: invalid expression"); }), E_FAIL);
  EXPECT_EQ(vk::test::TakeErrorDescription(), u"XPath: invalid expression");
}

}  // namespace
