#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <kq/speech_callback.hpp>
#include <kqtts/phoneme_callback.hpp>
#include <kqtts/speaker_export.hpp>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>
#include <zu/package_info.hpp>

namespace KQ {

class Utterance;
class SpeakerCore;      // internal
class UtteranceRecord;  // internal

/// How important an utterance is. docs/speaker.md has a table: which priority interrupts, waits for
/// or drops which.
enum class SpeechPriority {
  important,     ///< spoken as soon as possible; only a stop ends it
  message,       ///< spoken after all earlier messages; ends text, notifications and progress
  text,          ///< ends an earlier text, notifications and progress
  notification,  ///< spoken only if no other utterance waits or speaks; a later one ends it
  progress       ///< like notification, but the last one of a series is spoken as a message
};

/// The format of a text.
enum class TextFormat {
  plain,      ///< UTF-8 with inline tags, including `\Lang=NAME\`
  ssml,       ///< SSML 1.1, see docs/ssml.md
  characters  ///< UTF-8; each character is spoken by its name
};

/// The state of an utterance. The last three are final.
enum class UtteranceState {
  waiting,   ///< not begun, or interrupted and to be resumed
  speaking,  ///< its text is being spoken, or it waits for more text
  paused,    ///< begun, and paused by Speaker::pause()
  finished,  ///< all of its text was spoken
  stopped,   ///< ended before the end of its text; UtteranceEnd has the reason
  failed     ///< could not be spoken; Utterance::error() has the reason
};

/// Why an utterance ended.
enum class UtteranceEnd {
  none,         ///< it has not ended
  finished,     ///< all of its text was spoken
  stopped,      ///< Utterance::stop(), Speaker::stopAll() or the end of the speaker
  interrupted,  ///< an utterance of another priority ended or refused it; see the table
  replaced,     ///< a later utterance has the same key
  expired,      ///< its expiry passed before it began
  refused,      ///< the listener refused more audio
  failed        ///< no engine could speak it, an engine failed, or a listener threw
};

/// Where a pause begins.
enum class PausePoint {
  now,      ///< before the next event or audio
  word,     ///< just before the next word
  mark,     ///< just after the next mark was reported
  sentence  ///< before the next sentence
};

/// Options of an utterance. A plain value.
struct SpeechOptions {
  /// A language by name ("French") or by locale ("fr_FR", "fr-FR", "fr"). "" selects the language
  /// of `voice` or, without a voice, the speaker's.
  std::string language;
  std::string voice;  ///< "" is the language's default voice; a voice implies its language
  float rate = 1;     ///< factor of the voice's normal speed, 0.5 to 4
  float pitch = 1;    ///< factor of the voice's normal pitch, 0.5 to 2
  float volume = 1;   ///< factor of the voice's normal level, 0 to 2
  /// Parameters of the speaking engine, by name, for this utterance only. The utterance fails if
  /// the engine does not have one of them.
  std::map<std::string, float> parameters;

  /// Decides what the utterance interrupts and waits for.
  SpeechPriority priority = SpeechPriority::message;
  /// Unless "", ends each earlier utterance that has the same key, even one that speaks.
  std::string key;
  /// The longest time that it waits before it begins; 0 is for ever.
  std::chrono::milliseconds expiry{0};
  /// Whether an utterance of another priority only interrupts it. It then waits in the queue and
  /// resumes at the last word that had begun. Otherwise the interruption ends it.
  bool resumes = false;

