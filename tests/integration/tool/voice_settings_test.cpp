#include <gmock/gmock.h>

#include <boost/filesystem/operations.hpp>
#include <fstream>
#include <iterator>
#include <kqtts/tts_preference.hpp>
#include <nlohmann/json.hpp>

#include "program_test.hpp"

namespace tool_test {

namespace {

using testing::HasSubstr;
using testing::StartsWith;

class VoiceSettings : public ProgramTest {
 protected:
  Outcome runSettings(std::vector<std::string> arguments) const {
    std::vector<std::string> words = {KQTTS_PROGRAM, "voice-settings"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return Process(words, launch).wait();
  }

  KQ::VoiceSetting readFile() const {
    boost::filesystem::path readable = file;
    return KQ::makeVoiceSettingFromXml(readable);
  }

  static std::string readWhole(const std::string& name) {
    std::ifstream stream(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  }

  std::string file = path("voiceSettings.xml");
};

TEST_F(VoiceSettings, SetMakesAFileThatIsMissing) {
  const Outcome outcome =
      runSettings({"set", file, "sourceVoice=Bob & Anne", "defaultVoiceSpeed=80.5"});

  EXPECT_EQ(outcome.status, 0) << outcome.errors;
  EXPECT_EQ(outcome.output, "");
  EXPECT_EQ(readFile().voiceName, "Bob & Anne");
  EXPECT_EQ(readFile().parameters.at("defaultVoiceSpeed"), 80.5F);
}

TEST_F(VoiceSettings, SetKeepsWhatItIsNotToldToChange) {
  runSettings({"set", file, "sourceVoice=Bob", "pitchShift=1.2345678"});
  const Outcome outcome = runSettings({"set", file, "voiceLevel=0.5", "sourceVoice=a=b"});

  EXPECT_EQ(outcome.status, 0) << outcome.errors;
  EXPECT_EQ(readFile().voiceName, "a=b");
  EXPECT_EQ(readFile().parameters.at("pitchShift"), 1.23457F);
  EXPECT_EQ(readFile().parameters.at("voiceLevel"), 0.5F);
}

TEST_F(VoiceSettings, SetLeavesAFileOfAnotherKindAlone) {
  folder.write("voiceSettings.xml", "hello");

  expectFailure(runSettings({"set", file, "voiceLevel=0.5"}), 1, "is no voice preference file");
  EXPECT_EQ(readWhole(file), "hello");
}

TEST_F(VoiceSettings, SetTakesAFileOfDefaultsAndAnEmptyOne) {
  EXPECT_EQ(runSettings({"set", file, "voiceLevel=1"}).status, 0);
  EXPECT_EQ(runSettings({"set", file, "voiceLevel=0.5"}).status, 0);
  folder.write("voiceSettings.xml", "");
  EXPECT_EQ(runSettings({"set", file, "voiceLevel=0.5"}).status, 0);

  EXPECT_EQ(readFile().parameters.at("voiceLevel"), 0.5F);
}

TEST_F(VoiceSettings, SetAndShowTakeAPathOfAnyBytesInTheCLocale) {
  const std::string other = path("voix-\u00e9-\u97f3-\xFF.xml");

  EXPECT_EQ(runSettings({"set", other, "sourceVoice=Bob"}).status, 0);

  EXPECT_THAT(runSettings({"show", other}).output, StartsWith("sourceVoice=Bob\n"));
}

TEST_F(VoiceSettings, ShowWritesWhatSetTakes) {
  runSettings({"set", file, "sourceVoice=Bob", "doubleVoiceLevel=0.25"});
  const Outcome outcome = runSettings({"show", file});

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.errors, "");
  EXPECT_EQ(outcome.output,
            "sourceVoice=Bob\n"
            "defaultVoiceSpeed=100\n"
            "doubleVoice=0\n"
            "doubleVoiceLevel=0.25\n"
            "doubleVoiceTimeShift=0\n"
            "pitchShift=0\n"
            "voiceLevel=1\n");
}

TEST_F(VoiceSettings, ShowWritesJson) {
  runSettings({"set", file, "sourceVoice=Bob"});

  const auto json = nlohmann::json::parse(runSettings({"show", file, "--json"}).output);

  EXPECT_EQ(json["sourceVoice"], "Bob");
  EXPECT_EQ(json["parameters"]["defaultVoiceSpeed"], 100.0);
  EXPECT_EQ(json["parameters"].size(), 6U);
}

TEST_F(VoiceSettings, ShowRefusesAFileOfAnotherKind) {
  expectFailure(runSettings({"show", "/etc/passwd"}), 1,
                "/etc/passwd sets nothing or is no voice preference file");
}

TEST_F(VoiceSettings, ShowTakesAFileOfDefaults) {
  runSettings({"set", file, "voiceLevel=1"});
  EXPECT_THAT(runSettings({"show", file}).output, StartsWith("sourceVoice=\n"));
}

TEST_F(VoiceSettings, SetRefusesWhatEnginesDoNotAccept) {
  for (const char* setting :
       {"defaultVoiceSpeed=49", "defaultVoiceSpeed=401", "doubleVoice=0.4", "doubleVoiceLevel=-1",
        "doubleVoiceTimeShift=0.6", "pitchShift=2.1", "voiceLevel=2.5"}) {
    expectFailure(runSettings({"set", file, setting}), 2, "is out of range; engines accept ");
  }
  EXPECT_FALSE(boost::filesystem::exists(file));
}

TEST_F(VoiceSettings, SetTakesTheEndsOfTheRangesAndZeroForTheUsualValue) {
  EXPECT_EQ(runSettings({"set", file, "pitchShift=0", "doubleVoice=0", "defaultVoiceSpeed=400",
                         "doubleVoiceTimeShift=0.5", "voiceLevel=0"})
                .status,
            0);
}

TEST_F(VoiceSettings, ShowFailsForWhatItCannotRead) {
  expectFailure(runSettings({"show", file}), 1, "No such file");
  expectFailure(runSettings({"show", folder.path().string()}), 1, "no regular file");
}

TEST_F(VoiceSettings, SetFailsWhereNoFileCanBe) {
  expectFailure(runSettings({"set", path("none/voiceSettings.xml"), "voiceLevel=1"}), 1,
                "No such file");
  expectFailure(runSettings({"set", folder.path().string(), "voiceLevel=1"}), 1, "it is a folder");
}

TEST_F(VoiceSettings, SetLeavesTheFileAloneWhenTheVoiceCannotBeWritten) {
  runSettings({"set", file, "sourceVoice=Bob"});

  expectFailure(runSettings({"set", file, "sourceVoice=\x01"}), 1, "cannot write");
  EXPECT_EQ(readFile().voiceName, "Bob");
}

TEST_F(VoiceSettings, RefusesWrongUsage) {
  expectFailure(runSettings({}), 2, "WORK is required");
  expectFailure(runSettings({"show"}), 2, "FILE is required");
  expectFailure(runSettings({"list", file}), 2, "list");
  expectFailure(runSettings({"show", file, "voiceLevel=1"}), 2, "show takes no settings");
  expectFailure(runSettings({"set", file}), 2, "nothing to set");
  expectFailure(runSettings({"set", file, "voiceLevel"}), 2, "write NAME=VALUE");
  expectFailure(runSettings({"set", file, "foo=1"}), 2, "there are sourceVoice, defaultVoiceSpeed");
  expectFailure(runSettings({"set", file, "voiceLevel=loud"}), 2, "no number");
  expectFailure(runSettings({"set", file, "voiceLevel=inf"}), 2, "no number");
  EXPECT_FALSE(boost::filesystem::exists(file));
}

}  // namespace

}  // namespace tool_test
