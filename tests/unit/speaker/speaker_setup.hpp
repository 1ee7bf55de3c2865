#pragma once

#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <cstdint>
#include <functional>
#include <kqtts/speaker.hpp>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>
#include <zu/path.hpp>

#include "stage/stage.hpp"
#include "support/latch.hpp"
#include "support/settings_file.hpp"
#include "support/temp_folder.hpp"

namespace test {

/// Keeps all that happens to utterances, as lines such as "1 word Hello" and "1 end finished".
class SpeechNotes : public KQ::SpeechListener {
 public:
  void onStart(const KQ::Utterance& utterance) override {
    note(utterance, "start");
    call(atStart, utterance);
  }
  void onVoice(const KQ::Utterance& utterance, const KQ::SpeechVoice& voice) override {
    note(utterance, "voice " + voice.voice);
    const std::lock_guard<std::mutex> lock(mutex);
    voices.push_back(voice);
  }
  bool onAudio(const KQ::Utterance& utterance, const KQ::SpeechAudio& audio) override {
    {
      const std::lock_guard<std::mutex> lock(mutex);
      positionsAreRight = positionsAreRight && audio.samplePosition == samplesOf[utterance.id()];
      samplesOf[utterance.id()] += audio.count;
      samples.insert(samples.end(), audio.samples, audio.samples + audio.count);
      rates.push_back(audio.samplingRate);
    }
    firstAudio.open();
    return !atAudio || atAudio(utterance);
  }
  void onWord(const KQ::Utterance& utterance, const SpeechWord& word) override {
    const std::size_t offset = std::min(word.textOffset, text.size());
    note(utterance, "word " + text.substr(offset, word.textLength));
    {
      const std::lock_guard<std::mutex> lock(mutex);
      words.push_back(word);
    }
    call(atWord, utterance);
  }
  void onMark(const KQ::Utterance& utterance, const KQ::SpeechMark& mark) override {
    note(utterance, "mark " + std::string(mark.name));
    call(atMark, utterance);
  }
  void onPhoneme(const KQ::Utterance& utterance, const KQ::SpeechPhoneme& phoneme) override {
    note(utterance, "phoneme " + std::string(phoneme.name) + " " +
                        std::to_string(phoneme.samplePosition) + "+" +
                        std::to_string(phoneme.sampleCount));
  }
  void onViseme(const KQ::Utterance& utterance, const KQ::SpeechViseme& viseme) override {
    note(utterance, "viseme " + std::to_string(viseme.shape) + " " + std::string(viseme.faceName));
  }
  void onPause(const KQ::Utterance& utterance) override {
    note(utterance, "pause");
    call(atPause, utterance);
  }
  void onResume(const KQ::Utterance& utterance) override { note(utterance, "resume"); }
  void onInterrupt(const KQ::Utterance& utterance) override { note(utterance, "interrupt"); }
  void onEnd(const KQ::Utterance& utterance, KQ::UtteranceEnd end) override {
    static const char* const names[] = {"none",     "finished", "stopped", "interrupted",
                                        "replaced", "expired",  "refused", "failed"};
    note(utterance, std::string("end ") + names[static_cast<int>(end)]);
    call(atEnd, utterance);
  }
  bool wantsPhonemes() const override { return hearsPhonemes; }

  std::vector<std::string> notes() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return lines;
  }
  /// The notes that begin so, after the number.
  std::vector<std::string> notes(const std::string& begin) const {
    std::vector<std::string> found;
    for (const std::string& line : notes()) {
      if (line.find(" " + begin) != std::string::npos) {
        found.push_back(line);
      }
    }
    return found;
  }
  std::vector<std::int16_t> audio() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return samples;
  }

  // Set before they are called.
  std::string text;  ///< that the words are of
  std::function<void(const KQ::Utterance&)> atStart, atWord, atMark, atPause, atEnd;
  std::function<bool(const KQ::Utterance&)> atAudio;
  bool hearsPhonemes = false;

  Latch firstAudio;

  mutable std::mutex mutex;
  std::vector<KQ::SpeechVoice> voices;
  std::vector<SpeechWord> words;
  std::vector<int> rates;
  bool positionsAreRight = true;

 private:
  void note(const KQ::Utterance& utterance, const std::string& what) {
    const std::lock_guard<std::mutex> lock(mutex);
    lines.push_back(std::to_string(utterance.id()) + " " + what);
  }
  static void call(const std::function<void(const KQ::Utterance&)>& function,
                   const KQ::Utterance& utterance) {
    if (function) {
      function(utterance);
    }
  }

  std::vector<std::string> lines;
  std::vector<std::int16_t> samples;
  std::map<std::uint64_t, std::uint64_t> samplesOf;
};

/// Packages of the stage's engines.
class StagePackages {
 public:
  StagePackages() {
    zu::path::addLibDir(STAGE_ENGINES);
    stage::reset();
  }

  void add(const std::string& engine, const std::string& language,
           const std::string& version = "1.0.0") {
    const std::string name = engine + "-" + language;
    boost::filesystem::create_directories(folder.path() / name);
    const auto manifest =
        folder.write(name + "/manifest.xml",
                     settingsFile(setting("uuid", name) + setting("version", version) +
                                  setting("engine", engine) + setting("language", language)));
    packages.push_back({name, version, manifest.parent_path().string()});
  }

  std::vector<zu::PackageInfo> packages;

 private:
  TempFolder folder;
};

/// A speaker with two engines: "nuance" speaks English and German, "aitalk" French and Russian.
class SpeakerSetup {
 public:
  SpeakerSetup() {
    stage.add("nuance", "English");
    stage.add("nuance", "German");
    stage.add("aitalk", "French");
    stage.add("aitalk", "Russian");
  }

  KQ::Speaker& speaker() {
    if (!made) {
      settings.packages = stage.packages;
      settings.listener = notes;
      if (settings.language.empty()) {
        settings.language = "English";
      }
      made = std::make_unique<KQ::Speaker>(settings);
    }
    return *made;
  }

  /// Speaks and waits for the end.
  KQ::Utterance say(const std::string& text, const KQ::SpeechOptions& options = {}) {
    notes->text = text;
    const KQ::Utterance utterance = speaker().speak(text, options);
    utterance.waitFor(std::chrono::seconds(60));
    return utterance;
  }

  void destroySpeaker() { made.reset(); }

  StagePackages stage;
  KQ::SpeakerSettings settings;
  std::shared_ptr<SpeechNotes> notes = std::make_shared<SpeechNotes>();

 private:
  std::unique_ptr<KQ::Speaker> made;
};

}  // namespace test
