#include <dlfcn.h>
#include <gtest/gtest.h>
#include <link.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <zu/os.hpp>

#include "support/temp_folder.hpp"

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

TEST_F(OsTest, OtherModesArePassedToTheSystem) {
  EXPECT_EQ(zu::os::dlopen(GUEST_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr);
}

TEST_F(OsTest, TheErrorNamesTheMissingFile) {
  EXPECT_EQ(zu::os::dlopen("/no/such/library.so", -1), nullptr);
  EXPECT_NE(std::string(dlerror()).find("/no/such/library.so"), std::string::npos);
}

/// A copy of the guest library's first bytes, in a folder of its own.
std::string copyOfFirst(std::uintmax_t bytes, const test::TempFolder& folder) {
  const std::string copy = (folder.path() / "short.so").string();
  std::filesystem::copy_file(GUEST_LIBRARY, copy);
  std::filesystem::resize_file(copy, bytes);
  return copy;
}

/// The byte after the last one that the loader maps.
std::uintmax_t endOfMappedBytes() {
  std::ifstream file(GUEST_LIBRARY, std::ios::binary);
  ElfW(Ehdr) header{};
  file.read(reinterpret_cast<char*>(&header), sizeof header);
  std::uintmax_t end = 0;
  for (int i = 0; i < header.e_phnum; ++i) {
    ElfW(Phdr) segment{};
    file.seekg(static_cast<std::streamoff>(header.e_phoff + i * sizeof segment));
    file.read(reinterpret_cast<char*>(&segment), sizeof segment);
    if (segment.p_type == PT_LOAD) {
      end = std::max<std::uintmax_t>(end, segment.p_offset + segment.p_filesz);
    }
  }
  return end;
}

TEST_F(OsTest, RefusesALibraryThatIsCutShort) {
  const std::uintmax_t end = endOfMappedBytes();
  for (const std::uintmax_t bytes :
       {end - 1, end / 2, sizeof(ElfW(Ehdr)), sizeof(ElfW(Ehdr)) - 1, std::uintmax_t{SELFMAG}}) {
    const test::TempFolder folder;

    EXPECT_EQ(zu::os::dlopen(copyOfFirst(bytes, folder).c_str(), -1), nullptr) << bytes;
    EXPECT_STREQ(dlerror(), "the library's file is shorter than its headers say") << bytes;
  }
}

TEST_F(OsTest, OpensALibraryThatHasAllMappedBytes) {
  const test::TempFolder folder;

  void* library = zu::os::dlopen(copyOfFirst(endOfMappedBytes(), folder).c_str(), -1);

  EXPECT_NE(library, nullptr) << dlerror();
  zu::os::dlclose(library);
}

TEST_F(OsTest, PassesAFileThatIsNoLibraryToTheSystem) {
  const test::TempFolder folder;
  const std::string text = folder.write("text.so", "this is a text").string();

  for (const std::string& path : {text, folder.path().string(), std::string("/dev/null")}) {
    EXPECT_EQ(zu::os::dlopen(path.c_str(), -1), nullptr);
    EXPECT_NE(std::string(dlerror()).find(path), std::string::npos);
  }
}

TEST_F(OsTest, OpensALibraryOfTheSystemByItsName) {
  void* library = zu::os::dlopen("libc.so.6", -1);

  EXPECT_NE(library, nullptr) << dlerror();
  zu::os::dlclose(library);
}

TEST_F(OsTest, TheErrorNamesTheMissingSymbol) {
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

TEST_F(OsTest, AnErrorIsReportedOnce) {
  zu::os::dlopen("/no/such/library.so", -1);
  EXPECT_STRNE(dlerror(), "");
  EXPECT_STREQ(dlerror(), "");

  zu::os::dlclose(nullptr);
  EXPECT_STRNE(dlerror(), "");
  EXPECT_STREQ(dlerror(), "");
}

TEST_F(OsTest, OnlyTheLastErrorIsReported) {
  zu::os::dlopen("/no/such/library.so", -1);
  zu::os::dlclose(nullptr);
  EXPECT_STREQ(dlerror(), "not a library's handle");
  EXPECT_STREQ(dlerror(), "");

  zu::os::dlclose(nullptr);
  zu::os::dlopen("/no/such/library.so", -1);
  EXPECT_NE(std::string(dlerror()).find("/no/such/library.so"), std::string::npos);
}

TEST_F(OsTest, AnotherThreadsErrorIsNotReported) {
  zu::os::dlclose(nullptr);

  std::string toldElsewhere = "not asked";
  std::thread([&] { toldElsewhere = dlerror(); }).join();

  EXPECT_EQ(toldElsewhere, "");
  EXPECT_STREQ(dlerror(), "not a library's handle");
}

}  // namespace