  TextFormat format = TextFormat::plain;  ///< the format of the text
  /// Whether text in a script that the language does not use is spoken in a language that uses it.
  bool detectLanguages = true;
  /// For open utterances: how long an incomplete clause waits for more text before it is spoken.
  std::chrono::milliseconds clauseDelay{300};
};

/// The voice that speaks from a position in the text on.
struct SpeechVoice {
  std::string wanted;                ///< the requested language, as it was written
  std::string language;              ///< the chosen language: the same or a related one
  std::string voice;                 ///< its voice
  std::string engine;                ///< the engine's own name
  std::size_t textOffset = 0;        ///< first byte that this voice speaks
  std::uint64_t samplePosition = 0;  ///< samples from the start of the utterance
};

/// Audio of an utterance: mono, 16 bit signed, native byte order.
struct SpeechAudio {
  const std::int16_t* samples;   ///< valid during the call only
  std::size_t count;             ///< number of samples, never 0
  int samplingRate;              ///< in Hz, the same throughout an utterance
  std::uint64_t samplePosition;  ///< samples of the utterance before these
};

/// A mark of the text.
struct SpeechMark {
  std::string_view name;   ///< as written; the number of a `\mrk=N\`; valid during the call only
  std::size_t textOffset;  ///< first byte of the mark in the text
  std::uint64_t samplePosition;  ///< samples from the start of the utterance to the mark
};

/// A shape of the mouth and its duration.
struct SpeechViseme {
  int shape;                     ///< 0 to 21, numbered as in SAPI; 0 is silence
  int face;                      ///< 0 to 14, numbered as in MPEG-4 facial animation; 0 is silence
  std::string_view faceName;     ///< the face's usual name, such as "PP" or "aa"
  std::uint64_t samplePosition;  ///< samples from the start of the utterance
  std::uint64_t sampleCount;     ///< samples that it lasts
};

/// Receives the events of utterances. Derive from it and override the events that you need.
///
/// **Order.** First onStart, then audio, words, marks and sounds, last exactly one onEnd. An
/// utterance that ends before it begins has only its onEnd. A word, mark, phoneme or viseme comes
/// before the audio that has its sample, and each kind in the order of its positions. After an
/// interruption the sample positions continue, and the word at which the utterance resumes is
/// reported again.
///
/// **Positions.** Samples count from the start of the utterance, at its own sampling rate. Offsets
/// count bytes of the given text, all pieces together, including tags and markup.
///
/// **Threads.** One thread of the speaker emits all events, one at a time, and holds no lock: an
/// event may call every operation of the speaker and of every utterance. The speech waits until
/// onAudio returns, so an audio device sets the pace. An exception ends the utterance as failed,
/// and its text becomes the error. An exception from onEnd is only logged.
class KQTTS_SPEAKER_EXPORT SpeechListener {
 public:
  SpeechListener();
  SpeechListener(const SpeechListener&) = delete;
  SpeechListener& operator=(const SpeechListener&) = delete;
  virtual ~SpeechListener();

  /// The utterance begins.
  virtual void onStart(const Utterance& utterance);

  /// Another voice speaks from here on. The first voice of an utterance is reported too. Shows
  /// which language was chosen for the requested one.
  virtual void onVoice(const Utterance& utterance, const SpeechVoice& voice);

  /// Audio, at least one sample.
  /// \return false to end the utterance, as stopped
  virtual bool onAudio(const Utterance& utterance, const SpeechAudio& audio);

  /// A word begins.
  virtual void onWord(const Utterance& utterance, const SpeechWord& word);

  /// A mark is reached.
  virtual void onMark(const Utterance& utterance, const SpeechMark& mark);

  /// A sound begins. Its `sampleCount` is never 0. Called only if wantsPhonemes(), and only by
  /// engines that know their sounds.
  virtual void onPhoneme(const Utterance& utterance, const SpeechPhoneme& phoneme);

  /// The mouth changes its shape. Called after each onPhoneme.
  virtual void onViseme(const Utterance& utterance, const SpeechViseme& viseme);

  /// The speech is paused. A host that plays audio pauses its buffered audio, too.
  virtual void onPause(const Utterance& utterance);

  /// The speech continues after a pause.
  virtual void onResume(const Utterance& utterance);

  /// An utterance of another priority interrupts this one, which waits. When it resumes, onStart is
  /// called again.
  virtual void onInterrupt(const Utterance& utterance);

  /// The utterance has ended, and its state and end are set. This is its last event.
  virtual void onEnd(const Utterance& utterance, UtteranceEnd end);

  /// Whether to report phonemes and visemes. Called once, at the utterance's start.
  virtual bool wantsPhonemes() const;
};

/// A handle to an utterance. Cheap to copy; all copies refer to the same utterance, which does not
/// end when they are destroyed. Every operation may be called from any thread and from any event,
/// even after the speaker is destroyed. The default constructor makes an empty handle: its state is
/// `stopped`, and its operations do nothing.
class KQTTS_SPEAKER_EXPORT Utterance {
 public:
  Utterance();                                 ///< an empty handle
  Utterance(const Utterance&);                 ///< refers to the same utterance
  Utterance(Utterance&&) noexcept;             ///< the source becomes empty
  Utterance& operator=(const Utterance&);      ///< refers to the same utterance
  Utterance& operator=(Utterance&&) noexcept;  ///< the source becomes empty
  ~Utterance();                                ///< does not end the utterance

