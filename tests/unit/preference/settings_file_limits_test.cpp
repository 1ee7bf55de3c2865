#include <gmock/gmock.h>
#include <sys/stat.h>

#include <atomic>
#include <boost/filesystem/operations.hpp>
#include <kqtts/tts_preference.hpp>
#include <thread>

#include "support/open_descriptors.hpp"
#include "support/repeat.hpp"
#include "support/row_name.hpp"
#include "support/temp_folder.hpp"

namespace {

namespace fs = boost::filesystem;
using test::repeated;

constexpr std::size_t largestFile = 8 * 1024 * 1024;
const std::string setting = R"(<p name="sourceVoice" value="x"/>)";

std::string filled(const std::string& begin, const std::string& unit, const std::string& end) {
  const std::size_t room = largestFile - begin.size() - end.size();
  return begin + repeated(unit, room / unit.size()) + end;
}

std::string withDocumentType(const std::string& declarations, const std::string& content = "") {
  return "<!DOCTYPE r [" + declarations + "]><r>" + setting + content + "</r>";
}

std::string nested(std::size_t elements) {
  return "<r>" + setting + repeated("<a>", elements - 1) + repeated("</a>", elements - 1) + "</r>";
}

class SettingsFileLimits : public testing::Test {
 protected:
  std::string voiceOf(fs::path file) const { return KQ::makeVoiceSettingFromXml(file).voiceName; }
  std::string voiceIn(const std::string& content) const {
    return voiceOf(folder.write("voiceSettings.xml", content));
  }

  test::TempFolder folder;
};

TEST_F(SettingsFileLimits, AFileOfEightMebibytesIsRead) {
  const std::string begin = "<r>" + setting;
  const std::string end = "</r>";

  EXPECT_EQ(voiceIn(begin + std::string(largestFile - begin.size() - end.size(), ' ') + end), "x");
}

TEST_F(SettingsFileLimits, ALargerFileIsNotRead) {
  const std::string begin = "<r>" + setting;

  EXPECT_EQ(voiceIn(begin + std::string(largestFile, ' ') + "</r>"), "");
}

TEST_F(SettingsFileLimits, AnImmenseFileIsNotRead) {
  const fs::path file = folder.write("voiceSettings.xml", "<r>" + setting + "</r>");
  fs::resize_file(file, std::uintmax_t{1} << 40U);

  EXPECT_EQ(voiceOf(file), "");
}

TEST_F(SettingsFileLimits, ElementsNested256DeepAreRead) {
  EXPECT_EQ(voiceIn(nested(256)), "x");
}

TEST_F(SettingsFileLimits, ElementsNestedDeeperAreMalformed) {
  EXPECT_EQ(voiceIn(nested(257)), "");
}

TEST_F(SettingsFileLimits, OnlyOpenElementsCountForTheDepth) {
  EXPECT_EQ(voiceIn("<r>" + repeated("<a><b/></a>", 300) + setting + "</r>"), "x");
}

TEST_F(SettingsFileLimits, APipeIsNotWaitedFor) {
  const fs::path pipe = folder.path() / "pipe";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);

  EXPECT_EQ(voiceOf(pipe), "");
}

TEST_F(SettingsFileLimits, AFileBeingReadIsNotHandedToPrograms) {
  const fs::path file = folder.write("voiceSettings.xml", "");
  fs::resize_file(file, largestFile);
  std::atomic<bool> seen{false};
  std::thread reader([&] {
    while (!seen) {
      voiceOf(file);
    }
  });
  test::OpenDescriptors open;
  while (open.all == 0) {
    open = test::openDescriptorsOf(file);
  }
  seen = true;
  reader.join();

  EXPECT_EQ(open.inheritable, 0);
}

TEST_F(SettingsFileLimits, ADeviceIsNotRead) {
  EXPECT_EQ(voiceOf("/dev/zero"), "");
}

TEST_F(SettingsFileLimits, APathWithANulIsNotCutThere) {
  const fs::path file = folder.write("voiceSettings.xml", "<r>" + setting + "</r>");

  EXPECT_EQ(voiceOf(file.native() + std::string("\0x", 2)), "");
}

