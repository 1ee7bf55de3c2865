#include "engine/effect_set.hpp"

#include <boost/filesystem/operations.hpp>
#include <charconv>
#include <kq/error.hpp>
#include <kqtts/texttospeech_engine.hpp>

namespace KQ::engines {

namespace fs = boost::filesystem;

namespace {

/// Reads the file of an effect, more strictly than the preferences of a voice.
class EffectFile {
 public:
  EffectFile(const TextToSpeechEngine& engine, const fs::path& file) : engine(engine), file(file) {}

  VoiceTuning read() const {
    boost::system::error_code error;
    const fs::file_status status = fs::status(file, error);
    if (status.type() != fs::regular_file) {
      fail(status.type() == fs::file_not_found ? "there is no such file" : "is no readable file");
    }
    VoiceSetting setting(VOICE_SETTING_PREFERENCES, "");
    bool isEmpty = true;
    for (auto& [name, value] : setting.parameters) {
      const std::string text = engine.getParamFromXml(name, file);
      if (!text.empty()) {
        value = number(name, text);
        isEmpty = false;
      }
    }
    if (isEmpty) {
      fail("holds no effect: it has none of the known values, or is no XML that can be read");
    }
    return tuningOf(setting, [this](const std::string& complaint) { fail(complaint); });
  }

 private:
  float number(const std::string& name, const std::string& text) const {
    float value = 0;
    const char* const end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, value);
    if (parsed.ec != std::errc() || parsed.ptr != end) {
      fail("preference \"" + name + "\" is no number");
    }
    return value;
  }

  [[noreturn]] void fail(const std::string& why) const {
    throw KQError(engine.getName(), "loadEffect", file.string() + ": " + why, nullptr, 0);
  }

  const TextToSpeechEngine& engine;
  const fs::path& file;
};

}  // namespace

void EffectSet::load(const fs::path& file) {
  const VoiceTuning tuning = EffectFile(engine, file).read();
  const std::lock_guard<std::mutex> lock(mutex);
  effects[file.stem().string()].tuning = tuning;
}

void EffectSet::apply(const std::string& name, bool on) {
  const std::lock_guard<std::mutex> lock(mutex);
  const auto found = effects.find(name);
  if (found == effects.end()) {
    std::string text = "unknown effect \"" + name + "\", there are";
    for (const auto& [known, effect] : effects) {
      text += " \"" + known + '"';
    }
    throw KQError(engine.getName(), "applyEffect", effects.empty() ? text + " none" : text, nullptr,
                  0);
  }
  found->second.on = on;
}

std::vector<VoiceTuning> EffectSet::applied() const {
  std::vector<VoiceTuning> tunings;
  const std::lock_guard<std::mutex> lock(mutex);
  for (const auto& [name, effect] : effects) {
    if (effect.on) {
      tunings.push_back(effect.tuning);
    }
  }
  return tunings;
}

}  // namespace KQ::engines