  /// A number that no other utterance of this speaker has, greater than those of earlier ones; 0
  /// for an empty handle.
  std::uint64_t id() const;

  UtteranceState state() const;  ///< the current state
  UtteranceEnd end() const;      ///< the reason of its end
  std::string error() const;     ///< why it failed, in one line for the user; otherwise ""

  /// The voice that speaks, or that spoke last; empty before the start.
  SpeechVoice voice() const;

  /// Ends the utterance. After this returns, no event of it begins except onEnd, but an event may
  /// still be running in another thread. Does nothing if the utterance has ended.
  void stop() const;

  /// Waits until the utterance has ended and onEnd has returned. Called from an event, it does not
  /// wait.
  /// \return whether the utterance has ended
  bool wait() const;

  /// Like wait(), but waits at most `limit`.
  bool waitFor(std::chrono::milliseconds limit) const;

  /// Whether both refer to the same utterance, or both are empty.
  friend bool operator==(const Utterance& lhs, const Utterance& rhs) {
    return lhs.record == rhs.record;
  }
  /// The opposite.
  friend bool operator!=(const Utterance& lhs, const Utterance& rhs) { return !(lhs == rhs); }

 protected:
  friend class SpeakerCore;
  /// A handle to an utterance of a speaker.
  explicit Utterance(std::shared_ptr<UtteranceRecord> utteranceRecord);

  std::shared_ptr<UtteranceRecord> record;  ///< null for an empty handle
};

/// A handle to an utterance whose text is still being written. Each complete sentence is spoken at
/// once. Destroying the last copy finishes the text.
class KQTTS_SPEAKER_EXPORT OpenUtterance : public Utterance {
 public:
  OpenUtterance();  ///< an empty handle

  /// Adds a piece of text of any size. It may end within a character, a tag or an element.
  /// \return false, without adding anything, after finish() or after the utterance's end
  bool append(std::string_view piece) const;

  /// Ends the text: the rest is spoken. A second call does nothing.
  void finish() const;

 private:
  friend class SpeakerCore;
  explicit OpenUtterance(std::shared_ptr<UtteranceRecord> utteranceRecord);

  std::shared_ptr<void> finisher;  ///< finishes the text when its last copy is destroyed
};

/// A language that an engine speaks.
struct SpokenLanguage {
  std::string name;    ///< "French"
  std::string locale;  ///< "fr_FR"
  std::string engine;  ///< the own name of the engine that speaks it
};

/// A voice of an engine.
struct SpokenVoice {
  std::string name;        ///< "french-female"
  std::string language;    ///< "French"
  std::string engine;      ///< the own name of its engine
  bool isDefault = false;  ///< whether it is its language's default voice
};

/// Settings of a speaker. A plain value.
struct SpeakerSettings {
  /// The installed packages; installedPackages() finds them.
  std::vector<zu::PackageInfo> packages;
  /// Receives the events of utterances without a listener; may be null.
  std::shared_ptr<class SpeechListener> listener;
  /// The language of utterances without one, written as in SpeechOptions; "" is the first language
  /// that the engines choose.
  std::string language;
  /// The sampling rate of all audio in Hz, 8000 to 192000. With 0, each utterance has the rate of
  /// its first engine.
  int samplingRate = 0;
};

/// The folders that are searched for installed packages, in order: those of the environment
/// variable KQTTS_PACKAGE_PATH (separated by colons; ignored in a set-user-id process),
/// share/kqtts/packages beside the folder of the running program, kqtts/packages in the user's and
/// the system's data folders (XDG_DATA_HOME, XDG_DATA_DIRS).
KQTTS_SPEAKER_EXPORT std::vector<std::string> standardPackageFolders();

/// The packages in the standard folders.
KQTTS_SPEAKER_EXPORT std::vector<zu::PackageInfo> installedPackages();

/// The packages in some folders, in the order of the folders and then by name. If a folder has a
/// manifest.xml, it is a package itself. Otherwise each folder in it that has one is a package.
/// Only the first of several packages with the same uuid counts. A package without a uuid is left
/// out with a warning.
KQTTS_SPEAKER_EXPORT std::vector<zu::PackageInfo> packagesIn(
    const std::vector<std::string>& folders);

/// Speaks texts one after the other, for hosts that want speech and not engines.
///
/// Each text becomes an utterance with a handle, and waits in a queue with priorities. A thread of
/// the speaker speaks all utterances through its own manager, whatever their languages and engines
/// are.
///
/// **Threads.** Every operation may be called from any thread and from any event. None waits for
/// speech unless its description says so.
///
/// **Errors.** No operation throws unless its description says so. A text that cannot be spoken
/// becomes a failed utterance.
class KQTTS_SPEAKER_EXPORT Speaker {
 public:
  /// Loads the engines. If there are none, each utterance fails with that error, until a reload().
  explicit Speaker(SpeakerSettings settings);

