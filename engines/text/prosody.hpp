#pragma once

#include "text/markup_reader.hpp"

namespace KQ::engines {

/// What the inline tags up to a place of a text set, in percent of the voice's own.
struct Prosody {
  int volume = 100;
  int speed = 100;
  int pitch = 100;

  /// Applies a piece of the text. Only tags that set something change anything.
  void apply(const MarkupItem& item);

  bool isNormal() const { return *this == Prosody(); }

  bool operator==(const Prosody& other) const {
    return volume == other.volume && speed == other.speed && pitch == other.pitch;
  }
};

}  // namespace KQ::engines
