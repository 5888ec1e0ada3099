#include <unistd.h>

#include <thread>
#include <vector>

#include "RegistryFixture.h"

namespace {

const CLSID kFirst = {0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x01}};
const CLSID kSecond = {
    0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x02}};

using RegistryTest = RegistryFixture;

std::string PathFromRuntime() {
  char out[4096];
  if (VkRegistryPath(out, sizeof out) != S_OK) return "<failed>";
  return out;
}

TEST_F(RegistryTest, LocationFollowsTheEnvironment) {
  EXPECT_EQ(PathFromRuntime(), path_.string());

  unsetenv("VAULTKIT_REGISTRY");
  setenv("XDG_CONFIG_HOME", "/xdg/config", 1);
  EXPECT_EQ(PathFromRuntime(), "/xdg/config/vaultkit/registry");

  // A relative or empty configuration folder is ignored in favour of the home folder.
  setenv("XDG_CONFIG_HOME", "relative", 1);
  setenv("HOME", "/home/someone", 1);
  EXPECT_EQ(PathFromRuntime(), "/home/someone/.config/vaultkit/registry");
  setenv("VAULTKIT_REGISTRY", "", 1);
  setenv("XDG_CONFIG_HOME", "", 1);
  EXPECT_EQ(PathFromRuntime(), "/home/someone/.config/vaultkit/registry");

  char small[8];
  EXPECT_EQ(VkRegistryPath(small, sizeof small), E_INVALIDARG);
  EXPECT_EQ(VkRegistryPath(nullptr, 100), E_POINTER);
}

TEST_F(RegistryTest, RegistrationRoundTripsAndReplaces) {
  ASSERT_EQ(VkRegisterClass(kFirst, "IUserList", "/opt/a/libvaultkit.so"), S_OK);
  ASSERT_EQ(VkRegisterClass(kSecond, "Vaultkit.StoreModule", "/opt/a/libvaultkit.so"), S_OK);
  EXPECT_EQ(ReadRegistry(), "clsid " + Text(kFirst) + " /opt/a/libvaultkit.so\nprogid IUserList " +
                                Text(kFirst) + "\nclsid " + Text(kSecond) +
                                " /opt/a/libvaultkit.so\nprogid Vaultkit.StoreModule " +
                                Text(kSecond) + "\n");

  CLSID found{};
  ASSERT_EQ(CLSIDFromProgID(u"Vaultkit.StoreModule", &found), S_OK);
  EXPECT_TRUE(IsEqualGUID(&found, &kSecond));
  ASSERT_EQ(CLSIDFromProgID(u"iuserlist", &found), S_OK);  // ProgIDs ignore case
  EXPECT_TRUE(IsEqualGUID(&found, &kFirst));

  // Registering again moves the class and the ProgID; nothing is duplicated.
  ASSERT_EQ(VkRegisterClass(kFirst, nullptr, "/opt/b/libvaultkit.so"), S_OK);
  ASSERT_EQ(VkRegisterClass(kSecond, "IUserList", "/opt/a/libvaultkit.so"), S_OK);
  std::string text = ReadRegistry();
  EXPECT_EQ(text.find("/opt/a/libvaultkit.so"), text.rfind("/opt/a/libvaultkit.so"));
  EXPECT_NE(text.find("clsid " + Text(kFirst) + " /opt/b/libvaultkit.so\n"), std::string::npos);
  ASSERT_EQ(CLSIDFromProgID(u"IUserList", &found), S_OK);
  EXPECT_TRUE(IsEqualGUID(&found, &kSecond));
  ASSERT_EQ(CLSIDFromProgID(u"Vaultkit.StoreModule", &found), S_OK);
  EXPECT_TRUE(IsEqualGUID(&found, &kSecond));

  // Nothing but the registry is left in its folder.
  size_t entries = 0;
  for (auto& entry : std::filesystem::directory_iterator(path_.parent_path())) {
    EXPECT_EQ(entry.path(), path_);
    ++entries;
  }
  EXPECT_EQ(entries, 1u);
}

