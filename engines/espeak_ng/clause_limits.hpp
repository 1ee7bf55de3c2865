#pragma once

#include "espeak_ng/espeak_text.hpp"

namespace KQ::engines {

/// Changes a text so that eSpeak NG bears every word of it and loses none.
///
/// eSpeak NG keeps a clause and a word in arrays of fixed size. A clause that expands to more than
/// 1000 phonemes, 300 words or 800 bytes loses its rest; a word beyond 160 bytes or 200 phonemes,
/// or a row of dotted letters beyond 80 bytes, overwrites the stack. So a clause ends in time: at a
/// line feed or a blank if there is one, as if a comma stood there. Ordinary prose stays as it is.
///
/// A hyphen between an opening sign and the first word of a clause becomes a blank: eSpeak NG looks
/// for the beginning of such a word in front of its memory.
void limitClauses(EspeakText& text);

}  // namespace KQ::engines
