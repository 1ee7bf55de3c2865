#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>
#include <zu/path.hpp>

namespace {

namespace fs = std::filesystem;

using zu::path::addLibDir;
using zu::path::findLib;
using zu::path::libDirs;

// Each test has its own folder, which contains none of the folders that earlier tests added.
class PathTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = testing::TempDir() + "zu_path_XXXXXX";
    root = mkdtemp(pattern.data());
    unsetenv("ZU_LIBRARY_PATH");
  }

  void TearDown() override {
    unsetenv("ZU_LIBRARY_PATH");
    fs::current_path(original);
    fs::remove_all(root);
  }

  std::string folder(const std::string& name) const {
    fs::create_directories(root / name);
    return (root / name).string();
  }

  std::string file(const std::string& name) const {
    fs::create_directories((root / name).parent_path());
    std::ofstream(root / name) << "library";
    return (root / name).string();
  }

  static void setEnvironment(const std::string& value) {
    setenv("ZU_LIBRARY_PATH", value.c_str(), 1);
  }

  static std::ptrdiff_t timesListed(const std::string& directory) {
    const std::vector<std::string> dirs = libDirs();
    return std::count(dirs.begin(), dirs.end(), directory);
  }

  fs::path root;
  const fs::path original = fs::current_path();
};

TEST_F(PathTest, FindsALibraryInAnAddedFolder) {
  const std::string library = file("added/kqtts/libkqtts-x.so");
  addLibDir(folder("added"));

  EXPECT_EQ(findLib("kqtts/libkqtts-x"), library);
}

TEST_F(PathTest, FindsALibraryInAFolderOfTheEnvironment) {
  const std::string library = file("second/libx.so");
  setEnvironment(folder("first") + ":" + folder("second"));

  EXPECT_EQ(findLib("libx"), library);
}

TEST_F(PathTest, ReadsTheEnvironmentAtEachCall) {
  const std::string library = file("here/libx.so");
  ASSERT_EQ(findLib("libx"), "");

  setEnvironment(folder("here"));

  EXPECT_EQ(findLib("libx"), library);
}

TEST_F(PathTest, FindsALibraryNextToThisOne) {
  ASSERT_TRUE(fs::exists(fs::path(ZU_FOLDER) / "libzu.so"));

  EXPECT_TRUE(fs::equivalent(findLib("libzu"), fs::path(ZU_FOLDER) / "libzu.so"));
}

TEST_F(PathTest, UnknownLibraryIsEmpty) {
  EXPECT_EQ(findLib("no/such/library"), "");
}

TEST_F(PathTest, TheFirstFolderThatHoldsItWins) {
  const std::string library = file("first/libx.so");
  file("second/libx.so");
  setEnvironment(folder("empty") + ":" + folder("first") + ":" + folder("second"));

  EXPECT_EQ(findLib("libx"), library);
}

TEST_F(PathTest, LooksInAddedFoldersThenEnvironmentThenOwnThenInstallFolder) {
  addLibDir(folder("older"));
  addLibDir(folder("newer"));
  setEnvironment(folder("first") + ":" + folder("second"));

  const std::vector<std::string> dirs = libDirs();

  ASSERT_GE(dirs.size(), 6U);
  EXPECT_EQ(dirs[0], folder("newer"));
  EXPECT_EQ(dirs[1], folder("older"));
  EXPECT_EQ(dirs[dirs.size() - 4], folder("first"));
  EXPECT_EQ(dirs[dirs.size() - 3], folder("second"));
  EXPECT_TRUE(fs::equivalent(dirs[dirs.size() - 2], ZU_FOLDER));
  EXPECT_EQ(dirs.back(), ZU_INSTALL_LIBDIR);
}

TEST_F(PathTest, AFolderOfTheEnvironmentIsListedOnceInItsFirstPlace) {
  setEnvironment(folder("first") + ":" + folder("second") + ":" + folder("first") + "/");

  EXPECT_EQ(timesListed(folder("first")), 1);
  const std::vector<std::string> dirs = libDirs();
  EXPECT_LT(std::find(dirs.begin(), dirs.end(), folder("first")),
            std::find(dirs.begin(), dirs.end(), folder("second")));
}

TEST_F(PathTest, AFolderAddedAgainComesFirstAndOnce) {
  addLibDir(folder("first"));
  addLibDir(folder("second"));
  addLibDir(folder("first"));

  EXPECT_EQ(libDirs().front(), folder("first"));
  EXPECT_EQ(timesListed(folder("first")), 1);
}

TEST_F(PathTest, AFolderIsListedOnceUnderItsFirstPathWhenALinkLeadsToIt) {
  fs::create_directory_symlink(folder("real"), root / "link");
  setEnvironment((root / "link").string() + ":" + folder("other") + ":" + folder("real"));

  EXPECT_EQ(timesListed((root / "link").string()), 1);
  EXPECT_EQ(timesListed(folder("other")), 1);
  EXPECT_EQ(timesListed(folder("real")), 0);
}

