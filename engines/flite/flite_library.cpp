#include "flite/flite_library.hpp"

extern "C" {
#include <flite/cst_cg.h>
#include <flite/flite.h>
}

#include <algorithm>
#include <array>
#include <csetjmp>
#include <kq/error.hpp>
#include <map>
#include <memory>
#include <mutex>

extern "C" {
cst_voice* register_cmu_us_awb(const char* folder);
cst_voice* register_cmu_us_kal(const char* folder);
cst_voice* register_cmu_us_kal16(const char* folder);
cst_voice* register_cmu_us_rms(const char* folder);
cst_voice* register_cmu_us_slt(const char* folder);
void unregister_cmu_us_awb(cst_voice* voice);
void unregister_cmu_us_kal(cst_voice* voice);
void unregister_cmu_us_kal16(cst_voice* voice);
void unregister_cmu_us_rms(cst_voice* voice);
void unregister_cmu_us_slt(cst_voice* voice);
}

namespace KQ::engines {

namespace {

struct LinkedVoice {
  const char* name;
  int samplingRate;  ///< in Hz
  cst_voice* (*enlist)(const char*);
  void (*release)(cst_voice*);
};

/// The voices that speak any text. Flite's other voice, a speaking clock, knows times of day only.
constexpr std::array<LinkedVoice, 5> linkedVoices{
    {{"awb", 16000, register_cmu_us_awb, unregister_cmu_us_awb},
     {"kal", 8000, register_cmu_us_kal, unregister_cmu_us_kal},
     {"kal16", 16000, register_cmu_us_kal16, unregister_cmu_us_kal16},
     {"rms", 16000, register_cmu_us_rms, unregister_cmu_us_rms},
     {"slt", 16000, register_cmu_us_slt, unregister_cmu_us_slt}}};

/// Returns a voice by its name, or null.
const LinkedVoice* find(const std::string& name) {
  const auto* const found =
      std::find_if(linkedVoices.begin(), linkedVoices.end(),
                   [&](const LinkedVoice& voice) { return name == voice.name; });
  return found == linkedVoices.end() ? nullptr : found;
}

struct Process {
  TurnQueue turns{fliteName};

  std::mutex lifeMutex;
  int uses = 0;  ///< guarded by lifeMutex

