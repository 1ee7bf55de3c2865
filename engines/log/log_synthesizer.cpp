#include "log/log_synthesizer.hpp"

#include <algorithm>
#include <chrono>
#include <iomanip>
#include <sstream>
#include <string_view>
#include <zu/log.hpp>

#include "log/silent_words.hpp"
#include "text/utf8.hpp"

namespace KQ::engines {

namespace {

using std::chrono::microseconds;

/// Of a text, as a record of the log shows it, in bytes.
constexpr std::size_t longestExcerpt = 200;

/// \param text  of which nothing was read
std::string excerpt(SpokenText text) {
  std::size_t end = 0;
  for (std::optional<MarkupItem> item; end <= longestExcerpt && (item = text.next());) {
    end = item->offset + item->length;
  }
  const std::string_view begin = text.view(0, end);
  if (end <= longestExcerpt) {
    return std::string(begin);
  }
  end = longestExcerpt;
  while (end > 0 && isUtf8Continuation(begin[end])) {
    --end;
  }
  return std::string(begin.substr(0, end)) + "...";
}

/// Says one utterance.
class Speech {
 public:
  Speech(const SpeechSettings& settings, Utterance& utterance)
      : settings(settings),
        utterance(utterance),
        timeFactor(settings.more.at(parameters::speechTime.name)) {}

  void say(SpokenText& text) {
    SilentWords words(text);
    std::optional<SilentItem> item;
    while (!utterance.isOver() && (item = words.next())) {
      if (item->tag.kind == MarkupItem::Kind::text) {
        sayWord(*item);
      } else {
        follow(item->tag);
      }
    }
    isFinished = utterance.mayGoOn();
  }

  /// \param said  the beginning of the text
  void writeRecord(const std::string& said) const {
    std::ostringstream message;
    message << settings.sourceVoice << (isFinished ? " said" : " was cut short saying") << " \""
            << said << "\" (words: " << wordsTold << ", marks: " << marksTold
            << ", seconds of speech: " << std::fixed << std::setprecision(2)
            << std::chrono::duration<double>(time).count() << ')';
    zu::log::write(zu::log::Level::info, logCategory, message.str(), __FILE__, "speak", __LINE__);
  }

 private:
  void sayWord(const SilentItem& word) {
    if (word.length != 0) {
      utterance.tellWord({word.offset, word.length, position()});
      ++wordsTold;
    }
    const double percent = std::max(1.0, double{settings.speed} * taggedSpeed / 100);
    pass(std::chrono::duration_cast<microseconds>(word.time * 100 / percent));
  }

  void follow(const MarkupItem& tag) {
    switch (tag.kind) {
      case MarkupItem::Kind::pause:
        pass(std::chrono::milliseconds(tag.value));
        break;
      case MarkupItem::Kind::mark:
        utterance.tellMark(tag.value, position());
        ++marksTold;
        break;
      case MarkupItem::Kind::speed:
        taggedSpeed = tag.value;
        break;
      case MarkupItem::Kind::reset:
        taggedSpeed = 100;
        break;
      default:
        break;
    }
  }

  void pass(microseconds duration) {
    if (utterance.wait(std::chrono::duration_cast<microseconds>(duration * timeFactor))) {
      time += duration;
    }
  }

  std::uint64_t position() const {
    return static_cast<std::uint64_t>(time.count()) * LogSynthesizer::positionRate / 1000000;
  }

  const SpeechSettings& settings;
  Utterance& utterance;
  const float timeFactor;
  int taggedSpeed = 100;
  microseconds time{0};
  int wordsTold = 0;
  int marksTold = 0;
  bool isFinished = false;
};

}  // namespace

void LogSynthesizer::speak(SpokenText& text, const SpeechSettings& settings, Utterance& utterance) {
  const Turn turn(turns, utterance);
  const std::string said = excerpt(text);
  Speech speech(settings, utterance);
  try {
    utterance.run([&] { speech.say(text); });
  } catch (...) {
    speech.writeRecord(said);
    throw;
  }
  speech.writeRecord(said);
}

}  // namespace KQ::engines
