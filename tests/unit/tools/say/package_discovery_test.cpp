#include "say/package_discovery.hpp"

#include <gmock/gmock.h>
#include <stdlib.h>

#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>
#include <kqtts/texttospeech_manager.hpp>
#include <kqtts/tts_language_info.hpp>

#include "support/log_recorder.hpp"
#include "support/temp_folder.hpp"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class PackageDiscovery : public testing::Test {
 protected:
  std::string package(const std::string& name, const std::string& uuid,
                      const std::string& version = "1.0") {
    boost::filesystem::create_directories(folder.path() / name);
    folder.write(name + "/manifest.xml", "<package><s name=\"uuid\" value=\"" + uuid +
                                             "\"/><s name=\"version\" value=\"" + version +
                                             "\"/></package>");
    return (folder.path() / name).string();
  }

  std::vector<std::string> find(const std::vector<std::string>& folders) const {
    std::vector<std::string> found;
    for (const zu::PackageInfo& info : tool::findPackages(folders, reader)) {
      found.push_back(info.uuid + " " + info.version + " " + info.path);
    }
    return found;
  }

  test::TempFolder folder;
  KQ::TextToSpeechManager reader{nullptr, boost::make_shared<KQ::TTSLanguageInfo>()};
};

TEST_F(PackageDiscovery, FindsTheFoldersWithAManifestByName) {
  const std::string second = package("b", "u2", "2.0");
  const std::string first = package("a", "u1");
  folder.write("c", "no folder");

  EXPECT_THAT(find({folder.path().string()}), ElementsAre("u1 1.0 " + first, "u2 2.0 " + second));
}

TEST_F(PackageDiscovery, TakesAFolderThatIsAPackageItself) {
  const std::string single = package("a", "u1");
  EXPECT_THAT(find({single}), ElementsAre("u1 1.0 " + single));
}

TEST_F(PackageDiscovery, LeavesOutAPackageWhoseManifestIsTooLarge) {
  const std::string small = package("a", "u1");
  package("b", "u2", std::string((std::size_t{1} << 20U) + 1, '1'));
  test::LogRecorder log;

  EXPECT_THAT(find({folder.path().string()}), ElementsAre("u1 1.0 " + small));
  EXPECT_THAT(log.messages(), Contains(HasSubstr("b/manifest.xml is larger than 1 MiB")));
}

TEST_F(PackageDiscovery, TakesTheFirstPackageOfOneUuid) {
  const std::string first = package("first/a", "u1", "2.0");
  const std::string second = package("second/a", "u1", "1.0");
  EXPECT_THAT(find({first, second}), ElementsAre("u1 2.0 " + first));
}

TEST_F(PackageDiscovery, LeavesOutAPackageWithoutUuidAndSaysSo) {
  package("a", "");
  folder.write("a/other", "");
  const test::LogRecorder log;

  EXPECT_THAT(find({folder.path().string()}), IsEmpty());
  EXPECT_THAT(log.messages(), Contains(HasSubstr("names no uuid")));
}

TEST_F(PackageDiscovery, PassesOverFoldersThatAreNotThere) {
  EXPECT_THAT(find({"", (folder.path() / "nowhere").string(), "/dev/null"}), IsEmpty());
}

class StandardPackageFolders : public testing::Test {
 protected:
  ~StandardPackageFolders() override {
    for (const char* variable : {"KQTTS_PACKAGE_PATH", "XDG_DATA_HOME", "XDG_DATA_DIRS"}) {
      unsetenv(variable);
    }
  }
};

TEST_F(StandardPackageFolders, AreThePathTheProgramsOwnAndTheDataFolders) {
  setenv("KQTTS_PACKAGE_PATH", "/one::/two", 1);
  setenv("XDG_DATA_HOME", "/home/x", 1);
  setenv("XDG_DATA_DIRS", "/data:/more", 1);
  const boost::filesystem::path program = boost::filesystem::read_symlink("/proc/self/exe");

  EXPECT_THAT(
      tool::standardPackageFolders(),
      ElementsAre("/one", "/two",
                  (program.parent_path().parent_path() / "share/kqtts/packages").string(),
                  "/home/x/kqtts/packages", "/data/kqtts/packages", "/more/kqtts/packages"));
}

TEST_F(StandardPackageFolders, HaveTheUsualDataFoldersWithoutEnvironment) {
  setenv("XDG_DATA_DIRS", "", 1);
  EXPECT_THAT(tool::standardPackageFolders(), Contains("/usr/local/share/kqtts/packages"));
  EXPECT_THAT(tool::standardPackageFolders(), Contains("/usr/share/kqtts/packages"));
}

}  // namespace
