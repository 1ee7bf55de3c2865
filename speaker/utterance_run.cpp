#include "utterance_run.hpp"

#include <algorithm>
#include <cmath>
#include <kqtts/texttospeech_manager.hpp>
#include <limits>
#include <zu/log.hpp>

#include "failure_text.hpp"
#include "speaker_core.hpp"
#include "visemes.hpp"

namespace KQ::speaking {

namespace {

using Step = SpeakerCore::Step;

constexpr std::uint64_t never = std::numeric_limits<std::uint64_t>::max();

float within(float value, float lowest, float highest) {
  return std::isnan(value) ? 1 : std::clamp(value, lowest, highest);
}

}  // namespace

UtteranceRun::UtteranceRun(SpeakerCore& speakerCore, Workshop& speakingWorkshop,
                           std::shared_ptr<UtteranceRecord> utteranceRecord)
    : record(std::move(utteranceRecord)),
      core(speakerCore),
      workshop(speakingWorkshop),
      hasListener(record->listener != nullptr) {
  utteranceRate = core.constantSettings().samplingRate;
  if (const UtteranceRecord::Details* const details = record->details.get()) {
    beginOffset = details->resumeOffset;
    lastWord = details->resumeOffset;
    delivered = details->resumePosition;
    utteranceRate = details->samplingRate != 0 ? details->samplingRate : utteranceRate;
  }
}

UtteranceRun::~UtteranceRun() = default;

void UtteranceRun::speak() {
  const Utterance handle = SpeakerCore::handleOf(record);
  if (!core.emit(*this, Step::other, [&](SpeechListener& listener) {
        wantsPhonemes = listener.wantsPhonemes();
        listener.onStart(handle);
      })) {
    return;
  }
  try {
    reader = makeReader();
    while (auto next = nextSegment()) {
      if (!isSpokenAlready(*next)) {
        speakSegment(*next);
      }
      if (core.isCancelled(*this)) {
        break;
      }
    }
  } catch (...) {
    core.fail(*this, describeFailure(std::current_exception()));
  }
  restoreParameters();
}

std::unique_ptr<TextReader> UtteranceRun::makeReader() {
  switch (record->options->format) {
    case TextFormat::ssml:
      return makeSsmlReader(readingContext());
    case TextFormat::characters:
      return makeCharacterReader(readingContext());
    case TextFormat::plain:
      break;
  }
  return makePlainReader(readingContext());
}

ReadingContext UtteranceRun::readingContext() {
  const SpeechOptions& options = *record->options;
  ReadingContext context;
  context.cutter = &workshop.cutter;
  context.rate = within(options.rate, 0.5F, 4);
  context.pitch = within(options.pitch, 0.5F, 2);
  context.detectsLanguages = options.detectLanguages;
  const std::shared_ptr<const Catalogue> catalogue = core.catalogue();
  const std::string own = ownLanguage();
  context.localeOf = [catalogue, own](const std::string& language) {
    const std::string& written = language.empty() ? own : language;
    const std::string locale = catalogue->localeOf(written);
    return locale.empty() ? normalisedLocale(written) : locale;
  };
  context.canSpeak = [catalogue](const std::string& language) {
    return !catalogue->candidates(language).empty();
  };
  return context;
}

/// The language of what has none of its own, as it was written.
std::string UtteranceRun::ownLanguage() const {
  const SpeechOptions& options = *record->options;
  if (!options.language.empty()) {
    return options.language;
  }
  const std::string ofVoice = core.catalogue()->languageOf(options.voice);
  return ofVoice.empty() ? core.language() : ofVoice;
}

std::optional<Segment> UtteranceRun::nextSegment() {
  for (;;) {
    if (auto next = reader->next()) {
      isOverdue = false;
      return next;
    }
    if (hasAllText) {
      return std::nullopt;
    }
    const SpeakerCore::Piece piece = core.waitForText(*this, textKnown, isOverdue);
    if (piece.isCancelled) {
      return std::nullopt;
    }
    if (piece.isOverdue) {
      isOverdue = true;
      reader->cutAtClause();
      continue;
    }
    isOverdue = false;
    textKnown += piece.text.size();
    reader->add(piece.text);
    if (piece.isLast) {
      hasAllText = true;
      reader->finish();
    }
  }
}

/// Whether a segment was spoken before an interruption; if a part was, that is cut off.
bool UtteranceRun::isSpokenAlready(Segment& next) const {
  if (beginOffset == 0 || next.textBegin >= beginOffset) {
    return false;
  }
  if (next.textEnd <= beginOffset) {
    return true;
  }
  next.beginAt(beginOffset);
  return false;
}

void UtteranceRun::speakSegment(const Segment& next) {
  if (!core.emit(*this, Step::sentence, [](SpeechListener& /*listener*/) {})) {
    return;
  }
  segment = &next;
  std::set<std::string> avoided;
  for (;;) {
    const std::optional<ChosenVoice> chosen = chooseVoice(avoided);
    if (!chosen) {
      break;
    }
    announce(*chosen);
    const std::string failure = startEngine(*chosen);
    if (failure.empty() || core.isCancelled(*this)) {
      break;
    }
    workshop.engines->forgetChoice();
    if (wasHeard) {
      core.fail(*this, failure);
      break;
    }
    avoided.insert(chosen->engine);
    lastFailure = failure;
  }
  segment = nullptr;
}

std::optional<ChosenVoice> UtteranceRun::chooseVoice(const std::set<std::string>& avoided) {
  const SpeechOptions& options = *record->options;
  if (!segment->language.empty() || !segment->voice.empty()) {
    try {
      return workshop.engines->choose(segment->language, segment->voice, avoided);
    } catch (...) {  // the words are not lost: the utterance's own voice reads them
      const std::string reason = describeFailure(std::current_exception());
      zu::log::write(zu::log::Level::warning, "kqtts.speaker", reason, __FILE__, __func__,
                     __LINE__);
    }
  }
  try {
    return workshop.engines->choose(ownLanguage(), options.voice, avoided);
  } catch (...) {
    core.fail(*this, lastFailure.empty() ? describeFailure(std::current_exception()) : lastFailure);
    return std::nullopt;
  }
}

void UtteranceRun::announce(const ChosenVoice& chosen) {
  voice = chosen;
  const std::string wanted = segment->language.empty() ? ownLanguage() : segment->language;
  if (announced && announced->voice == chosen.voice && announced->language == chosen.language &&
      announced->engine == chosen.engine && announced->wanted == wanted) {
    return;
  }
  announced = SpeechVoice{wanted,        chosen.language,    chosen.voice,
                          chosen.engine, segment->textBegin, delivered};
  core.noteVoice(record, *announced);
  const Utterance handle = SpeakerCore::handleOf(record);
  core.emit(*this, Step::other,
            [&](SpeechListener& listener) { listener.onVoice(handle, *announced); });
}

/// \return why it failed, or ""
std::string UtteranceRun::startEngine(const ChosenVoice& chosen) {
  wasHeard = false;
  nextMark = 0;
  lastReported = {segment->textBegin, 0};
  engineSamples = 0;
  std::string failure;
  try {
    setParameters(chosen);
    beginChain(chosen, chosen.manager->getCurrentSamplingRate());
    if (!core.beginEngine(*this, chosen.manager)) {
      return "";
    }
    chosen.manager->startSynthetizer(segment->text);
  } catch (...) {
    failure = describeFailure(std::current_exception());
  }
  core.endEngine();
  if (failure.empty() && !core.isCancelled(*this)) {
    completePhoneme(engineSamples);
    chain->finish(ready);
    skipSoundless();
    drain(true);
  }
  pending.clear();
  ready.clear();
  return failure;
}

/// What makes no sound takes its time all the same: the next segment's positions go on from here.
void UtteranceRun::skipSoundless() {
  if (engineSamples == 0) {
    delivered = std::max(delivered, lastPlace);
  }
}

void UtteranceRun::setParameters(const ChosenVoice& chosen) {
  const std::map<std::string, float>& wanted = record->options->parameters;
  if (wanted.empty() || parametersOf == chosen.manager) {
    return;
  }
  restoreParameters();
  parametersOf = chosen.manager;
  for (const auto& [name, value] : wanted) {
    const float former = chosen.manager->getParameter(name);
    chosen.manager->setParameter(name, value);
    formerParameters[name] = former;
  }
}

void UtteranceRun::restoreParameters() {
  for (const auto& [name, value] : formerParameters) {
    try {
      parametersOf->setParameter(name, value);
    } catch (...) {  // an engine that is gone has no parameters
    }
  }
  formerParameters.clear();
  parametersOf.reset();
}

void UtteranceRun::beginChain(const ChosenVoice& chosen, int engineRate) {
  if (utteranceRate == 0) {
    utteranceRate = engineRate;
  }
  std::unique_ptr<VoiceLevel>& level = workshop.levels[chosen.voice];
  if (!level || level->samplingRate() != engineRate) {
    level = std::make_unique<VoiceLevel>(engineRate);
  }
  AudioChain::Plan plan;
  plan.inputRate = engineRate;
  plan.outputRate = utteranceRate;
  plan.volume = within(record->options->volume, 0, 2);
  plan.joinsPrevious = segment->joinsPrevious;
  plan.joinsNext = segment->joinsNext;
  plan.level = level.get();
  if (modelVoice.empty()) {
    modelVoice = chosen.voice;
  }
  if (modelVoice != chosen.voice) {
    plan.model = workshop.levels[modelVoice].get();
  }
  chain = std::make_unique<AudioChain>(plan);
  chainRate = engineRate;
  chainBegin = delivered;
}

// What engines report.

void UtteranceRun::onEngineStart() {
  core.stopIfCancelled(*this);
}

bool UtteranceRun::onEngineAudio(const std::int16_t* samples, std::size_t count, int samplingRate) {
  if (count == 0) {
    return !core.isCancelled(*this);
  }
  if (samplingRate != chainRate && engineSamples == 0) {
    utteranceRate = delivered == 0 && core.constantSettings().samplingRate == 0 ? 0 : utteranceRate;
    beginChain(voice, samplingRate);
  }
  wasHeard = true;
  engineSamples += count;
  if (isImmediate()) {
    chain->hear(samples, count);
    return deliverAudio(samples, count);
  }
  chain->process(samples, count, ready);
  drain(false);
  return !core.isCancelled(*this);
}

void UtteranceRun::onEngineWord(const SpeechWord& word) {
  const Segment::Place place = segment->placeOf(word.textOffset, word.textLength);
  const auto spoken = std::make_pair(place.offset, place.length);
  if (spoken == lastReported) {
    return;  // several words stand for one of the text; the first one was reported
  }
  lastReported = spoken;
  add({Event::Kind::word, word.samplePosition, place.offset, place.length});
}

void UtteranceRun::onEngineMark(int number, std::uint64_t samplePosition) {
  const auto begin = segment->marks.begin() + static_cast<std::ptrdiff_t>(nextMark);
  const auto mark = std::find_if(begin, segment->marks.end(), [&](const SegmentMark& candidate) {
    return candidate.number == number;
  });
  if (mark == segment->marks.end()) {
    return;
  }
  nextMark = static_cast<std::size_t>(mark - segment->marks.begin()) + 1;
  add({Event::Kind::mark, samplePosition, mark->textOffset, 0, mark->name});
}

void UtteranceRun::onEnginePhoneme(const SpeechPhoneme& phoneme) {
  if (!wantsPhonemes) {
    return;
  }
  completePhoneme(phoneme.samplePosition);
  Event event{Event::Kind::phoneme, phoneme.samplePosition, 0, 0, std::string(phoneme.name)};
  if (phoneme.sampleCount > 0) {
    event.sampleCount = phoneme.sampleCount;
  }
  add(std::move(event));
}

/// The last phoneme lasts until here.
void UtteranceRun::completePhoneme(std::uint64_t engineEnd) {
  for (auto event = pending.rbegin(); event != pending.rend(); ++event) {
    if (event->kind == Event::Kind::phoneme) {
      if (!event->sampleCount) {
        event->sampleCount = engineEnd - std::min(engineEnd, event->engineSample);
      }
      return;
    }
  }
}

void UtteranceRun::add(Event event) {
  wasHeard = true;
  core.stopIfCancelled(*this);
  const bool isIncomplete = event.kind == Event::Kind::phoneme && !event.sampleCount;
  if (isImmediate() && !isIncomplete && !core.pausesAtEvent()) {
    deliver(event, placeOf(event));
    return;
  }
  const auto after = std::upper_bound(
      pending.begin(), pending.end(), event.engineSample,
      [](std::uint64_t sample, const Event& other) { return sample < other.engineSample; });
  pending.insert(after, std::move(event));
}

// What the listener hears.

/// Whether audio and events go on as they come.
bool UtteranceRun::isImmediate() const {
  return chain->passesThrough() && ready.empty() && pending.empty();
}

std::uint64_t UtteranceRun::placeOf(const Event& event) const {
  return chainBegin + chain->placeOf(event.engineSample);
}

/// Delivers the audio that is ready and the events before it. While a pause waits for a word or a
/// mark, the audio before it is delivered apart.
void UtteranceRun::drain(bool isLast) {
  std::size_t used = 0;
  const bool isExact = core.pausesAtEvent();
  for (;;) {
    const std::uint64_t end = delivered + (ready.size() - used);
    const Event* const next = pending.empty() ? nullptr : &pending.front();
    const std::uint64_t place = next == nullptr ? never : placeOf(*next);
    const bool isIncomplete =
        next != nullptr && next->kind == Event::Kind::phoneme && !next->sampleCount;
    const bool isDue =
        place <= delivered || (!isExact && place < end) || (isLast && delivered == end);
    if (next != nullptr && isDue && !isIncomplete) {
      const Event event = std::move(pending.front());
      pending.pop_front();
      if (!deliver(event, isLast ? std::min(place, end) : place)) {
        break;
      }
      continue;
    }
    const std::uint64_t limit = isExact || isIncomplete ? std::clamp(place, delivered, end) : end;
    const auto count = static_cast<std::size_t>(limit - delivered);
    if (count == 0 || !deliverAudio(ready.data() + used, count)) {
      break;
    }
    used += count;
  }
  ready.erase(ready.begin(), ready.begin() + static_cast<std::ptrdiff_t>(used));
}

bool UtteranceRun::deliverAudio(const std::int16_t* samples, std::size_t count) {
  const Utterance handle = SpeakerCore::handleOf(record);
  const SpeechAudio audio{samples, count, utteranceRate, delivered};
  bool isWanted = true;
  bool isHeard = !hasListener;
  const bool goesOn = core.emit(*this, Step::other, [&](SpeechListener& listener) {
    isHeard = true;
    isWanted = listener.onAudio(handle, audio);
  });
  if (!isWanted) {
    core.refuse(*this);
  }
  if (!isHeard) {
    return false;
  }
  delivered += count;
  while (!wordsToBegin.empty() && wordsToBegin.front().first < delivered) {
    lastWord = wordsToBegin.front().second;
    wordsToBegin.pop_front();
  }
  return goesOn && isWanted;
}

bool UtteranceRun::deliver(const Event& event, std::uint64_t place) {
  const Utterance handle = SpeakerCore::handleOf(record);
  lastPlace = std::max(lastPlace, place);
  switch (event.kind) {
    case Event::Kind::word:
      wordsToBegin.emplace_back(place, event.textOffset);
      return core.emit(*this, Step::word, [&](SpeechListener& listener) {
        listener.onWord(handle, {event.textOffset, event.textLength, place});
      });
    case Event::Kind::mark:
      return core.emit(*this, Step::mark, [&](SpeechListener& listener) {
        listener.onMark(handle, {event.name, event.textOffset, place});
      });
    case Event::Kind::phoneme:
      break;
  }
  return deliverPhoneme(event, place);
}

bool UtteranceRun::deliverPhoneme(const Event& event, std::uint64_t place) {
  const Utterance handle = SpeakerCore::handleOf(record);
  const std::uint64_t end = chainBegin + chain->placeOf(event.engineSample + *event.sampleCount);
  const std::uint64_t count = end - std::min(end, place);
  const MouthShape mouth = mouthShapeOf(event.name);
  return core.emit(*this, Step::other, [&](SpeechListener& listener) {
    listener.onPhoneme(handle, {event.name, place, count});
    listener.onViseme(handle, {mouth.shape, mouth.face, mouth.faceName, place, count});
  });
}

// The callback of all engines.

void EngineCallback::onStart() {
  if (run != nullptr) {
    run->onEngineStart();
  }
}

bool EngineCallback::onAudio(const std::int16_t* samples, std::size_t count, int samplingRate) {
  return run != nullptr && run->onEngineAudio(samples, count, samplingRate);
}

void EngineCallback::onMark(int number, std::uint64_t samplePosition) {
  if (run != nullptr) {
    run->onEngineMark(number, samplePosition);
  }
}

void EngineCallback::onWord(const SpeechWord& word) {
  if (run != nullptr) {
    run->onEngineWord(word);
  }
}

void EngineCallback::onPhoneme(const SpeechPhoneme& phoneme) {
  if (run != nullptr) {
    run->onEnginePhoneme(phoneme);
  }
}

}  // namespace KQ::speaking
