#include "dictionary/dictionary_file.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "support/row_name.hpp"
#include "support/temp_folder.hpp"

namespace {

namespace fs = boost::filesystem;

using KQ::engines::DictionaryEntry;
using KQ::engines::DictionaryError;
using KQ::engines::DictionaryFile;
using KQ::engines::UserDictionary;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

auto adding(const std::string& word, const std::string& replacement, bool isExact = false) {
  return [=](UserDictionary& dictionary) { return dictionary.add({word, replacement, isExact}); };
}

class DictionaryOnDisk : public ::testing::Test {
 protected:
  fs::path folder() const { return temp.path() / "deep/kqtts"; }

  DictionaryFile english() const { return {folder(), "English"}; }

  void write(const std::string& content) {
    fs::create_directories(folder());
    std::ofstream(english().path().string()) << content;
  }

  std::string content() const {
    std::ostringstream text;
    text << std::ifstream(english().path().string()).rdbuf();
    return text.str();
  }

  std::size_t filesInFolder() const {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(folder()), fs::directory_iterator()));
  }

  test::TempFolder temp;
};

TEST_F(DictionaryOnDisk, WithoutFileIsEmpty) {
  EXPECT_TRUE(english().read().entries().empty());
  EXPECT_FALSE(fs::exists(folder()));
}

TEST_F(DictionaryOnDisk, KeepsWhatWasAdded) {
  english().update(adding("robot", "machine man"));
  english().update(adding("KQ", "kay queue", true));
  EXPECT_EQ(content(), "KQ\tkay queue\texact\nrobot\tmachine man\tany\n");
  const auto entries = english().read().entries();
  ASSERT_EQ(entries.size(), 2U);
  EXPECT_EQ(entries.begin()->second.replacement, "kay queue");
  EXPECT_TRUE(entries.begin()->second.isExact);
  EXPECT_FALSE(entries.rbegin()->second.isExact);
}

TEST_F(DictionaryOnDisk, IsTheUsersAlone) {
  english().update(adding("robot", "machine man"));
  EXPECT_EQ(fs::status(english().path()).permissions(), fs::owner_read | fs::owner_write);
}

TEST_F(DictionaryOnDisk, ConsistsOfFileAndLock) {
  english().update(adding("robot", "machine man"));
  EXPECT_EQ(filesInFolder(), 2U);
}

