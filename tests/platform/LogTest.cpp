#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "platform/Localization.h"
#include "platform/Log.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScopedEnv.h"
#include "tests/support/TempDataRoot.h"

namespace {

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  size_t start = 0;
  for (size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
    lines.push_back(text.substr(start, end - start));
  }
  EXPECT_EQ(start, text.size()) << "the file ends inside a line";
  return lines;
}

std::string AfterTimestamp(const std::string& line) {
  size_t tab = line.find('\t');
  return tab == std::string::npos ? line : line.substr(tab + 1);
}

TEST(LogTest, DefaultSinkAppendsOneUtf8LinePerCall) {
  vk::test::TempDataRoot root;
  DoLog(u"important", u"src", u"Func", u"line one\r\nline two\ttab \\ 中文");
  LoginLog(u"user logged in");
  DoLog(nullptr, nullptr, nullptr, nullptr);
  auto lines = Lines(root.ReadBytes("vaultkit.log").value_or(""));
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(AfterTimestamp(lines[0]),
            "important\tsrc\tFunc\tline one\\r\\nline two\\ttab \\\\ 中文");
  EXPECT_EQ(AfterTimestamp(lines[1]), "login\t\t\tuser logged in");
  EXPECT_EQ(AfterTimestamp(lines[2]), "\t\t\t");
  EXPECT_EQ(lines[0].find('\t'), 23u);  // "YYYY-MM-DD HH:MM:SS.mmm"
}

TEST(LogTest, SinksCaptureAndRestore) {
  vk::test::TempDataRoot root;
  {
    vk::test::LogCapture outer;
    {
      vk::test::LogCapture inner;
      DoLog(u"info", u"s", u"f", u"to inner");
      OutputDebugStringW(u"调试\r\n");
      ASSERT_EQ(inner.Records().size(), 1u);
      EXPECT_EQ(inner.Records()[0].text, u"to inner");
      EXPECT_EQ(inner.DebugLines(), std::vector<std::string>{"调试\r\n"});
    }
    LoginLog(u"to outer");
    ASSERT_EQ(outer.Records().size(), 1u);
    EXPECT_TRUE(outer.Records()[0].login);
    EXPECT_EQ(outer.Records()[0].text, u"to outer");
  }
  DoLog(u"info", u"", u"", u"to file");
  EXPECT_NE(root.ReadBytes("vaultkit.log").value_or("").find("to file"), std::string::npos);
}

TEST(LogTest, DebugChannelWritesToStderrOnlyWhenEnabled) {
  vk::test::ScopedEnv quiet("VAULTKIT_DEBUG", nullptr);
  EXPECT_FALSE(vk::DebugOutputListened());
  {
    vk::test::LogCapture capture;
    EXPECT_TRUE(vk::DebugOutputListened());
  }
  ::testing::internal::CaptureStderr();
  OutputDebugStringA("silent\n");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  vk::test::ScopedEnv shown("VAULTKIT_DEBUG", "1");
  EXPECT_TRUE(vk::DebugOutputListened());
  ::testing::internal::CaptureStderr();
  OutputDebugStringA("shown\r\n");
  OutputDebugStringW(u"宽\n");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "shown\r\n宽\n");
}

TEST(LogTest, ConcurrentCallsStayWholeLines) {
  vk::test::TempDataRoot root;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([] {
      for (int i = 0; i < 50; ++i) DoLog(u"info", u"thread", u"Run", u"a fairly long text line");
    });
  }
  for (auto& thread : threads) thread.join();
  auto lines = Lines(root.ReadBytes("vaultkit.log").value_or(""));
  ASSERT_EQ(lines.size(), 200u);
  for (const auto& line : lines) {
    EXPECT_EQ(AfterTimestamp(line), "info\tthread\tRun\ta fairly long text line");
  }
}

TEST(LogTest, LocalizedTexts) {
  char16_t buffer[261];
  std::fill(std::begin(buffer), std::end(buffer), u'#');
  int32_t n = Localization_Constant_GetString(u"Vaultkit", u"C_ID_S_2", buffer, 260);
  EXPECT_EQ(std::u16string(buffer, static_cast<size_t>(n)), u"Vaultkit 本地存储");
  EXPECT_EQ(buffer[n], u'\0');
  EXPECT_GT(Localization_Constant_GetString(u"Vaultkit", u"C_ID_S_3", buffer, 260), 0);
  EXPECT_EQ(Localization_Constant_GetString(u"Vaultkit", u"C_ID_S_2", buffer, 4), 3);
  EXPECT_EQ(std::u16string(buffer), u"Vau");
  EXPECT_EQ(Localization_Constant_GetString(u"Vaultkit", u"C_ID_S_9", buffer, 260), 0);
  EXPECT_EQ(buffer[0], u'\0');
  EXPECT_EQ(Localization_Constant_GetString(u"Other", u"C_ID_S_2", buffer, 260), 0);
}

}  // namespace
