#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <zu/os.hpp>

namespace {

using zu::os::dlerror;

class OsTest : public testing::Test {
 protected:
  void SetUp() override { dlerror(); }
};

TEST_F(OsTest, OpensFindsAndCloses) {
  void* library = zu::os::dlopen(GUEST_LIBRARY, -1);
  ASSERT_NE(library, nullptr) << dlerror();

  EXPECT_NE(zu::os::dlsym(library, "throwError"), nullptr);
  EXPECT_EQ(zu::os::dlclose(library), 0);
  EXPECT_STREQ(dlerror(), "");
}

TEST_F(OsTest, DefaultModeKeepsSymbolsLocal) {
  void* library = zu::os::dlopen(GUEST_LIBRARY, -1);

  EXPECT_EQ(::dlsym(RTLD_DEFAULT, "throwError"), nullptr);

  zu::os::dlclose(library);
}

TEST_F(OsTest, OtherModesAreTheSystems) {
  EXPECT_EQ(zu::os::dlopen(GUEST_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr);
}

TEST_F(OsTest, MissingFileIsNamedInTheError) {
  EXPECT_EQ(zu::os::dlopen("/no/such/library.so", -1), nullptr);
  EXPECT_NE(std::string(dlerror()).find("/no/such/library.so"), std::string::npos);
}

TEST_F(OsTest, MissingSymbolIsNamedInTheError) {
  void* library = zu::os::dlopen(GUEST_LIBRARY, -1);

  EXPECT_EQ(zu::os::dlsym(library, "no_such_symbol"), nullptr);
  EXPECT_NE(std::string(dlerror()).find("no_such_symbol"), std::string::npos);

  zu::os::dlclose(library);
}

TEST_F(OsTest, RefusesToOpenNothing) {
  EXPECT_EQ(zu::os::dlopen(nullptr, -1), nullptr);
  EXPECT_STREQ(dlerror(), "no library is named");
  EXPECT_EQ(zu::os::dlopen("", -1), nullptr);
  EXPECT_STREQ(dlerror(), "no library is named");
}

TEST_F(OsTest, RefusesToSearchANullHandle) {
  EXPECT_EQ(zu::os::dlsym(nullptr, "malloc"), nullptr);
  EXPECT_STREQ(dlerror(), "not a library's handle");
}

TEST_F(OsTest, RefusesToSearchForNothing) {
  void* library = zu::os::dlopen(GUEST_LIBRARY, -1);

  EXPECT_EQ(zu::os::dlsym(library, nullptr), nullptr);
  EXPECT_STREQ(dlerror(), "no symbol is named");

  zu::os::dlclose(library);
}

TEST_F(OsTest, RefusesToCloseANullHandle) {
  EXPECT_NE(zu::os::dlclose(nullptr), 0);
  EXPECT_STREQ(dlerror(), "not a library's handle");
}

TEST_F(OsTest, AnErrorIsToldOnce) {
  zu::os::dlopen("/no/such/library.so", -1);
  EXPECT_STRNE(dlerror(), "");
  EXPECT_STREQ(dlerror(), "");

  zu::os::dlclose(nullptr);
  EXPECT_STRNE(dlerror(), "");
  EXPECT_STREQ(dlerror(), "");
}

TEST_F(OsTest, TheLastErrorIsTold) {
  zu::os::dlopen("/no/such/library.so", -1);
  zu::os::dlclose(nullptr);
  EXPECT_STREQ(dlerror(), "not a library's handle");
  EXPECT_STREQ(dlerror(), "");

  zu::os::dlclose(nullptr);
  zu::os::dlopen("/no/such/library.so", -1);
  EXPECT_NE(std::string(dlerror()).find("/no/such/library.so"), std::string::npos);
}

TEST_F(OsTest, AnotherThreadsErrorIsNotTold) {
  zu::os::dlclose(nullptr);

  std::string toldElsewhere = "not asked";
  std::thread([&] { toldElsewhere = dlerror(); }).join();

  EXPECT_EQ(toldElsewhere, "");
  EXPECT_STREQ(dlerror(), "not a library's handle");
}

}  // namespace
