// The frame of the fragments in the speaker's guide: a host with a speaker and options.
#include <iostream>
#include <kqtts/speaker.hpp>

void host(KQ::Speaker& speaker, KQ::SpeechOptions& options,
          std::shared_ptr<KQ::SpeechListener>& listener) {
  // fragments
}
