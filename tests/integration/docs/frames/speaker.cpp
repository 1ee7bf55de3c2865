// What a fragment may take for granted: it stands in a host that has a speaker.
#include <iostream>
#include <kqtts/speaker.hpp>

void host(KQ::Speaker& speaker, KQ::SpeechOptions& options,
          std::shared_ptr<KQ::SpeechListener>& listener) {
  // fragments
}