TEST_F(DictionaryOnDisk, FoldersThatAreMadeAreTheUsersAlone) {
  const mode_t former = ::umask(0);
  english().update(adding("GmbH", "Firma"));
  ::umask(former);

  for (const fs::path& made : {folder().parent_path(), folder()}) {
    struct stat status {};
    ASSERT_EQ(::stat(made.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U) << made;
  }
}

TEST_F(DictionaryOnDisk, ReplacesALinkThatStandsInTheWayInsteadOfWritingThroughIt) {
  fs::create_directories(folder());
  const fs::path victim = temp.write("victim", "untouched");
  fs::create_symlink(victim, folder() / "English.new");

  english().update(adding("GmbH", "Firma"));

  std::ostringstream text;
  text << std::ifstream(victim.string()).rdbuf();
  EXPECT_EQ(text.str(), "untouched");
  EXPECT_EQ(english().read().entries().size(), 1U);
  EXPECT_FALSE(fs::is_symlink(english().path()));
}

TEST_F(DictionaryOnDisk, MakesNoFileThroughALinkInPlaceOfTheLock) {
  fs::create_directories(folder());
  fs::create_symlink(temp.path() / "made", folder() / "English.lock");

  EXPECT_THROW(english().update(adding("GmbH", "Firma")), DictionaryError);
  EXPECT_FALSE(fs::exists(temp.path() / "made"));
}

TEST_F(DictionaryOnDisk, IsWrittenAfterAProcessWasKilledWhileItWrote) {
  fs::create_directories(folder());
  std::ofstream((folder() / "English.new").string()) << "half an en";

  english().update(adding("GmbH", "Firma"));

  EXPECT_EQ(english().read().entries().size(), 1U);
}

TEST_F(DictionaryOnDisk, IsNotWrittenWithoutAChange) {
  english().update([](UserDictionary& /*dictionary*/) { return false; });
  EXPECT_FALSE(fs::exists(english().path()));
}

TEST_F(DictionaryOnDisk, StaysUnchangedWhenTheChangeFails) {
  english().update(adding("robot", "machine man"));
  EXPECT_THROW(english().update([](UserDictionary& dictionary) {
    dictionary.add({"other", "x"});
    return dictionary.add({"", ""});
  }),
               DictionaryError);
  EXPECT_EQ(content(), "robot\tmachine man\tany\n");
}

TEST_F(DictionaryOnDisk, IsReplacedAsAWhole) {
  english().update(adding("robot", "machine man"));
  const std::ifstream reader(english().path().string());
  english().update(adding("other", "x"));
  std::ostringstream text;
  text << reader.rdbuf();
  EXPECT_EQ(text.str(), "robot\tmachine man\tany\n");
}

TEST_F(DictionaryOnDisk, LanguagesHaveTheirOwnFiles) {
  english().update(adding("robot", "machine man"));
  EXPECT_TRUE(DictionaryFile(folder(), "French").read().entries().empty());
}

TEST_F(DictionaryOnDisk, ProcessesLoseNothingOfEachOther) {
  constexpr int processes = 4;
  constexpr int rounds = 20;
  fs::create_directories(folder());
  for (int process = 0; process < processes; ++process) {
    if (::fork() == 0) {
      for (int i = 0; i < rounds; ++i) {
        const std::string word = 'w' + std::to_string(process) + 'x' + std::to_string(i);
        english().update(adding(word, "y"));
      }
      ::_exit(0);
    }
  }
  for (int process = 0; process < processes; ++process) {
    int status = 1;
    ::wait(&status);
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(english().read().entries().size(), std::size_t{processes * rounds});
}

TEST_F(DictionaryOnDisk, LockedByAnotherProcessIsAnErrorInTheEnd) {
  english().update(adding("robot", "machine man"));
  const int holder = ::open((folder() / "English.lock").c_str(), O_RDWR);
  ASSERT_EQ(::flock(holder, LOCK_EX), 0);
  EXPECT_THAT([&] { english().update(adding("other", "x")); },
              ThrowsMessage<DictionaryError>(HasSubstr("another process keeps it locked")));
  ::close(holder);
}

TEST_F(DictionaryOnDisk, WithoutAFolderIsAnError) {
  temp.write("deep", "");
  EXPECT_THAT([&] { english().update(adding("robot", "x")); },
              ThrowsMessage<DictionaryError>(HasSubstr("cannot be made")));
}

TEST_F(DictionaryOnDisk, FolderInItsPlaceIsAnError) {
  fs::create_directories(english().path());
  EXPECT_THAT([&] { english().read(); },
              ThrowsMessage<DictionaryError>(HasSubstr("is no regular file")));
}

TEST_F(DictionaryOnDisk, PipeInItsPlaceIsAnError) {
  fs::create_directories(folder());
  ASSERT_EQ(::mkfifo(english().path().c_str(), 0600), 0);
  EXPECT_THAT([&] { english().read(); },
              ThrowsMessage<DictionaryError>(HasSubstr("is no regular file")));
}

TEST_F(DictionaryOnDisk, TooLongFileIsAnError) {
  write(std::string(DictionaryFile::longest + 1, 'x'));
  EXPECT_THAT([&] { english().read(); }, ThrowsMessage<DictionaryError>(HasSubstr("is too long")));
}

struct BrokenRow {
  const char* name;
  std::string content;
  std::string complaint;
};

const BrokenRow brokenFiles[] = {
    {"EmptyLine", "a\tb\tany\n\n", "line 2: is no word, replacement"},
    {"NoTab", "a", "line 1: is no word, replacement"},
    {"OneTab", "a\tany\n", "line 1: is no word, replacement"},
    {"UnknownKind", "a\tb\tsome\n", "line 1: is no word, replacement"},
    {"OnlyTabs", "\t\t\n", "line 1: is no word, replacement"},
    {"NoKind", "a\tb\t\n", "line 1: is no word, replacement"},
    {"CarriageReturn", "a\tb\tany\r\n", "line 1: is no word, replacement"},
    {"ThreeTabs", "a\tb\tc\tany\n", "line 1: the replacement holds a control character"},
    {"Markup", "a\t\\Pau=1\\\tany\n", "line 1: the replacement holds markup"},
    {"Binary", std::string("a\tb\tany\n\0\xFF\t\t", 12), "line 2: is no word, replacement"},
};

class BrokenDictionary : public DictionaryOnDisk,
                         public ::testing::WithParamInterface<BrokenRow> {};

TEST_P(BrokenDictionary, IsAnErrorThatNamesTheLineAndLosesNothing) {
  write(GetParam().content);
  EXPECT_THAT([&] { english().read(); },
              ThrowsMessage<DictionaryError>(HasSubstr(GetParam().complaint)));
  EXPECT_THROW(english().update(adding("robot", "x")), DictionaryError);
  EXPECT_EQ(content(), GetParam().content);
}

INSTANTIATE_TEST_SUITE_P(Table, BrokenDictionary, ::testing::ValuesIn(brokenFiles),
                         test::RowName());

TEST_F(DictionaryOnDisk, OddLanguageStaysInTheFolder) {
  for (const char* language :
       {"..", "../../etc/passwd", "/etc/passwd", ".", "a/b", "\xFF\n", " "}) {
    EXPECT_EQ(DictionaryFile(folder(), language).path().parent_path(), folder()) << language;
  }
}

TEST_F(DictionaryOnDisk, OddLanguagesHaveTheirOwnFiles) {
  EXPECT_EQ(DictionaryFile(folder(), "a/b").path().filename(), "a%2Fb.txt");
  EXPECT_EQ(DictionaryFile(folder(), "a%2Fb").path().filename(), "a%252Fb.txt");
}

TEST_F(DictionaryOnDisk, LanguageWithoutNameIsAnError) {
  EXPECT_THROW(DictionaryFile(folder(), ""), DictionaryError);
}

TEST_F(DictionaryOnDisk, LanguageThatIsTooLongForAFileIsAnError) {
  EXPECT_THROW(DictionaryFile(folder(), std::string(201, 'a')), DictionaryError);
  EXPECT_NO_THROW(DictionaryFile(folder(), std::string(200, 'a')));
}

/// Puts an environment variable back.
class Variable {
 public:
  Variable(const char* name, const char* value) : name(name) {
    const char* const old = std::getenv(name);
    wasSet = old != nullptr;
    former = wasSet ? old : "";
    value == nullptr ? ::unsetenv(name) : ::setenv(name, value, 1);
  }
  ~Variable() { wasSet ? ::setenv(name, former.c_str(), 1) : ::unsetenv(name); }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;

 private:
  const char* name;
  std::string former;
  bool wasSet;
};

TEST(UserFolder, IsInTheDataFolder) {
  const Variable data("XDG_DATA_HOME", "/data");
  EXPECT_EQ(DictionaryFile::userFolder(), "/data/kqtts/dictionaries");
}

TEST(UserFolder, WithoutDataFolderIsInTheHomeFolder) {
  const Variable data("XDG_DATA_HOME", nullptr);
  const Variable home("HOME", "/home/someone");
  EXPECT_EQ(DictionaryFile::userFolder(), "/home/someone/.local/share/kqtts/dictionaries");
}

TEST(UserFolder, IsNeverRelative) {
  const Variable data("XDG_DATA_HOME", "data");
  const Variable home("HOME", "/home/someone");
  EXPECT_EQ(DictionaryFile::userFolder(), "/home/someone/.local/share/kqtts/dictionaries");
}

TEST(UserFolder, WithoutAnyIsAnError) {
  const Variable data("XDG_DATA_HOME", nullptr);
  const Variable home("HOME", nullptr);
  EXPECT_THAT([] { DictionaryFile::userFolder(); },
              ThrowsMessage<DictionaryError>(
                  "no folder for dictionaries: neither XDG_DATA_HOME nor HOME is set"));
}

}  // namespace
