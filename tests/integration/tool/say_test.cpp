// Runs the program like its users.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <boost/filesystem/operations.hpp>
#include <chrono>
#include <csignal>
#include <nlohmann/json.hpp>

#include "program_test.hpp"
#include "support/row_name.hpp"
#include "support/sound_file.hpp"

namespace tool_test {

namespace {

namespace fs = boost::filesystem;

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr std::size_t samplesPerWord = 2205;

std::vector<json> parseLines(const std::string& text) {
  std::vector<json> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(json::parse(line));
  }
  return lines;
}

class Say : public ProgramTest {
 protected:
  std::string wav() const { return path("speech.wav"); }
  std::size_t wordsIn(const std::string& file) const {
    return readSound(file).samples.size() / samplesPerWord;
  }
  /// The texts of the spoken sentences, from the events.
  std::vector<std::string> sentences(const std::string& events) const {
    std::vector<std::string> texts;
    for (const json& event : parseLines(events)) {
      if (event["event"] == "start") {
        texts.push_back(event["text"]);
      }
    }
    return texts;
  }
  std::string events() const { return readBytes(path("events")); }
  std::string voiceUsedBy(std::vector<std::string> choice) {
    std::vector<std::string> arguments = {"say", "-o", wav(), "[voice]"};
    arguments.insert(arguments.end(), choice.begin(), choice.end());
    return run(arguments).errors;
  }
};

// ---- Output of audio

TEST_F(Say, WritesAFileAndNothingElse) {
  const Outcome outcome = run({"say", "-o", wav(), "Hello", "world"});

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.output + outcome.errors, "");
  EXPECT_EQ(readSound(wav()).samplingRate, 22050);
  EXPECT_EQ(wordsIn(wav()), 2U);
}

TEST_F(Say, WritesAWavToStandardOutput) {
  const Outcome outcome = run({"say", "-o", "-", "Hello world"});

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.output.size(), 44 + 2 * 2 * samplesPerWord);
  folder.write("piped.wav", outcome.output);
  EXPECT_EQ(wordsIn(path("piped.wav")), 2U);
}

TEST_F(Say, KeepsStandardOutputFreeOfWhatEnginesPrint) {
  const Outcome outcome = run({"say", "-o", "-", "Hello [print]"});

  EXPECT_EQ(outcome.output.size(), 44 + 2 * samplesPerWord);
  EXPECT_EQ(outcome.errors, "printed by the engine\n");
}

class SayAloud : public Say {
 protected:
  SayAloud() {
    folder.write("audio.conf", "pcm.!default { type file slave.pcm null format raw file \"" +
                                   path("played.raw") + "\" }\npcm.null { type null }\n");
    launch.environment["ALSA_CONFIG_PATH"] = path("audio.conf");
  }
  /// Of the device's last stream.
  std::size_t wordsPlayed() const { return fs::file_size(path("played.raw")) / 2 / samplesPerWord; }
};

TEST_F(SayAloud, PlaysOnTheDefaultAudioDevice) {
  const Outcome outcome = run({"say"}, "Hello world. Again.");

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.output + outcome.errors, "");
  EXPECT_EQ(wordsPlayed(), 3U);
}

TEST_F(SayAloud, FollowsTheSamplingRate) {
  EXPECT_EQ(run({"say", "One two three [rate]"}).status, 0);
  EXPECT_EQ(wordsPlayed(), 1U);
}

TEST_F(SayAloud, IsSilentWhenItIsStopped) {
  Process process(command({"say", "--events", "-", "[endless]"}), launch);
  process.readLine();
  process.readLine();
  process.signal(SIGINT);
  EXPECT_EQ(process.wait().status, 130);
}

TEST_F(Say, SaysWhatToDoWithoutAnAudioDevice) {
  expectFailure(run({"say", "Hello"}), 1,
                "no audio device; connect or choose one, or write a file with -o");
}

