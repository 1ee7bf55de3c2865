#include "log/log_synthesizer.hpp"

#include <algorithm>
#include <chrono>
#include <iomanip>
#include <sstream>
#include <string_view>
#include <zu/log.hpp>

#include "log/silent_words.hpp"
#include "text/prosody.hpp"
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

/// The record of one utterance.
struct Record {
  explicit Record(const SpeechSettings& settings) : voice(settings.sourceVoice) {}

  /// \param said  the beginning of the text
  void write(const std::string& said) const {
    std::ostringstream message;
    message << voice << (isFinished ? " said" : " was cut short saying") << " \"" << said
            << "\" (words: " << words << ", marks: " << marks
            << ", seconds of speech: " << std::fixed << std::setprecision(2)
            << std::chrono::duration<double>(time).count() << ')';
    zu::log::write(zu::log::Level::info, logCategory, message.str(), __FILE__, "speak", __LINE__);
  }

  const std::string& voice;
  int words = 0;
  int marks = 0;
  microseconds time{0};
  bool isFinished = false;
};

/// Says one utterance.
class Speech {
 public:
  Speech(const SpeechSettings& settings, Utterance& utterance)
      : settings(settings),
        utterance(utterance),
        timeFactor(settings.more.at(parameters::speechTime.name)),
        record(settings) {}

  /// \return what was said
  const Record& say(SpokenText& text) {
    SilentWords words(text);
    std::optional<SilentItem> item;
    while (!utterance.isOver() && (item = words.next())) {
      if (item->tag.kind == MarkupItem::Kind::text) {
        sayWord(*item);
      } else {
        follow(item->tag);
      }
    }
    record.isFinished = utterance.mayGoOn();
    return record;
  }

 private:
  void sayWord(const SilentItem& word) {
    if (word.length != 0) {
      utterance.emitWord({word.offset, word.length, position()});
      ++record.words;
    }
    const double percent = std::max(1.0, double{settings.speed} * prosody.speed / 100);
    pass(std::chrono::duration_cast<microseconds>(word.time * 100 / percent));
  }

  void follow(const MarkupItem& tag) {
    using Kind = MarkupItem::Kind;
    switch (tag.kind) {
      case Kind::pause:
        pass(std::chrono::milliseconds(tag.value));
        break;
      case Kind::mark:
        utterance.emitMark(tag.value, position());
        ++record.marks;
        break;
      case Kind::volume:
      case Kind::speed:
      case Kind::pitch:
      case Kind::reset:
        prosody.apply(tag);
        break;
      case Kind::text:
      case Kind::style:
      case Kind::last:
      case Kind::ignored:
        break;
    }
  }

  void pass(microseconds duration) {
    if (utterance.wait(std::chrono::duration_cast<microseconds>(duration * timeFactor))) {
      record.time += duration;
    }
  }

  std::uint64_t position() const {
    return static_cast<std::uint64_t>(record.time.count()) * LogSynthesizer::positionRate / 1000000;
  }

  const SpeechSettings& settings;
  Utterance& utterance;
  const float timeFactor;
  Prosody prosody;
  Record record;
};

}  // namespace

void LogSynthesizer::speak(SpokenText& text, const SpeechSettings& settings, Utterance& utterance) {
  const std::string said = excerpt(text);
  Speech(settings, utterance).say(text).write(said);
}

void LogSynthesizer::skip(SpokenText& text, const SpeechSettings& settings) {
  Record(settings).write(excerpt(text));
}

}  // namespace KQ::engines
