#include <fcntl.h>
#include <gmock/gmock.h>
#include <grp.h>
#include <pwd.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/filesystem/operations.hpp>
#include <fstream>
#include <sstream>
#include <string>

#include "support/temp_folder.hpp"

namespace {

namespace fs = boost::filesystem;
using testing::HasSubstr;
using testing::Not;

constexpr uid_t otherUser = 65534;

/// A copy of the host that runs with the rights of its owner, whoever starts it.
class RaisedRights : public testing::Test {
 protected:
  void SetUp() override {
    struct statvfs system {};
    ASSERT_EQ(statvfs(temp.path().c_str(), &system), 0);
    if (geteuid() != 0 || (system.f_flag & ST_NOSUID) != 0) {
      GTEST_SKIP() << "needs a privileged user and a file system that keeps raised rights";
    }
    fs::copy_file(RAISED_RIGHTS_HOST, host);
    ASSERT_EQ(chmod(temp.path().c_str(), 0755), 0);
    ASSERT_EQ(chmod(host.c_str(), 04755), 0);
    fs::create_directory(hostile);
    ASSERT_EQ(chown(hostile.c_str(), otherUser, otherUser), 0);
  }

  /// What the host writes, started by another user with this environment besides HOME and
  /// XDG_DATA_HOME.
  std::string outputWith(const char* variable, const std::string& value) const {
    const pid_t child = fork();
    if (child == 0) {
      const int file = open(output.c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0600);
      dup2(file, STDOUT_FILENO);
      dup2(file, STDERR_FILENO);
      setenv("HOME", hostile.c_str(), 1);
      setenv("XDG_DATA_HOME", hostile.c_str(), 1);
      setenv(variable, value.c_str(), 1);
      const bool isOther = setgroups(0, nullptr) == 0 &&
                           setresgid(otherUser, otherUser, otherUser) == 0 &&
                           setresuid(otherUser, otherUser, otherUser) == 0;
      if (isOther) {
        execl(host.c_str(), host.c_str(), BUILT_LIBRARIES, BUILT_DATA "/packages/french", nullptr);
      }
      _exit(99);
    }
    int status = 0;
    waitpid(child, &status, 0);
    std::ostringstream text;
    text << std::ifstream(output.string()).rdbuf() << "status " << WEXITSTATUS(status) << '\n';
    return text.str();
  }

  test::TempFolder temp;
  const fs::path host = temp.path() / "host";
  const fs::path hostile = temp.path() / "hostile";
  const fs::path output = temp.path() / "output";
};

TEST_F(RaisedRights, TheDictionaryIsThatOfTheUserWhoseRightsTheyAre) {
  const std::string text = outputWith("LANG", "C");

  EXPECT_THAT(text, HasSubstr(std::string(getpwuid(geteuid())->pw_dir) +
                              "/.local/share/kqtts/dictionaries/French.txt"));
  EXPECT_THAT(text, Not(HasSubstr(hostile.string())));
}

TEST_F(RaisedRights, TheSynthesisersDataAreThoseOfTheSystem) {
  fs::create_directories(hostile / "espeak-ng-data");
  for (const char* name : {"phontab", "phonindex", "phondata", "intonations"}) {
    std::ofstream((hostile / "espeak-ng-data" / name).string()) << "broken data";
  }

  const std::string text = outputWith("ESPEAK_DATA_PATH", hostile.string());

  EXPECT_THAT(text, HasSubstr(" samples\nstatus 0\n"));
}

TEST_F(RaisedRights, LibrariesOfTheEnvironmentAreNotLoaded) {
  fs::create_directories(hostile / "kqtts");
  std::ofstream((hostile / "kqtts/libkqtts-aitalk.so").string()) << "no library";

  const std::string text = outputWith("ZU_LIBRARY_PATH", hostile.string());

  EXPECT_THAT(text, Not(HasSubstr(hostile.string())));
  EXPECT_THAT(text, HasSubstr(" samples\nstatus 0\n"));
}

}  // namespace