TEST_F(Say, FailsWhenTheOutputCannotBeWritten) {
  expectFailure(run({"say", "-o", path("nowhere/x.wav"), "Hello"}), 1, "No such file or directory");
  expectFailure(run({"say", "-o", "/dev/full", "Hello"}), 1, "No space left on device");
  expectFailure(run({"say", "-o", wav(), "--events", "/dev/full", "Hello"}), 1, "No space left");
  expectFailure(run({"say", "-o", wav(), "--events", path("nowhere/x"), "Hello"}), 1,
                "No such file");
}

TEST_F(Say, FailsWhenTheReaderGoesAway) {
  Process process(command({"say", "-o", "-", "[endless]"}), launch);
  process.closeOutput();
  expectFailure(process.wait(), 1, "Broken pipe");
}

TEST_F(Say, FailsWhenStandardOutputIsFull) {
  launch.outputFile = "/dev/full";
  expectFailure(run({"say", "-o", "-", "Hello"}), 1, "No space left on device");
}

// ---- Texts

TEST_F(Say, TakesTheTextFromStandardInput) {
  EXPECT_EQ(run({"say", "-o", wav()}, "One two.\nThree").status, 0);
  EXPECT_EQ(wordsIn(wav()), 3U);
}

TEST_F(Say, SpeaksASentenceBeforeTheNextArrives) {
  Process process(command({"say", "-o", wav(), "--events", "-"}), launch);
  process.write("One two. ");
  EXPECT_THAT(process.readLine(), HasSubstr("\"text\":\"One two.\""));
  process.readLine();
  process.readLine();
  EXPECT_THAT(process.readLine(), HasSubstr("\"end\""));
  process.write("Three.");

  const Outcome outcome = process.wait();

  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(sentences(outcome.output), ElementsAre("Three."));
  EXPECT_EQ(wordsIn(wav()), 3U);
}

TEST_F(Say, TakesWordsAsTheyStand) {
  EXPECT_EQ(
      run({"say", "--events", path("events"), "-o", wav(), "[a,b]", "list", "{}", "%%", "--", "-p"})
          .status,
      0);
  EXPECT_THAT(sentences(events()), ElementsAre("[a,b] list {} %% -p"));
}

TEST_F(Say, WritesAFileWithoutAudioForAnEmptyText) {
  for (const char* text : {"", " \n "}) {
    EXPECT_EQ(run({"say", "-o", wav(), text}).status, 0);
    EXPECT_EQ(readSound(wav()).samplingRate, 22050);
    EXPECT_EQ(wordsIn(wav()), 0U);
  }
}

TEST_F(Say, LeavesOutWhatIsNotUtf8AndSaysSo) {
  const Outcome outcome = run({"say", "-o", wav(), "--events", path("events")}, "caf\xE9 noir");

  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.errors,
              HasSubstr("not all UTF-8; the other bytes were left out; if it is Latin-1"));
  EXPECT_THAT(sentences(events()), ElementsAre("caf  noir"));
}

TEST_F(Say, SpeaksWhatFollowsANulByte) {
  EXPECT_EQ(run({"say", "-o", wav()}, std::string("One\0two", 7)).status, 0);
  EXPECT_EQ(wordsIn(wav()), 2U);
}

TEST_F(Say, SpeaksTenMegabytesWithoutASentenceEnd) {
  const Outcome outcome = run({"say", "-o", wav()}, std::string(10'000'000, 'x'));

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(wordsIn(wav()), 10'000'000U / 4096 + 1);
}

TEST_F(Say, ShowsTheSentenceOnATerminal) {
  launch.errorsOnTerminal = true;
  launch.environment["TERM"] = "xterm";
  const Outcome outcome = run({"say", "-o", wav()}, "One two. Three\x1B[2J.");

  EXPECT_EQ(outcome.errors, "\r\x1B[K1: One two.\r\x1B[K2: Three [2J.\r\x1B[K");
}

