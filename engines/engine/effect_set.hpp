#pragma once

#include <boost/filesystem/path.hpp>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "audio/voice_tuning.hpp"

namespace KQ {
class TextToSpeechEngine;
}

namespace KQ::engines {

/// The effects that a host loaded into one engine, and which of them are on. May be used from
/// several threads at once.
class EffectSet {
 public:
  /// \param engine  reads the files; errors have its name as module
  explicit EffectSet(const TextToSpeechEngine& engine) : engine(engine) {}

  /// Reads an effect: a file of preferences in the name/value form. The effect's name is the
  /// file's, without the extension. It replaces an effect of that name; a new one is off.
  /// \throws KQError (method "loadEffect") if the file cannot be read or holds no effect, or a
  ///         value is not a number or out of range; nothing has changed then
  void load(const boost::filesystem::path& file);

  /// \throws KQError (method "applyEffect") for an unknown name
  void apply(const std::string& name, bool on);

  /// Returns the effects that are on, in the order of their names.
  std::vector<VoiceTuning> applied() const;

 private:
  struct Effect {
    VoiceTuning tuning;
    bool on = false;
  };

  const TextToSpeechEngine& engine;
  mutable std::mutex mutex;
  std::map<std::string, Effect> effects;  ///< by name; guarded by mutex
};

}  // namespace KQ::engines
