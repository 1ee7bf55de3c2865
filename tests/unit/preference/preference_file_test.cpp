#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/filesystem/exception.hpp>
#include <boost/filesystem/fstream.hpp>
#include <boost/filesystem/operations.hpp>
#include <boost/locale/encoding_utf.hpp>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <kqtts/tts_preference.hpp>
#include <limits>
#include <thread>

#include "support/global_locale.hpp"
#include "support/log_recorder.hpp"
#include "support/open_descriptors.hpp"
#include "support/row_name.hpp"
#include "support/temp_folder.hpp"

namespace {

namespace fs = boost::filesystem;
using KQ::VoiceSetting;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

VoiceSetting makeSetting(const std::string& voiceName = "voice1") {
  return {KQ::VOICE_SETTING_PREFERENCES, voiceName};
}

std::string contentOf(const fs::path& file) {
  fs::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

class PreferenceFileTest : public testing::Test {
 protected:
  VoiceSetting read(fs::path file) const { return KQ::makeVoiceSettingFromXml(file); }
  VoiceSetting readContent(const std::string& content) const {
    return read(folder.write("voiceSettings.xml", content));
  }
  bool write(const VoiceSetting& setting, std::string name = "voiceSettings.xml") const {
    name = (folder.path() / name).native();
    return KQ::writeVoiceSettingInXml(name, setting);
  }
  VoiceSetting readBack(const VoiceSetting& setting) const {
    write(setting);
    return read(folder.path() / "voiceSettings.xml");
  }
  std::string written(const VoiceSetting& setting) const {
    write(setting);
    return contentOf(folder.path() / "voiceSettings.xml");
  }
  std::string writtenNumber(float value) const {
    VoiceSetting setting = makeSetting();
    setting.parameters = {{"foo", value}};
    const std::string text = written(setting);
    const std::string before = R"(name="foo" type="float" value=")";
    const std::size_t begin = text.find(before) + before.size();
    return text.substr(begin, text.find('"', begin) - begin);
  }

  test::TempFolder folder;
};

// Writing ------------------------------------------------------------------------------------

TEST_F(PreferenceFileTest, IsWrittenLineByLine) {
  EXPECT_EQ(written(makeSetting()),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<VoicePreferences>\n"
            " <Preference description=\"Synthesis source voice\" name=\"sourceVoice\""
            " type=\"string\" value=\"voice1\"/>\n"
            " <Preference description=\"\" name=\"defaultVoiceSpeed\" type=\"float\""
            " value=\"100\"/>\n"
            " <Preference description=\"\" name=\"doubleVoice\" type=\"float\" value=\"0\"/>\n"
            " <Preference description=\"\" name=\"doubleVoiceLevel\" type=\"float\" value=\"0\"/>\n"
            " <Preference description=\"\" name=\"doubleVoiceTimeShift\" type=\"float\""
            " value=\"0\"/>\n"
            " <Preference description=\"\" name=\"pitchShift\" type=\"float\" value=\"0\"/>\n"
            " <Preference description=\"\" name=\"voiceLevel\" type=\"float\" value=\"1\"/>\n"
            "</VoicePreferences>\n");
}

TEST_F(PreferenceFileTest, WritingReplacesAllThatWasThere) {
  folder.write("voiceSettings.xml", std::string(10000, 'x'));

  EXPECT_TRUE(write(makeSetting()));

  EXPECT_THAT(contentOf(folder.path() / "voiceSettings.xml"), testing::Not(HasSubstr("xx")));
}

TEST_F(PreferenceFileTest, WritingNeedsNoParameters) {
  VoiceSetting setting = makeSetting();
  setting.parameters.clear();

  EXPECT_THAT(written(setting), HasSubstr("value=\"voice1\"/>\n</VoicePreferences>"));
}

TEST_F(PreferenceFileTest, WritingEscapesWhatXmlNeedsEscaped) {
  EXPECT_THAT(written(makeSetting("a&b\"c<d")), HasSubstr("value=\"a&amp;b&quot;c&lt;d\""));
}

struct Number {
  const char* name;
  float value;
  const char* text;
};

class WrittenNumber : public PreferenceFileTest, public testing::WithParamInterface<Number> {};

TEST_P(WrittenNumber, HasSixSignificantDigits) {
  EXPECT_EQ(writtenNumber(GetParam().value), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Numbers, WrittenNumber,
    testing::Values(Number{"Hundred", 100.0F, "100"}, Number{"Zero", 0.0F, "0"},
                    Number{"MinusZero", -0.0F, "0"}, Number{"Quarter", 0.25F, "0.25"},
                    Number{"Rounded", 1.2345678F, "1.23457"}, Number{"Small", 0.0000001F, "1e-07"},
                    Number{"Negative", -12.5F, "-12.5"}, Number{"Million", 1000000.0F, "1e+06"},
                    Number{"SixDigits", 123456.0F, "123456"},
                    Number{"Largest", std::numeric_limits<float>::max(), "3.40282e+38"},
                    Number{"Infinity", std::numeric_limits<float>::infinity(), "inf"},
                    Number{"MinusInfinity", -std::numeric_limits<float>::infinity(), "-inf"},
                    Number{"NotANumber", std::numeric_limits<float>::quiet_NaN(), "nan"}),
    test::RowName());

TEST_F(PreferenceFileTest, NumbersAreTheSameInEveryLocale) {
  const test::GlobalLocale locale(test::localeOfOtherPunctuation());

  const std::string text = writtenNumber(1234.5F);
  const VoiceSetting setting = readContent(R"(<r><p name="voiceLevel" value="1234.5"/></r>)");

  EXPECT_EQ(text, "1234.5");
  EXPECT_EQ(setting.parameters.at("voiceLevel"), 1234.5F);
}

class UnwritableFile : public PreferenceFileTest {
 protected:
  void expectRefused(const std::string& path) {
    test::LogRecorder log;
    std::string file = path;

    EXPECT_FALSE(KQ::writeVoiceSettingInXml(file, makeSetting()));

    ASSERT_EQ(log.lines().size(), 1U);
    const test::LogLine line = log.lines().front();
    EXPECT_EQ(line.level, zu::log::Level::error);
    EXPECT_EQ(line.category, "tts.preference");
    EXPECT_EQ(line.message, "Open the file for writing failed");
    EXPECT_EQ(line.file, "perception/audio/libkqtts/src/tts_preference");
    EXPECT_EQ(line.function, "writeVoiceSettingInXml");
    EXPECT_GT(line.line, 0);
  }
};

TEST_F(UnwritableFile, MissingFolder) {
  expectRefused((folder.path() / "none" / "voiceSettings.xml").native());
  EXPECT_FALSE(fs::exists(folder.path() / "none"));
}

TEST_F(UnwritableFile, Folder) {
  expectRefused(folder.path().native());
}

TEST_F(UnwritableFile, EmptyPath) {
  expectRefused("");
}

TEST_F(UnwritableFile, PipeThatNobodyReads) {
  const fs::path pipe = folder.path() / "pipe";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);

  expectRefused(pipe.native());
}

TEST_F(UnwritableFile, NulInThePath) {
  expectRefused((folder.path() / "file").native() + std::string("\0.xml", 5));
  EXPECT_FALSE(fs::exists(folder.path() / "file"));
}

TEST_F(PreferenceFileTest, TheUmaskDecidesWhoMayReadANewFile) {
  const mode_t previous = ::umask(022);
  write(makeSetting());
  ::umask(previous);

  EXPECT_EQ(fs::status(folder.path() / "voiceSettings.xml").permissions(), 0644);
}

TEST_F(PreferenceFileTest, WritingWorksInAProcessWithoutStandardInput) {
  const int input = ::fcntl(0, F_DUPFD_CLOEXEC, 3);
  ::close(0);

  EXPECT_TRUE(readBack(makeSetting()) == makeSetting());

  ::dup2(input, 0);
  ::close(input);
}

TEST_F(PreferenceFileTest, WritingFollowsALink) {
  fs::create_symlink("linked.xml", folder.path() / "voiceSettings.xml");

  EXPECT_TRUE(write(makeSetting()));

  EXPECT_EQ(read(folder.path() / "linked.xml").voiceName, "voice1");
  EXPECT_TRUE(fs::is_symlink(folder.path() / "voiceSettings.xml"));
}

/// Reads a pipe to its end, and closes it.
std::string allOf(int reader) {
  std::string content;
  char block[4096];
  for (ssize_t size = 1; size > 0; content.append(block, static_cast<std::size_t>(size))) {
    size = std::max<ssize_t>(::read(reader, block, sizeof block), 0);
  }
  ::close(reader);
  return content;
}

TEST_F(PreferenceFileTest, WritingWaitsForTheReaderOfAPipe) {
  const std::string voice(1000000, 'x');  // more than a pipe holds
  const fs::path pipe = folder.path() / "voiceSettings.xml";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  const int reader = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
  ::fcntl(reader, F_SETFL, 0);
  pollfd probe = {::open(pipe.c_str(), O_WRONLY | O_NONBLOCK), POLLOUT, 0};

  std::thread writer([&] { write(makeSetting(voice)); });
  while (::poll(&probe, 1, 0) > 0) {
    std::this_thread::yield();  // until the pipe is full
  }
  ::close(probe.fd);
  const std::string content = allOf(reader);
  writer.join();

  fs::remove(pipe);
  EXPECT_TRUE(readContent(content).voiceName == voice);
}

TEST_F(PreferenceFileTest, AFileBeingWrittenIsNotHandedToPrograms) {
  const fs::path pipe = folder.path() / "voiceSettings.xml";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  const int reader = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  ::fcntl(reader, F_SETFL, 0);

  std::thread writer([&] { write(makeSetting(std::string(1000000, 'x'))); });
  test::OpenDescriptors open;
  while (open.all < 2) {
    open = test::openDescriptorsOf(pipe);
  }
  allOf(reader);
  writer.join();

  EXPECT_EQ(open.inheritable, 0);
}

TEST_F(PreferenceFileTest, FailuresAfterOpeningAreNotReported) {
  test::LogRecorder log;
  std::string full = "/dev/full";

  EXPECT_TRUE(KQ::writeVoiceSettingInXml(full, makeSetting()));
  EXPECT_THAT(log.lines(), IsEmpty());
}

// Writing, then reading ----------------------------------------------------------------------

TEST_F(PreferenceFileTest, TheDefaultsReadBackEqual) {
  EXPECT_TRUE(readBack(makeSetting()) == makeSetting());
}

TEST_F(PreferenceFileTest, EveryKnownParameterReadsBack) {
  VoiceSetting setting = makeSetting();
  float value = 0.5F;
  for (auto& parameter : setting.parameters) {
    parameter.second = value;
    value *= 2;
  }

  EXPECT_TRUE(readBack(setting) == setting);
}

TEST_F(PreferenceFileTest, AnExtraParameterIsWrittenButNotRead) {
  VoiceSetting setting = makeSetting();
  setting.parameters["foo"] = 2.0F;

  EXPECT_THAT(written(setting), HasSubstr(R"(name="foo" type="float" value="2")"));
  EXPECT_TRUE(readBack(setting) == makeSetting());
}

struct VoiceName {
  const char* name;
  std::string text;
  std::string readBack;
};

class WrittenVoiceName : public PreferenceFileTest, public testing::WithParamInterface<VoiceName> {
 protected:
  /// The name in the file as another program reads it.
  std::string readByXmllint() const {
    const std::string command =
        "xmllint --xpath 'string(//Preference[@name=\"sourceVoice\"]/@value)' '" +
        (folder.path() / "voiceSettings.xml").native() + "'";
    FILE* const output = ::popen(command.c_str(), "r");
    std::string text;
    for (int byte = std::fgetc(output); byte != EOF; byte = std::fgetc(output)) {
      text += static_cast<char>(byte);
    }
    const int status = ::pclose(output);
    EXPECT_EQ(status, 0);
    return text.substr(0, text.size() - 1);
  }
};

TEST_P(WrittenVoiceName, ReadsBack) {
  EXPECT_EQ(readBack(makeSetting(GetParam().text)).voiceName, GetParam().readBack);
}

TEST_P(WrittenVoiceName, ReadsBackWithAnotherProgram) {
  write(makeSetting(GetParam().text));

  EXPECT_EQ(readByXmllint(), GetParam().readBack);
}

std::string everyCharacterOfXml() {
  std::u32string text = U"\t\n\r";
  for (char32_t character = 0x20; character <= 0x10FFFF; ++character) {
    const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
    if (!surrogate && character != 0xFFFE && character != 0xFFFF) {
      text += character;
    }
  }
  return boost::locale::conv::utf_to_utf<char>(text);
}

INSTANTIATE_TEST_SUITE_P(
    Names, WrittenVoiceName,
    testing::Values(
        VoiceName{"Markup", "a&b<c>d\"e'f]]>", "a&b<c>d\"e'f]]>"},
        VoiceName{"EveryCharacter", everyCharacterOfXml(), everyCharacterOfXml()},
        VoiceName{"Spaces", "  a  b  ", "  a  b  "},
        VoiceName{"Accents", "\u00e9\u00df\u0142", "\u00e9\u00df\u0142"},
        VoiceName{"ByteOrderMarks", "\uFEFFa\uFEFF", "\uFEFFa\uFEFF"},
        VoiceName{"LineSeparators", "a\u0085b\u2028c", "a\u0085b\u2028c"},
        VoiceName{"Japanese", "\u97f3\u58f0", "\u97f3\u58f0"},
        VoiceName{"LastOfTheBasicPlane", "\uFFFD\uE000\uD7FF", "\uFFFD\uE000\uD7FF"},
        VoiceName{"BeyondTheBasicPlane", "\U0001F600\U0010FFFD", "\U0001F600\U0010FFFD"},
        VoiceName{"ControlCharacters", std::string("a\0b\x01\x1F", 5), "a\uFFFDb\uFFFD\uFFFD"},
        VoiceName{"NoCharacters", "a\uFFFE\uFFFF", "a\uFFFD\uFFFD"},
        VoiceName{"InvalidUtf8", "a\xFF", "a\uFFFD"},
        VoiceName{"Surrogate", "a\xED\xA0\x80", "a\uFFFD\uFFFD\uFFFD"}),
    test::RowName());

TEST_F(PreferenceFileTest, AParameterNameThatXmlCannotHoldIsReplaced) {
  VoiceSetting setting = makeSetting();
  setting.parameters["a\x01"] = 1.0F;

  EXPECT_THAT(written(setting), HasSubstr("name=\"a\uFFFD\""));
}

TEST_F(PreferenceFileTest, PathsOfAnyBytesWorkInTheCLocale) {
  const std::string previous = std::setlocale(LC_ALL, nullptr);
  std::setlocale(LC_ALL, "C");
  for (const std::string name : {"voix-\u00e9-\u97f3.xml", "\xFF\xFE.xml", ":voice.xml"}) {
    EXPECT_TRUE(write(makeSetting(), name));
    EXPECT_EQ(read(folder.path() / name).voiceName, "voice1") << name;
  }
  std::setlocale(LC_ALL, previous.c_str());
}

// Reading ------------------------------------------------------------------------------------

struct Content {
  const char* name;
  std::string content;
};

void PrintTo(const Content& content, std::ostream* stream) {
  *stream << content.content;
}

class NeutralContent : public PreferenceFileTest, public testing::WithParamInterface<Content> {};

TEST_P(NeutralContent, GivesTheDefaults) {
  EXPECT_TRUE(readContent(GetParam().content) == makeSetting(""));
}

INSTANTIATE_TEST_SUITE_P(
    Contents, NeutralContent,
    testing::Values(Content{"Empty", ""}, Content{"NoXml", "hello"}, Content{"NoSettings", "<r/>"},
                    Content{"CutShort", R"(<r><p name="sourceVoice" value="x"/>)"},
                    Content{"BadAfterTheSettings", R"(<r><p name="sourceVoice" value="x"/></r>x)"},
                    Content{"OneLevelDeeper", R"(<r><q><p name="sourceVoice" value="x"/></q></r>)"},
                    Content{"OnTheRoot", R"(<r name="sourceVoice" value="x"/>)"},
                    Content{"WithoutName", R"(<r><p value="x"/></r>)"},
                    Content{"WithoutValue", R"(<r><p name="sourceVoice"/></r>)"},
                    Content{"LevelWithoutValue", R"(<r><p name="voiceLevel"/></r>)"},
                    Content{"UnknownName", R"(<r><p name="foo" value="1"/></r>)"},
                    Content{"OtherLetterCase", R"(<r><p name="SourceVoice" value="x"/></r>)"},
                    Content{"PrefixedAttributes",
                            R"(<r xmlns:p="u"><p p:name="sourceVoice" p:value="x"/></r>)"},
                    Content{"InAComment", R"(<r><!--<p name="sourceVoice" value="x"/>--></r>)"},
                    Content{"InCharacterData",
                            R"(<r><![CDATA[<p name="sourceVoice" value="x"/>]]></r>)"}),
    test::RowName());

/// ASCII characters as UTF-16, the higher byte first.
std::string utf16(const std::string& ascii) {
  std::string text;
  for (const char character : ascii) {
    text += '\0';
    text += character;
  }
  return text;
}

struct Voice {
  const char* name;
  std::string content;
  const char* voice;
};

void PrintTo(const Voice& row, std::ostream* stream) {
  *stream << row.content;
}

class VoiceContent : public PreferenceFileTest, public testing::WithParamInterface<Voice> {};

TEST_P(VoiceContent, GivesTheVoice) {
  EXPECT_EQ(readContent(GetParam().content).voiceName, GetParam().voice);
}

INSTANTIATE_TEST_SUITE_P(
    Contents, VoiceContent,
    testing::Values(
        Voice{"AnyTags", R"(<a><b name="sourceVoice" value="x"/></a>)", "x"},
        Voice{"AnyPrefixesOfTags", R"(<p:a><q:b name="sourceVoice" value="x"/></p:a>)", "x"},
        Voice{"AnyOrderOfAttributes", R"(<a><b value="x" type="?" name="sourceVoice"/></a>)", "x"},
        Voice{"TheLaterOneWins",
              R"(<a><b name="sourceVoice" value="x"/><b name="sourceVoice" value="y"/></a>)", "y"},
        Voice{"TheOneWithAValueWins",
              R"(<a><b name="sourceVoice" value="x"/><b name="sourceVoice"/></a>)", "x"},
        Voice{"EmptyValue", R"(<a><b name="sourceVoice" value=""/></a>)", ""},
        Voice{"AfterOtherNodes",
              R"(<a>t<!--c--><?p i?><q><r/></q><b name="sourceVoice" value="x"/></a>)", "x"},
        Voice{"WithContent", R"(<a><b name="sourceVoice" value="x"><c/>t</b></a>)", "x"},
        Voice{"Escapes", R"(<a><b name="sourceVoice" value="&lt;&#233;&#x20AC;"/></a>)",
              "<\u00e9\u20ac"},
        Voice{"SpacesStay", R"(<a><b name="sourceVoice" value=" x  y "/></a>)", " x  y "},
        Voice{"DeclaredEntity",
              R"(<!DOCTYPE a [<!ENTITY v "x">]><a><b name="sourceVoice" value="&v;y"/></a>)", "xy"},
        Voice{"EntityOfEntities",
              R"(<!DOCTYPE a [<!ENTITY w "y&lt;"><!ENTITY v "x&w;&#38;w;">]>)"
              R"(<a><b name="sourceVoice" value="&v;&w;"/></a>)",
              "xy<y<y<"},
        Voice{"ParameterEntity",
              R"(<!DOCTYPE a [<!ENTITY % p '<!ENTITY v "x&w;">'><!ENTITY w "y">%p;]>)"
              R"(<a><b name="sourceVoice" value="&v;"/></a>)",
              "xy"},
        Voice{"RedeclaredPredefinedEntity",
              R"(<!DOCTYPE a [<!ENTITY lt "&#38;#60;">]>)"
              R"(<a><b name="sourceVoice" value="&lt;"/></a>)",
              "<"},
        Voice{"ElementInAnEntity",
              R"(<!DOCTYPE a [<!ENTITY v '<b name="sourceVoice" value="x"/>'>]><a>&v;</a>)", "x"},
        Voice{"Latin1",
              "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>"
              "<a><b name=\"sourceVoice\" value=\"\xE9\"/></a>",
              "\u00e9"},
        Voice{"AsciiInAnotherEncoding",
              "<?xml version=\"1.0\" encoding=\"UTF-7\"?>"
              "<a><b name=\"sourceVoice\" value=\"+AOk-\"/></a>",
              "\u00e9"},
        Voice{"AsciiWithQuotedEncoding",
              "<?xml version='1.0' encoding='UTF-8'?>"
              "<a><b name='sourceVoice' value='x'/></a>",
              "x"},
        Voice{"Utf16",
              "\xFE\xFF" + utf16(R"(<a><b name="sourceVoice" value=")") + "\x97\xF3" +
                  utf16(R"("/></a>)"),
              "\u97f3"}),
    test::RowName());

struct Value {
  const char* name;
  std::string text;
  float number;
};

class ReadNumber : public PreferenceFileTest, public testing::WithParamInterface<Value> {};

TEST_P(ReadNumber, IsTheParameter) {
  const VoiceSetting setting =
      readContent("<r><p name=\"voiceLevel\" value=\"" + GetParam().text + "\"/></r>");

  EXPECT_EQ(setting.parameters.at("voiceLevel"), GetParam().number);
}

INSTANTIATE_TEST_SUITE_P(
    Values, ReadNumber,
    testing::Values(Value{"Decimal", "0.25", 0.25F}, Value{"Negative", "-3", -3.0F},
                    Value{"Exponent", "1e-07", 1e-07F}, Value{"Word", "abc", 0.0F},
                    Value{"Empty", "", 0.0F}, Value{"Comma", "1,5", 0.0F},
                    Value{"Grouped", "1,234.5", 0.0F}, Value{"Tail", "1x", 0.0F},
                    Value{"Hexadecimal", "0x10", 0.0F}, Value{"Spaced", " 2 ", 2.0F},
                    Value{"Infinite", "-inf", -std::numeric_limits<float>::infinity()},
                    Value{"TooLarge", "1e39", std::numeric_limits<float>::infinity()},
                    Value{"Letter", "\u00e9", 0.0F},
                    Value{"BehindAByteOrderMark", "\uFEFF5", 0.0F}),
    test::RowName());

TEST_F(PreferenceFileTest, NaNReadsAsNaN) {
  const VoiceSetting setting = readContent(R"(<r><p name="voiceLevel" value="nan"/></r>)");

  EXPECT_TRUE(std::isnan(setting.parameters.at("voiceLevel")));
}

TEST_F(PreferenceFileTest, AWordForALevelReadsAsZeroAndTheDefaultsStay) {
  VoiceSetting expected = makeSetting("");
  expected.parameters["voiceLevel"] = 0.0F;

  EXPECT_TRUE(readContent(R"(<r><Preference name="voiceLevel" value="abc"/></r>)") == expected);
}

TEST_F(PreferenceFileTest, TheSourceVoiceIsNoParameter) {
  EXPECT_EQ(readContent(R"(<r><p name="sourceVoice" value="5"/></r>)").parameters,
            makeSetting().parameters);
}

// Files that cannot be read ------------------------------------------------------------------

TEST_F(PreferenceFileTest, AnEmptyPathGivesTheDefaults) {
  EXPECT_TRUE(read("") == makeSetting(""));
}

TEST_F(PreferenceFileTest, AMissingFileGivesTheDefaults) {
  EXPECT_TRUE(read(folder.path() / "none.xml") == makeSetting(""));
}

TEST_F(PreferenceFileTest, APathThroughAFileGivesTheDefaults) {
  EXPECT_TRUE(read(folder.write("file", "") / "voiceSettings.xml") == makeSetting(""));
}

TEST_F(PreferenceFileTest, ADanglingLinkGivesTheDefaults) {
  fs::create_symlink("none.xml", folder.path() / "link.xml");

  EXPECT_TRUE(read(folder.path() / "link.xml") == makeSetting(""));
}

TEST_F(PreferenceFileTest, AFolderGivesTheDefaults) {
  EXPECT_TRUE(read(folder.path()) == makeSetting(""));
}

TEST_F(PreferenceFileTest, ALinkIsFollowed) {
  write(makeSetting());
  fs::create_symlink("voiceSettings.xml", folder.path() / "link.xml");

  EXPECT_EQ(read(folder.path() / "link.xml").voiceName, "voice1");
}

TEST_F(PreferenceFileTest, AStatusThatCannotBeReadThrows) {
  // Root ignores permissions, but nobody can follow a link to itself.
  fs::create_symlink("loop", folder.path() / "loop");

  EXPECT_THROW(read(folder.path() / "loop" / "voiceSettings.xml"), fs::filesystem_error);
}

TEST_F(PreferenceFileTest, ReadingLogsNothing) {
  test::LogRecorder log;

  readContent("hello");

  EXPECT_THAT(log.lines(), IsEmpty());
}

}  // namespace
