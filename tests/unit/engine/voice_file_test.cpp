#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <boost/filesystem/operations.hpp>
#include <chrono>
#include <clocale>
#include <string>
#include <thread>
#include <vector>

#include "support/fake_engine.hpp"
#include "support/log_recorder.hpp"
#include "support/repeat.hpp"
#include "support/row_name.hpp"
#include "support/temp_folder.hpp"

namespace {

namespace fs = boost::filesystem;
using test::repeated;
using testing::AnyOf;
using testing::IsEmpty;

constexpr std::size_t largestFile = 8 * 1024 * 1024;

class VoiceFileTest : public testing::Test {
 protected:
  std::string valueOf(const std::string& name, const fs::path& file) const {
    return engine.getParamFromXml(name, file);
  }

  std::string valueIn(const std::string& content, const std::string& name = "speed") const {
    return valueOf(name, folder.write("voice.xml", content));
  }

  test::TempFolder folder;
  test::MinimalEngine engine;
};

struct Content {
  const char* name;
  const char* content;
  const char* parameter;
  const char* value;
};

void PrintTo(const Content& content, std::ostream* stream) {
  *stream << content.content;
}

class VoiceFileContent : public VoiceFileTest, public testing::WithParamInterface<Content> {};

TEST_P(VoiceFileContent, GivesTheValue) {
  EXPECT_EQ(valueIn(GetParam().content, GetParam().parameter), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    WellFormed, VoiceFileContent,
    testing::Values(
        Content{"OneSetting", R"(<voice><setting name="speed" value="90"/></voice>)", "speed",
                "90"},
        Content{"AnyElementNames", R"(<x:a><b.c-d name="speed" value="90"></b.c-d></x:a>)", "speed",
                "90"},
        Content{"SecondSetting",
                R"(<v><s name="pitch" value="1"/><s name="speed" value="90"/></v>)", "speed", "90"},
        Content{"TheLastOfSeveralWins",
                R"(<v><s name="speed" value="1"/><s name="speed" value="2"/></v>)", "speed", "2"},
        Content{"TheLastWinsEvenIfEmpty",
                R"(<v><s name="speed" value="1"/><s name="speed" value=""/></v>)", "speed", ""},
        Content{"ALaterOneWithoutValueIsSkipped",
                R"(<v><s name="speed" value="1"/><s name="speed"/></v>)", "speed", "1"},
        Content{"WithoutValue", R"(<v><s name="speed"/></v>)", "speed", ""},
        Content{"WithoutName", R"(<v><s value="90"/></v>)", "", ""},
        Content{"EmptyName", R"(<v><s name="" value="90"/></v>)", "", "90"},
        Content{"OneLevelTooDeep", R"(<v><g><s name="speed" value="90"/></g></v>)", "speed", ""},
        Content{"TheRootItselfIsNoSetting", R"(<v name="speed" value="90"/>)", "speed", ""},
        Content{"ASettingMayHaveChildren",
                R"(<v><s name="speed" value="90"><s name="speed" value="1"/></s></v>)", "speed",
                "90"},
        Content{"OtherNodesAreSkipped",
                "<v>text<!-- <s name='speed' value='1'/> --><?p i?><![CDATA[<s/>]]>\n"
                "<s name='speed' value='90'/>text</v>",
                "speed", "90"},
        Content{"OtherAttributesAreIgnored",
                R"(<v><s Name="speed" VALUE="1" x:name="speed" type="int"/></v>)", "speed", ""},
        Content{"AbsentSetting", R"(<v><s name="speed" value="90"/></v>)", "pitch", ""},
        Content{"NamesDifferByCase", R"(<v><s name="Speed" value="90"/></v>)", "speed", ""},
        Content{"NamesAreComparedWhole", R"(<v><s name="speed2" value="90"/></v>)", "speed", ""},
        Content{"NamesAreNotTrimmed", R"(<v><s name=" speed" value="90"/></v>)", "speed", ""},
        Content{"ValuesAreNotTrimmed", R"(<v><s name="speed" value="  9 0  "/></v>)", "speed",
                "  9 0  "},
        Content{"ValuesAreNotNumbers", R"(<v><s name="speed" value="007,50"/></v>)", "speed",
                "007,50"},
        Content{"References",
                R"(<v><s name="speed" value="&lt;&amp;&quot;&#233;&#x20AC;&gt;"/></v>)", "speed",
                "<&\"\xC3\xA9\xE2\x82\xAC>"},
        Content{"Utf8", "<v><s name='\xC3\xA9t\xC3\xA9' value='\xF0\x9F\x98\x80'/></v>",
                "\xC3\xA9t\xC3\xA9", "\xF0\x9F\x98\x80"},
        Content{"Utf8WithMark", "\xEF\xBB\xBF<v><s name='speed' value='\xC3\xA9'/></v>", "speed",
                "\xC3\xA9"},
        Content{"Latin1",
                "<?xml version='1.0' encoding='ISO-8859-1'?><v><s name='speed' value='\xE9'/></v>",
                "speed", "\xC3\xA9"},
        Content{"NoSettings", "<v/>", "speed", ""}),
    test::RowName());

INSTANTIATE_TEST_SUITE_P(
    Malformed, VoiceFileContent,
    testing::Values(
        Content{"Nothing", "", "speed", ""}, Content{"PlainText", "speed=90\n", "speed", ""},
        Content{"TruncatedInATag", R"(<v><s name="speed" value="90"/><s nam)", "speed", ""},
        Content{"TruncatedInAValue", R"(<v><s name="speed" value="90)", "speed", ""},
        Content{"UnclosedRoot", R"(<v><s name="speed" value="90"/>)", "speed", ""},
        Content{"WrongEndTag", R"(<v><s name="speed" value="90"/></w>)", "speed", ""},
        Content{"TwoRoots", R"(<v><s name="speed" value="90"/></v><v/>)", "speed", ""},
        Content{"TextBehindTheRoot", R"(<v><s name="speed" value="90"/></v>junk)", "speed", ""},
        Content{"UnknownEntity", R"(<v><s name="speed" value="&nothing;"/></v>)", "speed", ""},
        Content{"UnquotedAttribute", "<v><s name=speed value=90/></v>", "speed", ""}),
    test::RowName());

TEST_F(VoiceFileTest, AParameterNameMayHoldANul) {
  const fs::path file = folder.write("voice.xml", R"(<v><s name="speed" value="90"/></v>)");
  EXPECT_EQ(valueOf(std::string("speed\0", 6), file), "");
}

TEST_F(VoiceFileTest, AFileThatChangedIsReadAgain) {
  const auto content = [](const std::string& value) {
    return "<voice><s name=\"speed\" value=\"" + value + "\"/></voice>";
  };
  const fs::path file = folder.write("voice.xml", content("1"));
  // Only files of some age are kept.
  std::this_thread::sleep_for(std::chrono::milliseconds(2100));
  EXPECT_EQ(valueOf("speed", file), "1");

  folder.write("voice.xml", content("2"));

  EXPECT_EQ(valueOf("speed", file), "2");
}

TEST_F(VoiceFileTest, TheVoiceNameIsTheSettingSourceVoice) {
  const fs::path file = folder.write("voice.xml",
                                     R"(<v><s name="voice" value="Y"/>
                                           <s name="sourceVoice" value="X"/></v>)");
  EXPECT_EQ(engine.getVoiceNameFromXml(file), "X");
}

TEST_F(VoiceFileTest, WithoutASourceVoiceTheVoiceNameIsEmpty) {
  EXPECT_EQ(engine.getVoiceNameFromXml(folder.write("voice.xml", "<v/>")), "");
  EXPECT_EQ(engine.getVoiceNameFromXml(""), "");
}

// Files that cannot be read --------------------------------------------------------------------

TEST_F(VoiceFileTest, PathsThatLeadNowhereGiveNothing) {
  fs::create_symlink("loop", folder.path() / "loop");
  fs::create_symlink("nowhere", folder.path() / "dangling");
  const std::vector<fs::path> paths = {
      "",
      "nowhere.xml",
      folder.path() / "nowhere.xml",
      folder.path() / "loop",
      folder.path() / "dangling",
      folder.path() / std::string(5000, 'x'),
      folder.write("file", "") / "below-a-file.xml",
  };
  for (const fs::path& path : paths) {
    EXPECT_EQ(valueOf("speed", path), "") << path;
  }
}

TEST_F(VoiceFileTest, AFolderGivesNothing) {
  EXPECT_EQ(valueOf("speed", folder.path()), "");
}

TEST_F(VoiceFileTest, APipeGivesNothingAtOnce) {
  const fs::path pipe = folder.path() / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(valueOf("speed", pipe), "");  // nobody writes to it
}

TEST_F(VoiceFileTest, ADeviceGivesNothingAtOnce) {
  EXPECT_EQ(valueOf("speed", "/dev/zero"), "");
  EXPECT_EQ(valueOf("speed", "/dev/null"), "");
}

TEST_F(VoiceFileTest, AFileThatIsShorterThanItsSizeIsReadToItsEnd) {
  EXPECT_EQ(valueOf("speed", "/sys/devices/system/cpu/online"), "");  // its size says one page
}

TEST_F(VoiceFileTest, ASocketGivesNothing) {
  const fs::path path = folder.path() / "socket";
  const int descriptor = socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  path.string().copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);

  EXPECT_EQ(valueOf("speed", path), "");
  close(descriptor);
}

TEST_F(VoiceFileTest, ALinkToAFileIsFollowed) {
  const fs::path file = folder.write("voice.xml", R"(<v><s name="speed" value="90"/></v>)");
  fs::create_symlink(file, folder.path() / "link.xml");
  EXPECT_EQ(valueOf("speed", folder.path() / "link.xml"), "90");
}

TEST_F(VoiceFileTest, ARelativePathStartsAtTheCurrentFolder) {
  const fs::path file = folder.write("voice.xml", R"(<v><s name="speed" value="90"/></v>)");
  EXPECT_EQ(valueOf("speed", fs::relative(file)), "90");
}

// File names of any bytes in any locale --------------------------------------------------------

class VoiceFileName : public VoiceFileTest,
                      public testing::WithParamInterface<std::tuple<const char*, const char*>> {
 protected:
  VoiceFileName() { std::setlocale(LC_ALL, std::get<0>(GetParam())); }
  ~VoiceFileName() override { std::setlocale(LC_ALL, "C"); }
};

TEST_P(VoiceFileName, IsTakenByteForByte) {
  const fs::path file =
      folder.write(std::get<1>(GetParam()), "<v><s name='speed' value='\xC3\xA9'/></v>");
  EXPECT_EQ(valueOf("speed", file), "\xC3\xA9");
}

INSTANTIATE_TEST_SUITE_P(
    LocalesAndNames, VoiceFileName,
    testing::Combine(testing::Values("C", "C.UTF-8"),
                     testing::Values("voice.xml", "\xC3\xA9t\xC3\xA9.xml",
                                     "\xE9t\xE9.xml",             // Latin-1
                                     "e\xCC\x81.xml",             // decomposed
                                     "\xF0\x9F\x98\x80.xml",      // outside the BMP
                                     "\xED\xA0\x80\xFF\xFE.xml",  // in no encoding
                                     "with space, \"quotes\" & %20.xml")));

// Hostile contents -----------------------------------------------------------------------------

/// A setting, and elements that are nested to `depth`. The root counts as a level.
std::string nested(std::size_t depth) {
  return R"(<v><s name="speed" value="90"/>)" + repeated("<e>", depth - 1) +
         repeated("</e>", depth - 1) + "</v>";
}

TEST_F(VoiceFileTest, NestingIsReadUntil256Elements) {
  EXPECT_EQ(valueIn(nested(256)), "90");
  EXPECT_EQ(valueIn(nested(257)), "");
}

TEST_F(VoiceFileTest, NestingAMillionDeepGivesNothing) {
  EXPECT_EQ(valueIn(nested(1000000)), "");
  EXPECT_EQ(valueIn(repeated("<e>", 1000000)), "");
}

TEST_F(VoiceFileTest, AnEntityBombGivesNothing) {
  std::string types = "<!ENTITY e0 \"lol\">";
  for (int i = 1; i < 30; ++i) {
    const std::string inner = "&e" + std::to_string(i - 1) + ";";
    types += "<!ENTITY e" + std::to_string(i) + " \"" + repeated(inner, 10) + "\">";
  }
  const std::string head = "<!DOCTYPE v [" + types + "]>";
  EXPECT_EQ(valueIn(head + R"(<v><s name="speed" value="&e29;"/></v>)"), "");
  EXPECT_EQ(valueIn(head + "<v>&e29;</v>"), "");
}

TEST_F(VoiceFileTest, AnEntityThatHoldsItselfGivesNothing) {
  EXPECT_EQ(valueIn("<!DOCTYPE v [<!ENTITY a \"&b;\"><!ENTITY b \"&a;\">]>"
                    "<v><s name='speed' value='&a;'/></v>"),
            "");
}

TEST_F(VoiceFileTest, ExternalEntitiesAreNotRead) {
  const fs::path secret = folder.write("secret", "secret");
  EXPECT_EQ(valueIn("<!DOCTYPE v [<!ENTITY a SYSTEM \"" + secret.string() +
                    "\">]><v><s name='speed' value='&a;'/></v>"),
            "");
}

TEST_F(VoiceFileTest, NulBytesDoNoHarm) {
  const std::string nul(1, '\0');
  EXPECT_EQ(valueIn(nul), "");
  EXPECT_EQ(valueIn(std::string(100000, '\0')), "");
  EXPECT_THAT(valueIn("<v>" + nul + R"(<s name="speed" value="90"/></v>)"), AnyOf("", "90"));
  EXPECT_THAT(valueIn(R"(<v><s name="speed" value="9)" + nul + R"(0"/></v>)"),
              AnyOf("", std::string("9\0"
                                    "0",
                                    3)));
}

TEST_F(VoiceFileTest, BytesThatAreNoUtf8DoNoHarm) {
  std::string everyByte;
  for (int byte = 1; byte < 256; ++byte) {
    everyByte += static_cast<char>(byte);
  }
  EXPECT_EQ(valueIn(everyByte), "");
  EXPECT_EQ(valueIn("<v><s name='speed' value='90'/><s name='\xFF\xC0\xED\xA0\x80' value='1'/></v>",
                    "pitch"),
            "");
}

std::string toUtf16(const std::string& ascii, bool littleEndian) {
  std::string result = littleEndian ? "\xFF\xFE" : "\xFE\xFF";
  for (const char character : ascii) {
    result += littleEndian ? character : '\0';
    result += littleEndian ? '\0' : character;
  }
  return result;
}

TEST_F(VoiceFileTest, Utf16IsReadByItsMark) {
  const std::string content = R"(<v><s name="speed" value="&#233;"/></v>)";
  EXPECT_EQ(valueIn(toUtf16(content, true)), "\xC3\xA9");
  EXPECT_EQ(valueIn(toUtf16(content, false)), "\xC3\xA9");
}

TEST_F(VoiceFileTest, TruncatedUtf16GivesNothing) {
  const std::string content = toUtf16(R"(<v><s name="speed" value="90"/></v>)", true);
  EXPECT_EQ(valueIn(content.substr(0, content.size() - 3)), "");
}

/// A file with one setting, padded with blanks to `size`.
fs::path fileOfSize(const test::TempFolder& folder, std::size_t size) {
  const std::string start = R"(<v><s name="speed" value="90"/>)";
  const std::string end = "</v>";
  return folder.write("large.xml",
                      start + std::string(size - start.size() - end.size(), ' ') + end);
}

TEST_F(VoiceFileTest, AFileIsReadUntilEightMebibytes) {
  EXPECT_EQ(valueOf("speed", fileOfSize(folder, largestFile)), "90");
  EXPECT_EQ(valueOf("speed", fileOfSize(folder, largestFile + 1)), "");
}

TEST_F(VoiceFileTest, AHugeFileGivesNothing) {
  EXPECT_EQ(valueOf("speed", fileOfSize(folder, 100 * 1024 * 1024)), "");
}

TEST_F(VoiceFileTest, NothingIsLoggedOrPrinted) {
  const test::LogRecorder log;
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();

  valueOf("speed", "nowhere.xml");
  valueOf("speed", folder.path());
  valueIn("<v>");
  valueIn(R"(<v><s name="speed" value="90"/></v>)");

  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(VoiceFileTest, ThreadsReadAtTheSameTime) {
  const fs::path file = folder.write("voice.xml", R"(<v><s name="speed" value="90"/></v>)");
  std::vector<std::thread> readers;
  for (int i = 0; i < 4; ++i) {
    readers.emplace_back([&] {
      for (int round = 0; round < 50; ++round) {
        EXPECT_EQ(valueOf("speed", file), "90");
      }
    });
  }
  for (std::thread& reader : readers) {
    reader.join();
  }
}

}  // namespace
