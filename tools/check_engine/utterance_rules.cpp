#include <algorithm>
#include <set>

#include "check_engine/event_recorder.hpp"

namespace tool {

namespace {

using Kind = SpeechEvent::Kind;
using std::to_string;

bool isContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// Whether a word's place is one in the text that splits no character.
bool isInText(const SpeechWord& word, const std::string& text) {
  if (word.textLength == 0 || word.textOffset > text.size() ||
      word.textLength > text.size() - word.textOffset) {
    return false;
  }
  const std::size_t end = word.textOffset + word.textLength;
  return !isContinuation(text[word.textOffset]) &&
         (end == text.size() || !isContinuation(text[end]));
}

/// Follows the events of one utterance.
class Judge {
 public:
  explicit Judge(const UtteranceRules& utteranceRules) : rules(utteranceRules) {}

  std::vector<std::string> judge(const SpeechEvents& events) {
    if (events.empty() && rules.maybeSilent) {
      return {};
    }
    requireOnce(events, Kind::start);
    requireOnce(events, Kind::end);
    for (const SpeechEvent& event : events) {
      follow(event);
    }
    if (lastPosition > samples && samples > 0 && finished) {
      complain("a word or mark was told at sample " + to_string(lastPosition) +
               ", but the utterance has " + to_string(samples) + " samples");
    }
    return complaints;
  }

 private:
  void requireOnce(const SpeechEvents& events, Kind kind) {
    const auto times = std::count_if(events.begin(), events.end(),
                                     [&](const SpeechEvent& event) { return event.kind == kind; });
    if (times == 1) {
      return;
    }
    complain(std::string(nameOf(kind)) + " was called " + to_string(times) +
             " times for one utterance; once is right");
  }

  void follow(const SpeechEvent& event) {
    if (event.kind != Kind::start && !started) {
      complain(std::string(nameOf(event.kind)) + " was called before onStart");
    }
    if (event.kind != Kind::end && ended) {
      complain(std::string(nameOf(event.kind)) + " was called after onEnd");
    }
    switch (event.kind) {
      case Kind::start:
        started = true;
        break;
      case Kind::audio:
        followAudio(event);
        break;
      case Kind::mark:
        followMark(event);
        break;
      case Kind::word:
        followWord(event);
        break;
      case Kind::end:
        ended = true;
        finished = event.how == SpeechEnd::finished;
        break;
    }
  }

  void followAudio(const SpeechEvent& event) {
    samples += event.samples;
    if (event.withoutData) {
      complain("onAudio was given a null address for its samples");
    }
    if (event.samplingRate != rules.samplingRate) {
      complain("onAudio gave audio of " + to_string(event.samplingRate) +
               " Hz; getCurrentSamplingRate() says " + to_string(rules.samplingRate));
    }
  }

  void followMark(const SpeechEvent& event) {
    const std::string tag = "mrk=" + to_string(event.mark) + "\\";
    if (rules.text.find(tag) == std::string::npos) {
      complain("onMark told of the mark " + to_string(event.mark) +
               ", which does not stand in the text");
    }
    followPosition(event);
  }

  void followWord(const SpeechEvent& event) {
    if (!isInText(event.word, rules.text)) {
      complain("onWord told of a word of " + to_string(event.word.textLength) + " bytes at byte " +
               to_string(event.word.textOffset) + ", which is no place in the text of " +
               to_string(rules.text.size()) + " bytes");
    }
    followPosition(event);
  }

  void followPosition(const SpeechEvent& event) {
    lastPosition = std::max(lastPosition, event.position);
    if (event.position < samples) {
      complain(std::string(nameOf(event.kind)) + " for sample " + to_string(event.position) +
               " came after the audio that holds it");
    }
  }

  /// Each complaint once, however many events give cause to it.
  void complain(const std::string& what) {
    const std::string kind = what.substr(0, what.find_first_of("0123456789"));
    if (known.insert(kind).second) {
      complaints.push_back(what);
    }
  }

  const UtteranceRules& rules;
  bool started = false;
  bool ended = false;
  bool finished = false;
  std::uint64_t samples = 0;
  std::uint64_t lastPosition = 0;
  std::set<std::string> known;
  std::vector<std::string> complaints;
};

}  // namespace

std::vector<std::string> judgeUtterance(const SpeechEvents& events, const UtteranceRules& rules) {
  return Judge(rules).judge(events);
}

}  // namespace tool
