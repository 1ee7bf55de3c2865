#pragma once

#include <functional>
#include <memory>
#include <string>

namespace bench {

/// Speaks texts, one way or another. There may be one at a time.
class Speaker {
 public:
  virtual ~Speaker() = default;

  /// Speaks a text, calling `atAudio` with each buffer; its result says whether to go on.
  virtual void speak(const std::string& text, const std::function<bool()>& atAudio) = 0;

  /// Ends what another thread speaks.
  virtual void stop() = 0;
};

using SpeakerPointer = std::unique_ptr<Speaker>;

/// The engine that serves a package, behind the manager.
/// \param package         its folder
/// \param withDictionary  whether the user's dictionary is loaded
SpeakerPointer makeEngineSpeaker(const std::string& package, bool withDictionary = false);

}  // namespace bench
