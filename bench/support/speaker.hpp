#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace bench {

using Clock = std::chrono::steady_clock;

/// Speaks texts with eSpeak NG, one way or another. There may be one at a time.
class Speaker {
 public:
  virtual ~Speaker() = default;

  /// Speaks a text, calling `atAudio` with each buffer; its result says whether to go on.
  virtual void speak(const std::string& text, const std::function<bool()>& atAudio) = 0;

  /// Ends what another thread speaks.
  virtual void stop() = 0;
};

/// The synthesiser alone. A stop sets a flag that its callback looks at.
std::unique_ptr<Speaker> makeBareSpeaker();

/// The engine behind the manager.
std::unique_ptr<Speaker> makeEngineSpeaker();

}  // namespace bench