TEST_F(Say, KeepsTheSentenceWithinTheWidthOfTheTerminal) {
  launch.errorsOnTerminal = true;
  launch.terminalColumns = 40;
  launch.environment["TERM"] = "xterm";
  const Outcome outcome = run({"say", "-o", wav()}, std::string(60, 'x') + ".");

  EXPECT_EQ(outcome.errors, "\r\x1B[K1: " + std::string(35, 'x') + "…\r\x1B[K");
}

TEST_F(Say, WritesNoControlCharactersToADumbTerminal) {
  launch.errorsOnTerminal = true;
  launch.environment["TERM"] = "dumb";
  const Outcome outcome = run({"say", "-o", wav()}, "One. Two.");

  EXPECT_EQ(outcome.errors, "1: One.\r\n2: Two.\r\n");
}

TEST_F(Say, SpeaksAFileAndShowsHowMuchOfItIsDone) {
  launch.errorsOnTerminal = true;
  launch.environment["TERM"] = "dumb";
  folder.write("text", "One two. Three f.");
  const Outcome outcome = run({"say", "-o", wav(), "-f", path("text")});

  EXPECT_EQ(outcome.errors, "1 (0 %): One two.\r\n2 (52 %): Three f.\r\n");
  EXPECT_EQ(wordsIn(wav()), 4U);
}

TEST_F(Say, SaysThatAFileCannotBeRead) {
  expectFailure(run({"say", "-o", wav(), "-f", path("nowhere")}), 1, "No such file");
}

TEST_F(Say, WritesTheFormatThatTheEndingNames) {
  EXPECT_EQ(run({"say", "-o", path("x.flac"), "Hello world"}).status, 0);
  EXPECT_EQ(readSoundOfAnyFormat(path("x.flac")).samples.size(), 2 * samplesPerWord);
  expectFailure(run({"say", "-o", path("x.xyz"), "Hello"}), 2, "names no audio format");
}

TEST_F(Say, WritesRawSamplesToStandardOutput) {
  const Outcome outcome = run({"say", "-o", "-", "--format", "raw", "Hello world"});
  EXPECT_EQ(outcome.output.size(), 2 * 2 * samplesPerWord);
}

// ---- Languages, voices, parameters

TEST_F(Say, SpeaksEnglishUnlessAskedOtherwise) {
  EXPECT_EQ(voiceUsedBy({}), "Bob\n");
}

TEST_F(Say, SpeaksTheLanguageOfTheLocale) {
  launch.environment["LC_ALL"] = "fr_FR.UTF-8";
  EXPECT_EQ(voiceUsedBy({}), "Anne\n");
}

TEST_F(Say, SpeaksEnglishInALocaleThatIsNotInstalled) {
  launch.environment["LC_ALL"] = "pl_PL.UTF-8";
  EXPECT_EQ(voiceUsedBy({}),
            "kqtts: note: Polish is not installed, so English is spoken; the package "
            "kqtts-engine-nuance brings it\nBob\n");
}

TEST_F(Say, SpeaksBritishEnglishWhereEnglishIsMissing) {
  removePackages();
  addPackage("Arabic", "Amira");
  addPackage("EnglishAustralia", "Ned");
  addPackage("EnglishGB", "Tom");
  EXPECT_EQ(voiceUsedBy({}), "Tom\n");
}

TEST_F(Say, SpeaksTheLanguageThatIsAskedFor) {
  for (const char* language :
       {"French", "français", "fr", "fr-FR", "FR_fr", "french", "fr_FR.UTF-8"}) {
    EXPECT_EQ(voiceUsedBy({"-l", language}), "Anne\n") << language;
  }
}

TEST_F(Say, SpeaksTheLanguageOfTheVoiceThatIsAskedFor) {
  EXPECT_EQ(voiceUsedBy({"-v", "Anne"}), "Anne\n");
  EXPECT_EQ(voiceUsedBy({"-v", "anne", "-l", "fr"}), "Anne\n");
}