struct Hostile {
  const char* name;
  std::string content;
  const char* voice;
};

class HostileFile : public SettingsFileLimits, public testing::WithParamInterface<Hostile> {};

// If reading a file took too long, the test program would exceed its time limit.
TEST_P(HostileFile, IsReadOrRefusedInLittleTime) {
  EXPECT_EQ(voiceIn(GetParam().content), GetParam().voice);
}

std::string doubling(std::size_t entities, bool backwards) {
  std::string declarations;
  for (std::size_t i = 1; i < entities; ++i) {
    const std::string entity = "<!ENTITY e" + std::to_string(i) + " \"" +
                               repeated("&e" + std::to_string(i - 1) + ";", 10) + "\">";
    declarations = backwards ? entity + declarations : declarations + entity;
  }
  const std::string first = "<!ENTITY e0 \"xxxxxxxxxx\">";
  return backwards ? declarations + first : first + declarations;
}

std::string entityOfSize(std::size_t size) {
  return "<!ENTITY e \"" + std::string(size, 'x') + "\">";
}

INSTANTIATE_TEST_SUITE_P(
    Files, HostileFile,
    testing::Values(
        Hostile{"OnlyOpenElements", filled("", "<a>", ""), ""},
        Hostile{"OnlyEmptyElements", filled("<r>" + setting, "<a/>", "</r>"), "x"},
        Hostile{"OnlyAttributes", filled("<r>" + setting + "<a ", "b='' ", "/></r>"), "x"},
        Hostile{"OnlyComments", filled("<r>" + setting, "<!---->", "</r>"), "x"},
        Hostile{"OnlyReferences", filled("<r>" + setting, "&lt;", "</r>"), "x"},
        Hostile{"DeclarationsWithoutEnd",
                withDocumentType(repeated("<!ENTITY e ''>", largestFile / 20)), ""},
        Hostile{"ParenthesesWithoutEnd",
                withDocumentType("<!ELEMENT r " + std::string(1000000, '(') + "a"), ""},
        Hostile{"ParameterEntitiesWithoutEnd",
                withDocumentType("<!ENTITY % p '" + std::string(500, ' ') + "'>" +
                                 repeated("%p;", 500000)),
                ""},
        Hostile{"EntitiesThatGrow", withDocumentType(doubling(9, false), "&e8;"), ""},
        Hostile{"EntitiesThatGrowBackwards", withDocumentType(doubling(9, true), "&e8;"), ""},
        Hostile{"EntityOfItself", withDocumentType("<!ENTITY e 'x&e;'>", "&e;"), ""},
        Hostile{"GrownPredefinedEntity",
                withDocumentType("<!ENTITY e '" + repeated("&lt;", 300) + "'><!ENTITY lt '" +
                                     std::string(600, 'x') + "'>",
                                 repeated("&e;", 1000)),
                ""},
        Hostile{"OneEntityOftenEnough", withDocumentType(entityOfSize(1024), repeated("&e;", 4000)),
                "x"},
        Hostile{"OneEntityOnceTooOften",
                withDocumentType(entityOfSize(1024), repeated("&e;", 4200)), ""},
        Hostile{"TheLargerOfTwoEntitiesOnceTooOften",
                withDocumentType(entityOfSize(1024) + "<!ENTITY f 'x'>", repeated("&e;", 4200)),
                ""},
        Hostile{"EntityOfEntitiesOnceTooOften",
                withDocumentType(doubling(3, false), repeated("&e2;", 4200)), ""},
        Hostile{"EntityOfEntitiesOftenEnough",
                withDocumentType(doubling(3, false), repeated("&e2;", 2800)), "x"},
        Hostile{"ElementsInAnEntity",
                withDocumentType("<!ENTITY e \"" + repeated("<a/>", 256) + "\">",
                                 repeated("&e;", 4000)),
                "x"},
        Hostile{"LargeDocumentType", withDocumentType("<!ELEMENT r ANY>" + std::string(2000, ' ')),
                "x"},
        Hostile{"LargerDocumentType", withDocumentType("<!ELEMENT r ANY>" + std::string(2100, ' ')),
                ""}),
    test::RowName());

}  // namespace
