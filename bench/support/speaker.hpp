#pragma once

#include <functional>
#include <memory>
#include <string>

namespace bench {

/// Speaks texts, with the engine or with the bare synthesiser. Only one object may exist at a time.
class Speaker {
 public:
  virtual ~Speaker() = default;

  /// Speaks a text, and calls `atAudio` for each buffer until it returns false.
  virtual void speak(const std::string& text, const std::function<bool()>& atAudio) = 0;

  /// Stops speak() in another thread.
  virtual void stop() = 0;
};

using SpeakerPointer = std::unique_ptr<Speaker>;

/// Speaks with the engine for a package, through the manager.
/// \param package         the folder of the package
/// \param withDictionary  whether the user's dictionary is loaded
SpeakerPointer makeEngineSpeaker(const std::string& package, bool withDictionary = false);

}  // namespace bench