TEST_F(Say, RefusesALanguageOrVoiceThatIsNotThere) {
  expectFailure(run({"say", "-o", wav(), "-l", "Klingon", "x"}), 1,
                "unknown language 'Klingon'; 'kqtts list languages'");
  expectFailure(run({"say", "-o", wav(), "-l", "de", "x"}), 1,
                "German is not installed; the package kqtts-engine-nuance brings it; ");
  expectFailure(run({"say", "-o", wav(), "-v", "Zoe", "x"}), 1,
                "unknown voice 'Zoe'; 'kqtts list voices'");
  expectFailure(run({"say", "-o", wav(), "-v", "Bob", "-l", "fr", "x"}), 1, "Bob speaks English");
  EXPECT_FALSE(fs::exists(wav()));
}

TEST_F(Say, RefusesALanguageWhosePackageIsOutdated) {
  addPackage("Polish", "Ola", "0.9");
  expectFailure(run({"say", "-o", wav(), "-l", "pl", "x"}), 1, "is outdated");
}

TEST_F(Say, SetsParameters) {
  const Outcome outcome =
      run({"say", "-o", wav(), "-p", "speed=60", "-p", "speed=80.5", "[speed]"});
  EXPECT_EQ(outcome.errors, "80.5\n");
  EXPECT_EQ(run({"say", "-o", wav(), "-r", "60", "[speed]"}).errors, "60.0\n");
}

TEST_F(Say, RefusesAParameterThatWouldBeSpoken) {
  expectFailure(run({"say", "-o", wav(), "-p", "speed=60", "volume=2"}), 2,
                "'volume=2' would be spoken; write -p before each");
}

TEST_F(Say, NamesWhatWasProbablyMeant) {
  expectFailure(run({"say", "-o", wav(), "-l", "Englsh", "x"}), 1,
                "unknown language 'Englsh', did you mean 'English'?");
  expectFailure(run({"say", "-o", wav(), "-v", "Bobb", "x"}), 1,
                "unknown voice 'Bobb', did you mean 'Bob'?");
  expectFailure(run({"say", "--langauge", "fr", "x"}), 2,
                "there is no option '--langauge', did you mean '--language'?; 'kqtts say --help'");
  expectFailure(Process({KQTTS_PROGRAM, "sya", "x"}, launch).wait(), 2,
                "there is no command 'sya', did you mean 'say'?; 'kqtts --help'");
}

TEST_F(Say, PassesOnWhatAnEngineSaysAboutAParameter) {
  expectFailure(run({"say", "-o", wav(), "-p", "speed=300", "x"}), 1,
                "speed must be from 50 to 200");
  expectFailure(run({"say", "-o", wav(), "-p", "warp=1", "x"}), 1, "there is no warp");
}

// ---- Events

TEST_F(Say, WritesEventsAsJsonLines) {
  EXPECT_EQ(
      run({"say", "-o", wav(), "--events", path("events")}, "Café \\mrk=7\\ au. Lait.").status, 0);

  const std::vector<json> expected = {
      {{"event", "start"},
       {"textOffset", 0},
       {"textLength", 17},
       {"text", "Café \\mrk=7\\ au."},
       {"samplingRate", 22050},
       {"sample", 0},
       {"time", 0.0}},
      {{"event", "word"},
       {"textOffset", 0},
       {"textLength", 5},
       {"text", "Café"},
       {"sample", 0},
       {"time", 0.0}},
      {{"event", "mark"}, {"number", 7}, {"sample", 2205}, {"time", 0.1}},
      {{"event", "word"},
       {"textOffset", 14},
       {"textLength", 3},
       {"text", "au."},
       {"sample", 2205},
       {"time", 0.1}},
      {{"event", "end"}, {"how", "finished"}, {"sample", 4410}, {"time", 0.2}},
      {{"event", "start"},
       {"textOffset", 18},
       {"textLength", 5},
       {"text", "Lait."},
       {"samplingRate", 22050},
       {"sample", 4410},
       {"time", 0.2}},
      {{"event", "word"},
       {"textOffset", 18},
       {"textLength", 5},
       {"text", "Lait."},
       {"sample", 4410},
       {"time", 0.2}},
      {{"event", "end"}, {"how", "finished"}, {"sample", 6615}, {"time", 0.3}}};
  EXPECT_EQ(parseLines(events()), expected);
}