  /// The registered voices. Used by the holder of the turn, and at the end of the last use.
  std::map<const LinkedVoice*, cst_voice*> voices;
};

Process& process() {
  static Process theProcess;
  return theProcess;
}

/// Returns a voice, and registers it first if needed: unused voices take no memory. The caller
/// holds a turn.
cst_voice* registered(const LinkedVoice& linked) {
  cst_voice*& voice = process().voices[&linked];
  if (voice == nullptr) {
    voice = linked.enlist(nullptr);
  }
  return voice;
}

struct UtteranceDeleter {
  void operator()(cst_utterance* utterance) const { delete_utterance(utterance); }
};

using UtterancePointer = std::unique_ptr<cst_utterance, UtteranceDeleter>;

/// Returns how much longer a word takes than at the voice's own speed.
float stretch(const FliteToken& token, const FliteVoice& voice) {
  const float speed =
      std::clamp(voice.speed * static_cast<float>(token.prosody.speed) / 100, 12.5F, 800.F);
  return 100 / speed;
}

void addTokens(cst_utterance& utterance, const FlitePhrase& phrase) {
  cst_relation* const relation = utt_relation_create(&utterance, "Token");
  const int normal = phrase.tokens.front().prosody.speed;
  for (const FliteToken& token : phrase.tokens) {
    cst_item* const item = relation_append(relation, nullptr);
    item_set_string(item, "name", token.name.c_str());
    item_set_string(item, "whitespace", " ");
    item_set_string(item, "prepunctuation", token.before.c_str());
    item_set_string(item, "punc", token.after.c_str());
    if (token.prosody.speed != normal) {
      item_set_float(item, "local_duration_stretch",
                     static_cast<float>(normal) / static_cast<float>(token.prosody.speed));
    }
  }
}

/// Returns the place of a segment's end in the audio.
std::size_t endOf(const cst_item* segment, int samplingRate) {
  const float seconds = segment == nullptr ? 0 : ffeature_float(segment, "end");
  return static_cast<std::size_t>(std::max(seconds, 0.F) * static_cast<float>(samplingRate));
}

/// Returns the first segment of a word of the text, or null if the word is silent.
const cst_item* firstSegment(const cst_item* token) {
  for (const cst_item* word = item_daughter(token); word != nullptr; word = item_next(word)) {
    const cst_item* const segment =
        path_to_item(word, "R:SylStructure.daughter1.daughter1.R:Segment");
    if (segment != nullptr) {
      return segment;
    }
  }
  return nullptr;
}

FlitePlaces placesIn(const cst_utterance& utterance, int samplingRate) {
  FlitePlaces places;
  const cst_item* const first = relation_head(utt_relation(&utterance, "Segment"));
  const cst_item* const last = relation_tail(utt_relation(&utterance, "Segment"));
  const auto isSilence = [](const cst_item* segment) {
    return segment != nullptr && std::string("pau") == item_feat_string(segment, "name");
  };
  places.speechBegin = isSilence(first) ? endOf(first, samplingRate) : 0;
  places.speechEnd = endOf(isSilence(last) ? item_prev(last) : last, samplingRate);
  for (const cst_item* segment = first; segment != nullptr; segment = item_next(segment)) {
    places.phones.push_back(
        {item_feat_string(segment, "name"), endOf(item_prev(segment), samplingRate)});
  }
  std::size_t place = places.speechBegin;
  for (const cst_item* token = relation_head(utt_relation(&utterance, "Token")); token != nullptr;
       token = item_next(token)) {
    if (const cst_item* const segment = firstSegment(token)) {
      place = std::max(place, endOf(item_prev(segment), samplingRate));
    }
    places.tokens.push_back(place);
  }
  return places;
}

int onAudio(const cst_wave* wave, int start, int size, int /*last*/,
            cst_audio_streaming_info* stream) {
  auto* const listener = static_cast<FliteListener*>(stream->userdata);
  if (start == 0) {
    listener->begin(placesIn(*stream->utt, wave->sample_rate));
  }
  const bool goesOn = listener->take(wave->samples + start, static_cast<std::size_t>(size));
  return goesOn ? CST_AUDIO_STREAM_CONT : CST_AUDIO_STREAM_STOP;
}

/// Returns the statistical model of a voice, or null if it has none.
const cst_cg_db* modelOf(const cst_voice& voice) {
  const cst_val* const model = get_param_val(voice.features, "cg_db", nullptr);
  return model == nullptr ? nullptr : val_cg_db(model);
}

/// Shifts mean and range of the pitch. \param model  gets the utterance's model, and outlives it
void shiftPitch(cst_features* features, const cst_voice& voice, float pitch, cst_cg_db& model) {
  if (pitch == 1) {
    return;
  }
  float range = get_param_float(voice.features, "int_f0_target_stddev", 12);
  if (const cst_cg_db* const own = modelOf(voice)) {
    range = own->f0_stddev;
    model = *own;
    // The model's own melody would ignore the shift.
    model.spamf0 = 0;
    feat_set(features, "cg_db", cg_db_val(&model));
  }
  feat_set_float(features, "f0_shift", pitch);
  feat_set_float(features, "int_f0_target_stddev", range * pitch);
}

void setFeatures(cst_features* features, const cst_voice& voice, float stretch,
                 FliteListener& listener) {
  const float normal = get_param_float(voice.features, "duration_stretch", 1);
  feat_set_float(features, "duration_stretch", normal * stretch);
  cst_audio_streaming_info* const stream = new_audio_streaming_info();
  constexpr int buffersPerSecond = 50;
  stream->min_buffsize = get_param_int(voice.features, "sample_rate", 16000) / buffersPerSecond;
  stream->asc = onAudio;
  stream->userdata = &listener;
  // The utterance frees it.
  feat_set(features, "streaming_info", audio_streaming_info_val(stream));
}

/// Speaks an utterance. Flite ends the process if it cannot go on, unless there is a place to jump
/// to.
/// \return whether the utterance was spoken
bool synthesize(cst_utterance* utterance, cst_voice* voice) {
  std::jmp_buf giveUp;
  cst_errjmp = &giveUp;
  if (setjmp(giveUp) != 0) {  // NOLINT(cert-err52-cpp): the way out that Flite offers
    cst_errjmp = nullptr;
    return false;
  }
  utt_init(utterance, voice);
  const bool isSpoken = utt_synth_tokens(utterance) != nullptr;
  cst_errjmp = nullptr;
  return isSpoken;
}

}  // namespace

FliteLibrary::FliteLibrary() {
  Process& known = process();
  const std::lock_guard<std::mutex> lock(known.lifeMutex);
  if (known.uses == 0) {
    flite_init();
  }
  ++known.uses;
}

FliteLibrary::~FliteLibrary() {
  Process& known = process();
  const std::lock_guard<std::mutex> lock(known.lifeMutex);
  if (--known.uses == 0) {
    for (const auto& [linked, voice] : known.voices) {
      linked->release(voice);
    }
    known.voices.clear();
  }
}

bool FliteLibrary::hasVoice(const std::string& name) const {
  return find(name) != nullptr;
}

int FliteLibrary::samplingRate(const std::string& voice) const {
  return find(voice)->samplingRate;
}

TurnQueue& FliteLibrary::turns() {
  return process().turns;
}

void FliteLibrary::speak(const FlitePhrase& phrase, const FliteVoice& wanted,
                         FliteListener& listener) const {
  cst_voice* const voice = registered(*find(wanted.name));
  cst_cg_db model;
  UtterancePointer utterance(new_utterance());
  addTokens(*utterance, phrase);
  setFeatures(utterance->features, *voice, stretch(phrase.tokens.front(), wanted), listener);
  shiftPitch(utterance->features, *voice, wanted.pitch, model);
  if (!synthesize(utterance.get(), voice)) {
    // Its state is unknown, so nobody frees it.
    static_cast<void>(utterance.release());
    throw KQError(fliteName, "startSynthetizer", "Flite cannot speak the text.", nullptr, 0);
  }
}

}  // namespace KQ::engines
