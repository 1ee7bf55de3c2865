#pragma once

#include <string_view>

namespace KQ::speaking {

/// How the mouth looks at a sound.
struct MouthShape {
  int shape;  ///< SAPI's, 0 to 21
  int face;   ///< MPEG-4's, 0 to 14
  std::string_view faceName;
};

/// The shape for a phoneme in IPA; stress, length and what else stands with it are left out.
/// Silence for "" and for what is no sound.
MouthShape mouthShapeOf(std::string_view ipa);

}  // namespace KQ::speaking