// ---- Stopping

class SayStopped : public Say, public testing::WithParamInterface<int> {};

TEST_P(SayStopped, CompletesTheFileInMidSpeech) {
  Process process(command({"say", "-o", wav(), "--events", "-", "[endless]"}), launch);
  process.readLine();
  process.readLine();
  process.signal(GetParam());

  const Outcome outcome = process.wait();

  EXPECT_EQ(outcome.status, 128 + GetParam());
  EXPECT_EQ(outcome.errors, "");
  const json end = parseLines(outcome.output).back();
  EXPECT_EQ(end["how"], "stopped");
  EXPECT_EQ(readSound(wav()).samples.size(), end["sample"]);
}

INSTANTIATE_TEST_SUITE_P(, SayStopped, testing::Values(SIGINT, SIGTERM, SIGHUP));

TEST_F(Say, EndsAnUtteranceThatHangs) {
  Process process(command({"say", "-o", wav(), "--events", "-", "[hang]"}), launch);
  process.readLine();
  process.signal(SIGINT);
  EXPECT_EQ(process.wait().status, 130);
}

TEST_F(Say, EndsWhileItWaitsForText) {
  Process process(command({"say", "-o", wav(), "--events", "-"}), launch);
  process.write("One. ");
  while (!testing::Value(process.readLine(), HasSubstr("\"end\""))) {
  }
  process.signal(SIGINT);
  // The input stays open: only the signal can end it.
  EXPECT_EQ(process.readLine(), "");
  EXPECT_EQ(process.wait().status, 130);
  EXPECT_EQ(wordsIn(wav()), 1U);
}

TEST_F(Say, EndsWhileNobodyReadsItsOutput) {
  Process process(command({"say", "-o", "-", "--events", path("events"), "[endless]"}), launch);
  process.readLine();
  process.signal(SIGINT);
  EXPECT_EQ(process.wait().status, 130);
}

struct Hang {
  std::string name;
  std::string place;        ///< in the engine
  std::size_t wordsSpoken;  ///< before it
};

void PrintTo(const Hang& hang, std::ostream* stream) {
  *stream << hang.place;
}

class SayWithAHangingEngine : public Say, public testing::WithParamInterface<Hang> {
 protected:
  /// Waits until the engine hangs. \return false if it does not do so in a minute
  bool awaitHang() const {
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!fs::exists(path("hangs"))) {
      if (std::chrono::steady_clock::now() > end) {
        return false;
      }
      usleep(1000);
    }
    return true;
  }
};

TEST_P(SayWithAHangingEngine, EndsAtTheFirstSignalWithACompleteFile) {
  launch.environment["TONE_HANGS_IN"] = GetParam().place;
  launch.environment["TONE_HANGS"] = path("hangs");
  Process process(command({"say", "--in-process", "-o", wav(), "One", "two", "[deaf]"}), launch);
  ASSERT_TRUE(awaitHang());

  process.signal(SIGTERM);

  EXPECT_EQ(process.wait().status, 128 + SIGTERM);
  EXPECT_EQ(wordsIn(wav()), GetParam().wordsSpoken);
}

INSTANTIATE_TEST_SUITE_P(, SayWithAHangingEngine,
                         testing::Values(Hang{"Load", "load_plugin", 0},
                                         Hang{"Initialize", "initialize", 0},
                                         Hang{"Start", "start", 2},
                                         Hang{"Terminate", "terminate", 3}),
                         test::RowName());

TEST_F(Say, EndsWhenTheEngineHangsInItsStop) {
  launch.environment["TONE_HANGS_IN"] = "stop";
  launch.environment["TONE_HANGS"] = path("hangs");
  Process process(command({"say", "--in-process", "-o", wav(), "--events", "-", "[hang]"}), launch);
  process.readLine();
  process.signal(SIGINT);
  EXPECT_EQ(process.wait().status, 130);
  EXPECT_EQ(wordsIn(wav()), 0U);
}

