#include "engine/speech_engine.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>
#include <kq/error.hpp>
#include <kqtts/tts_language_info.hpp>

#include "support/log_recorder.hpp"
#include "support/settings_file.hpp"
#include "support/temp_folder.hpp"

namespace {

using test::setting;
using test::settingsFile;
using ::testing::Contains;

/// An engine whose synthesiser cannot be opened.
class EngineWithoutSynthesizer : public ::testing::Test {
 protected:
  /// A package with one voice. \param engine  the manifest's "engine"
  zu::PackageInfo package(const std::string& engine) {
    boost::filesystem::create_directories(folder.path() / "voices/anna");
    folder.write("manifest.xml",
                 settingsFile(setting("engine", engine) + setting("language", "English") +
                              setting("version", "1.0")));
    folder.write("voices/anna/voice.xml", settingsFile(setting("sourceVoice", "anna")));
    return {"", "", folder.path().string()};
  }

  KQ::engines::EngineTraits traits() {
    return {"Lost", "lost", "1.0", "engine.lost",
            [this]() -> std::shared_ptr<KQ::engines::Synthesizer> {
              ++openings;
              throw KQError("Lost", "initialize", "Its data are gone.", nullptr, 0);
            }};
  }

  int openings = 0;
  test::LogRecorder log;
  test::TempFolder folder;
  KQ::engines::SpeechEngine engine{traits(), nullptr, boost::make_shared<KQ::TTSLanguageInfo>()};
};

TEST_F(EngineWithoutSynthesizer, IsNotUsableAndLogsWhy) {
  EXPECT_FALSE(engine.initialize({package("lost")}));
  EXPECT_THAT(log.messages(), Contains("Its data are gone."));
}

TEST_F(EngineWithoutSynthesizer, DoesNotTryToOpenItForThePackagesOfOthers) {
  EXPECT_FALSE(engine.initialize({package("found")}));
  EXPECT_EQ(openings, 0);
}

}  // namespace