TEST_F(RegistryTest, UnknownAndMalformedProgIdsAreClassStringErrors) {
  CLSID found = kFirst;
  EXPECT_EQ(CLSIDFromProgID(u"IUserList", &found), CO_E_CLASSSTRING);  // no file yet
  ASSERT_EQ(VkRegisterClass(kFirst, "IUserList", "/lib/x.so"), S_OK);
  EXPECT_EQ(CLSIDFromProgID(u"IUserGrid", &found), CO_E_CLASSSTRING);
  EXPECT_EQ(CLSIDFromProgID(u"", &found), CO_E_CLASSSTRING);
  EXPECT_EQ(CLSIDFromProgID(u"IUser List", &found), CO_E_CLASSSTRING);
  const char16_t lone_surrogate[] = {u'I', 0xD800, 0};
  EXPECT_EQ(CLSIDFromProgID(lone_surrogate, &found), CO_E_CLASSSTRING);
  EXPECT_EQ(CLSIDFromProgID(nullptr, &found), E_INVALIDARG);
  EXPECT_EQ(CLSIDFromProgID(u"IUserList", nullptr), E_INVALIDARG);
  EXPECT_TRUE(IsEqualGUID(&found, &kFirst));
}

TEST_F(RegistryTest, DamagedLinesAreSkippedAndKept) {
  const std::string second = Text(kSecond);
  const std::string damaged = "garbage \x01\xff line\nclsid not-a-guid /lib/a.so\nclsid " + second +
                              " relative/lib.so\nprogid OnlyAName\nprogid Too Many " + second +
                              "\n\nprogid IDamaged {11111111-2222-3333-4444-5555555555}\n";
  WriteRegistry(damaged + "clsid " + Text(kFirst) + " /lib/with space.so\r\nprogid IFirst " +
                Text(kFirst));  // CR LF and no final line break
  CLSID found{};
  ASSERT_EQ(CLSIDFromProgID(u"IFirst", &found), S_OK);
  EXPECT_TRUE(IsEqualGUID(&found, &kFirst));
  EXPECT_EQ(CLSIDFromProgID(u"OnlyAName", &found), CO_E_CLASSSTRING);
  EXPECT_EQ(CLSIDFromProgID(u"Too", &found), CO_E_CLASSSTRING);
  EXPECT_EQ(CLSIDFromProgID(u"IDamaged", &found), CO_E_CLASSSTRING);

  ASSERT_EQ(VkRegisterClass(kSecond, "ISecond", "/lib/b.so"), S_OK);
  std::string text = ReadRegistry();
  EXPECT_EQ(text.substr(0, damaged.size()), damaged);
  ASSERT_EQ(CLSIDFromProgID(u"IFirst", &found), S_OK);
  ASSERT_EQ(CLSIDFromProgID(u"ISecond", &found), S_OK);
  EXPECT_TRUE(IsEqualGUID(&found, &kSecond));
  EXPECT_NE(text.find("/lib/with space.so\n"), std::string::npos);
}

TEST_F(RegistryTest, BadRegistrationsChangeNothing) {
  EXPECT_EQ(VkRegisterClass(kFirst, "IUserList", "relative/lib.so"), E_INVALIDARG);
  EXPECT_EQ(VkRegisterClass(kFirst, "IUserList", nullptr), E_INVALIDARG);
  EXPECT_EQ(VkRegisterClass(kFirst, "IUserList", "/lib/a.so\nclsid x"), E_INVALIDARG);
  EXPECT_EQ(VkRegisterClass(kFirst, "Two words", "/lib/a.so"), E_INVALIDARG);
  EXPECT_FALSE(std::filesystem::exists(path_));

  if (geteuid() != 0) {  // permissions do not stop the superuser
    std::filesystem::create_directories(path_.parent_path());
    std::filesystem::permissions(path_.parent_path(), std::filesystem::perms::owner_read |
                                                          std::filesystem::perms::owner_exec);
    EXPECT_EQ(VkRegisterClass(kFirst, "IUserList", "/lib/a.so"), E_ACCESSDENIED);
    EXPECT_FALSE(std::filesystem::exists(path_));
    std::filesystem::permissions(path_.parent_path(), std::filesystem::perms::owner_all);
  }
}

TEST_F(RegistryTest, ConcurrentRegistrationsAreAllKept) {
  constexpr int kThreads = 8;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([i] {
      CLSID clsid = kFirst;
      clsid.Data4[7] = static_cast<uint8_t>(0x40 + i);
      std::string prog_id = "Class" + std::to_string(i);
      EXPECT_EQ(VkRegisterClass(clsid, prog_id.c_str(), "/lib/a.so"), S_OK);
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (int i = 0; i < kThreads; ++i) {
    std::u16string prog_id = u"Class" + std::u16string(1, static_cast<char16_t>(u'0' + i));
    CLSID found{};
    ASSERT_EQ(CLSIDFromProgID(prog_id.c_str(), &found), S_OK) << i;
    EXPECT_EQ(found.Data4[7], 0x40 + i);
  }
}

}  // namespace
