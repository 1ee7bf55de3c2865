#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

namespace KQ::speaking {

/// How loud a voice is, by ITU-R BS.1770, as far as it was heard.
class VoiceLevel {
 public:
  explicit VoiceLevel(int samplingRate);
  ~VoiceLevel();
  VoiceLevel(const VoiceLevel&) = delete;
  VoiceLevel& operator=(const VoiceLevel&) = delete;

  /// Hears audio of the voice; after ten seconds of speech no more is needed.
  void hear(const std::int16_t* samples, std::size_t count);

  /// In LUFS; nothing before enough was heard.
  std::optional<double> loudness() const;

  /// Whether what was heard is enough for a gain that stays.
  bool isWellKnown() const { return heard >= needed; }

  int samplingRate() const { return rate; }

 private:
  struct Meter;

  int rate;
  std::size_t needed;
  std::size_t heard = 0;
  std::unique_ptr<Meter> meter;
};

}  // namespace KQ::speaking