  /// Ends all utterances and calls onEnd for each. Takes at most 100 ms, or until a running event
  /// has returned. An engine that does not react in that time is abandoned, and its later events
  /// are ignored. May be called from an event; then only the calls of onEnd follow that event.
  ~Speaker();

  Speaker(const Speaker&) = delete;
  Speaker& operator=(const Speaker&) = delete;

  /// \name Speaking
  /// @{

  /// Adds an utterance to the queue.
  /// \param text      in the format of the options; bytes that are not UTF-8 count as blanks
  /// \param options   copied; a value out of range counts as the nearest in range
  /// \param listener  receives the events instead of the speaker's listener; kept until onEnd has
  ///                  returned
  Utterance speak(std::string text, const SpeechOptions& options = {},
                  std::shared_ptr<SpeechListener> listener = nullptr);

  /// Like speak(), for a text that comes in pieces. When its turn comes, the utterance begins, and
  /// it keeps the turn while it waits for text.
  OpenUtterance open(const SpeechOptions& options = {},
                     std::shared_ptr<SpeechListener> listener = nullptr);

  /// @}
  /// \name Control
  /// @{

  /// Ends the current utterance and all that wait.
  void stopAll();

  /// Ends the current utterance, even a paused one. The utterances that wait stay in the queue.
  void stopCurrent();

  /// Pauses the speech until resume(), including utterances that are added later. Takes effect at
  /// `point`. After several calls, the earliest point counts.
  void pause(PausePoint point = PausePoint::now);

  /// Continues the speech where it was paused.
  void resume();

  /// Whether the speech is paused, or will be at the point given to pause().
  bool isPaused() const;

  /// The utterance that is speaking or paused; an empty handle if there is none.
  Utterance current() const;

  /// The number of utterances that wait.
  std::size_t waiting() const;

  /// Waits, at most `limit`, until no utterance speaks or waits. Called from an event, it does not
  /// wait.
  /// \return whether no utterance speaks or waits
  bool waitUntilSilent(std::chrono::milliseconds limit) const;

  /// @}
  /// \name Engines, languages, voices
  /// @{

  /// Loads the engines again, with these packages, after the current sentence. Waits until they are
  /// loaded, unless it is called from an event. Waiting utterances, a pause and the speaker's
  /// language do not change.
  /// \return whether an engine can be used; in an event, whether one could be used before the call
  bool reload(std::vector<zu::PackageInfo> packages);

  /// Whether an engine can be used.
  bool isReady() const;

  /// All languages, each once, in the order of the engines.
  std::vector<SpokenLanguage> languages() const;

  /// All voices, sorted by name.
  std::vector<SpokenVoice> voices() const;

  /// The names of the parameters of the engine that speaks a language, which is written as in
  /// SpeechOptions. Empty if no engine speaks it.
  std::vector<std::string> parameters(const std::string& language) const;

  /// Sets the language of utterances without one. Applies from the next utterance that begins.
  /// \return false, without a change, if no engine speaks it
  bool setLanguage(const std::string& language);

  /// The name of the language of utterances without one.
  std::string language() const;

  /// @}

 private:
  std::shared_ptr<SpeakerCore> core;
};

}  // namespace KQ