TEST_F(PathTest, AnAddedFolderIsListedOnceWhenALinkLeadsToIt) {
  fs::create_directory_symlink(folder("real"), root / "link");
  addLibDir(folder("real"));
  addLibDir((root / "link").string());

  EXPECT_EQ(libDirs().front(), (root / "link").string());
  EXPECT_EQ(timesListed(folder("real")), 0);
}

TEST_F(PathTest, FoldersThatDoNotExistAreListedOncePerPath) {
  const std::string gone = (root / "gone").string();
  setEnvironment(gone + ":" + (root / "lost").string() + ":" + gone);

  EXPECT_EQ(timesListed(gone), 1);
  EXPECT_EQ(timesListed((root / "lost").string()), 1);
}

TEST_F(PathTest, EmptyFoldersOfTheEnvironmentAreIgnored) {
  file("libx.so");
  fs::current_path(root);
  setEnvironment("::" + folder("first") + ":");

  EXPECT_EQ(findLib("libx"), "");
  EXPECT_EQ(timesListed(""), 0);
}

TEST_F(PathTest, RelativeFoldersBecomeFullPaths) {
  const std::string library = file("relative/libx.so");
  fs::current_path(root);
  setEnvironment("relative");

  EXPECT_EQ(findLib("libx"), library);
}

TEST_F(PathTest, AnAddedRelativeFolderStaysWhereItWas) {
  const std::string library = file("relative/libx.so");
  fs::current_path(root);
  addLibDir("relative");

  fs::current_path(original);

  EXPECT_EQ(findLib("libx"), library);
}

TEST_F(PathTest, ARelativeFolderInAWorkingFolderThatIsGoneIsIgnored) {
  fs::current_path(folder("gone"));
  fs::remove(root / "gone");

  const std::size_t before = libDirs().size();
  addLibDir("relative");

  EXPECT_EQ(libDirs().size(), before);
}

TEST_F(PathTest, TheRootFolderCanBeAdded) {
  addLibDir("/");

  EXPECT_EQ(libDirs().front(), "/");
}

TEST_F(PathTest, EmptyAndMutilatedFoldersAreIgnored) {
  const std::vector<std::string> before = libDirs();

  addLibDir("");
  addLibDir(folder("first") + std::string("\0tail", 5));

  EXPECT_EQ(libDirs(), before);
}

TEST_F(PathTest, RefusesNamesThatLeadOutOfTheFolder) {
  file("outside.so");
  file("inner/libx.so");
  const std::string inner = folder("inner");
  setEnvironment(inner);
  ASSERT_NE(findLib("libx"), "");

  EXPECT_EQ(findLib("../outside"), "");
  EXPECT_EQ(findLib("../inner/libx"), "");
  EXPECT_EQ(findLib("sub/../libx"), "");
  EXPECT_EQ(findLib("sub/.."), "");
  EXPECT_EQ(findLib(inner + "/libx"), "");
  EXPECT_EQ(findLib("/libx"), "");
}

TEST_F(PathTest, DotsWithinAComponentAreNoWayUp) {
  const std::string library = file("inner/..x..y.so");
  setEnvironment(folder("inner"));

  EXPECT_EQ(findLib("..x..y"), library);
}

TEST_F(PathTest, RefusesAnEmptyName) {
  file("inner/.so");
  setEnvironment(folder("inner"));

  EXPECT_EQ(findLib(""), "");
}

TEST_F(PathTest, RefusesANameWithAnEmbeddedNul) {
  file("inner/libx.so");
  setEnvironment(folder("inner"));

  EXPECT_EQ(findLib(std::string("libx.so\0", 8)), "");
}

TEST_F(PathTest, OnlyARegularFileIsALibrary) {
  folder("first/libx.so");
  const std::string second = folder("second");
  ASSERT_EQ(mkfifo((second + "/libx.so").c_str(), 0600), 0);
  const std::string library = file("third/libx.so");
  setEnvironment(folder("first") + ":" + second + ":" + folder("third"));

  EXPECT_EQ(findLib("libx"), library);
}

TEST_F(PathTest, ALinkToARegularFileIsALibrary) {
  fs::create_symlink(file("target"), fs::path(folder("links")) / "libx.so");
  setEnvironment(folder("links"));

  EXPECT_EQ(findLib("libx"), folder("links") + "/libx.so");
}

TEST_F(PathTest, ANameThatIsTooLongIsNotFound) {
  EXPECT_EQ(findLib(std::string(10000, 'x')), "");
}

TEST_F(PathTest, FoldersMayBeAddedWhileOthersAreSearched) {
  const std::string library = file("here/libx.so");
  setEnvironment(folder("here"));
  constexpr int rounds = 200;

  std::thread adder([&] {
    for (int i = 0; i < rounds; ++i) {
      addLibDir((root / std::to_string(i % 10)).string());
    }
  });
  int found = 0;
  for (int i = 0; i < rounds; ++i) {
    found += findLib("libx") == library ? 1 : 0;
  }
  adder.join();

  EXPECT_EQ(found, rounds);
}

}  // namespace
