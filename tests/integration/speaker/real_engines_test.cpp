#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <kqtts/speaker.hpp>
#include <memory>
#include <string>
#include <vector>
#include <zu/path.hpp>

namespace {

using KQ::SpeechOptions;
using KQ::Utterance;
using KQ::UtteranceEnd;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsSupersetOf;

struct Sound {
  std::string name;
  std::uint64_t begin;
  std::uint64_t count;
};

class Notes : public KQ::SpeechListener {
 public:
  void onVoice(const Utterance& /*utterance*/, const KQ::SpeechVoice& voice) override {
    engines.push_back(voice.engine);
  }
  bool onAudio(const Utterance& /*utterance*/, const KQ::SpeechAudio& heard) override {
    audio.insert(audio.end(), heard.samples, heard.samples + heard.count);
    rates.push_back(heard.samplingRate);
    return true;
  }
  void onWord(const Utterance& /*utterance*/, const SpeechWord& word) override {
    words.push_back(text.substr(word.textOffset, word.textLength));
    positions.push_back(word.samplePosition);
  }
  void onPhoneme(const Utterance& /*utterance*/, const KQ::SpeechPhoneme& phoneme) override {
    sounds.push_back({std::string(phoneme.name), phoneme.samplePosition, phoneme.sampleCount});
  }
  void onViseme(const Utterance& /*utterance*/, const KQ::SpeechViseme& viseme) override {
    visemes.push_back(viseme.shape);
  }

  std::string text;
  std::vector<std::string> engines;
  std::vector<std::string> words;
  std::vector<std::uint64_t> positions;
  std::vector<Sound> sounds;
  std::vector<int> visemes;
  std::vector<int> rates;
  std::vector<std::int16_t> audio;
};

class RealEngines : public testing::Test {
 protected:
  RealEngines() {
    zu::path::addLibDir(BUILT_LIBRARIES);
    KQ::SpeakerSettings settings;
    settings.packages = KQ::packagesIn({BUILT_PACKAGES});
    settings.listener = notes;
    settings.language = "English";
    speaker = std::make_unique<KQ::Speaker>(settings);
  }

  Utterance say(const std::string& text, const std::string& language) {
    notes->text = text;
    SpeechOptions options;
    options.language = language;
    const Utterance utterance = speaker->speak(text, options);
    utterance.waitFor(std::chrono::seconds(60));
    return utterance;
  }

  std::vector<std::string> soundNames() const {
    std::vector<std::string> names;
    for (const Sound& sound : notes->sounds) {
      names.push_back(sound.name);
    }
    return names;
  }

  std::shared_ptr<Notes> notes = std::make_shared<Notes>();
  std::unique_ptr<KQ::Speaker> speaker;
};

TEST_F(RealEngines, SpeakSeveralLanguagesInOneText) {
  const Utterance utterance =
      say("He said \\Lang=fr\\ bonjour mes amis \\RST\\ and Привет мой друг today.", "English");

  EXPECT_EQ(utterance.end(), UtteranceEnd::finished);
  EXPECT_THAT(notes->engines, ElementsAre("Flite", "eSpeak NG", "Flite", "eSpeak NG", "Flite"));
  EXPECT_THAT(notes->words, IsSupersetOf({"He", "said", "bonjour", "amis", "Привет", "today"}));
  EXPECT_THAT(notes->rates, Each(16000));
  EXPECT_TRUE(std::is_sorted(notes->positions.begin(), notes->positions.end()));
  EXPECT_LT(notes->positions.back(), notes->audio.size());
}

/// Whether each sound begins where the one before it ends, and the last one with the audio.
void expectWithoutGaps(const Notes& notes) {
  ASSERT_FALSE(notes.sounds.empty());
  for (std::size_t i = 1; i < notes.sounds.size(); ++i) {
    EXPECT_EQ(notes.sounds[i - 1].begin + notes.sounds[i - 1].count, notes.sounds[i].begin);
  }
  const Sound& last = notes.sounds.back();
  EXPECT_EQ(last.begin + last.count, notes.audio.size());
}

TEST_F(RealEngines, FliteReportsItsSounds) {
  say("Hello robot.", "English");

  EXPECT_THAT(soundNames(), IsSupersetOf({"h", "l", "o\u028A", "\u0279", "b", "t"}));
  EXPECT_THAT(notes->visemes, IsSupersetOf({12, 14, 8, 13, 21, 19}));
  expectWithoutGaps(*notes);
}

TEST_F(RealEngines, ESpeakReportsItsSounds) {
  say("Bonjour papa.", "French");

  EXPECT_THAT(soundNames(), IsSupersetOf({"b", "\u0292", "u", "p", "a"}));
  EXPECT_THAT(notes->visemes, IsSupersetOf({21, 16, 7, 2}));
  expectWithoutGaps(*notes);
}

TEST_F(RealEngines, TheMouthIsClosedInTheSilenceAtTheEnd) {
  for (const char* language : {"English", "French"}) {
    notes->sounds.clear();
    say("Papa.", language);
    EXPECT_EQ(notes->sounds.back().name, "") << language;
  }
}

TEST_F(RealEngines, ATextInPiecesSoundsAsTheWholeDoes) {
  const std::string text = "The first sentence is here. The second one follows it. And a third.";
  say(text, "English");
  const std::vector<std::int16_t> whole = std::move(notes->audio);
  notes->audio.clear();
  SpeechOptions options;
  options.language = "English";
  options.clauseDelay = std::chrono::seconds(60);

  const KQ::OpenUtterance utterance = speaker->open(options);
  for (const char letter : text) {
    utterance.append(std::string_view(&letter, 1));
  }
  utterance.finish();
  ASSERT_TRUE(utterance.waitFor(std::chrono::seconds(60)));

  EXPECT_EQ(notes->audio.size(), whole.size());  // Flite's noise differs each time
}

}  // namespace