TEST_F(Say, LeavesNoFileBehindWhenItIsKilled) {
  fs::create_directories(path("folder"));
  Process process(command({"say", "-o", path("folder/x.wav"), "--events", "-", "[endless]"}),
                  launch);
  process.readLine();
  process.readLine();
  process.signal(SIGKILL);

  EXPECT_EQ(process.wait().status, -SIGKILL);
  EXPECT_TRUE(fs::is_empty(path("folder")));
}

TEST_F(Say, LeavesSignalsAloneThatItWasStartedToIgnore) {
  launch.ignoreInterrupts = true;
  Process process(command({"say", "-o", wav(), "--events", "-"}), launch);
  process.write("One. ");
  process.readLine();
  process.signal(SIGINT);
  process.write("Two.");
  EXPECT_EQ(process.wait().status, 0);
  EXPECT_EQ(wordsIn(wav()), 2U);
}

// ---- Failures

TEST_F(Say, TellsWhyAnEngineFailed) {
  expectFailure(run({"say", "-o", wav(), "x [throw]"}), 1, "the tone broke");
  expectFailure(run({"say", "-o", wav(), "x [failed]"}), 1, "could not speak the text to its end");
  expectFailure(run({"say", "-o", wav(), "x [foreign]"}), 1, "an exception of an unknown type");
  expectFailure(run({"say", "--in-process", "-o", wav(), "x [foreign]"}), 1,
                "failed in an unknown way");
  expectFailure(run({"say", "-o", wav(), "x [rate]"}), 1, "sampling rate changed");
  EXPECT_FALSE(fs::exists(wav()));
}

TEST_F(Say, FailsWithoutPackages) {
  removePackages();
  expectFailure(run({"say", "-o", wav(), "x"}), 1, "no language is installed");
}

TEST_F(Say, FailsWithoutEngines) {
  folder.write("engines/kqtts/libkqtts-nuance.so", "");
  for (const char* name : {"nuance", "aitalk", "log"}) {
    fs::create_directories(folder.path() / "engines/kqtts");
    folder.write(std::string("engines/kqtts/libkqtts-") + name + ".so", "no library");
  }
  expectFailure(
      Process({KQTTS_PROGRAM, "say", "--engines", path("engines"), "-o", wav(), "x"}, launch)
          .wait(),
      1, "no speech engine can be used; 'kqtts doctor' shows why");
}

TEST_F(Say, RefusesWrongUsage) {
  const std::vector<std::vector<std::string>> wrong = {{"say", "--nonsense"},
                                                       {"say", "-l"},
                                                       {"say", "-o", "", "x"},
                                                       {"say", "--packages", path("nowhere"), "x"},
                                                       {"say", "-p", "speed", "x"},
                                                       {"say", "-p", "=1", "x"},
                                                       {"say", "-p", "a=", "x"},
                                                       {"say", "-p", "a=1x", "x"},
                                                       {"say", "-p", "a=nan", "x"},
                                                       {"say", "-p", "a=1e99", "x"},
                                                       {"say", "-p", "", "x"},
                                                       {"say", "-o", "-", "--events", "-", "x"},
                                                       {"say", "--log-level", "loud", "x"}};
  for (const std::vector<std::string>& arguments : wrong) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    expectFailure(run(arguments), 2, "; ");
  }
}

TEST_F(Say, LogsWhatIsAskedFor) {
  EXPECT_THAT(run({"say", "--log-level", "verbose", "-o", wav(), "x"}).errors,
              HasSubstr("Language English set"));
  launch.environment["ZU_LOG_LEVEL"] = "verbose";
  EXPECT_THAT(run({"say", "-o", wav(), "x"}).errors, HasSubstr("Language English set"));
  EXPECT_EQ(run({"say", "--log-level", "silent", "-o", wav(), "x"}).errors, "");
}

}  // namespace

}  // namespace tool_test
