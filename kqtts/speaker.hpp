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
class SpeakerCore;      // the library's own
class UtteranceRecord;  // the library's own

/// How much an utterance matters. docs/speaker.md has the table of what interrupts, waits for or
/// drops what.
enum class SpeechPriority {
  important,     ///< spoken as soon as possible; nothing ends it but a stop
  message,       ///< spoken when no earlier message is left; ends text, notifications and progress
  text,          ///< ends an earlier text, notifications and progress
  notification,  ///< spoken only if nothing else waits or is spoken; a later one ends it
  progress       ///< as a notification, but the last one of a series is spoken as a message
};

/// How the bytes of a text are read.
enum class TextFormat {
  plain,      ///< UTF-8 with inline tags, `\Lang=NAME\` among them
  ssml,       ///< SSML 1.1, see docs/ssml.md
  characters  ///< UTF-8; each character is named, as when spelling
};

/// Where an utterance is. The last three are ends: they never change again.
enum class UtteranceState {
  waiting,   ///< not begun, or interrupted and to be resumed
  speaking,  ///< its text is being spoken, or it waits for more text
  paused,    ///< begun, and held by Speaker::pause()
  finished,  ///< all of its text was spoken
  stopped,   ///< ended before its text did; UtteranceEnd says by what
  failed     ///< could not be spoken; Utterance::error() says why
};

/// Why an utterance ended.
enum class UtteranceEnd {
  none,         ///< it has not ended
  finished,     ///< all of its text was spoken
  stopped,      ///< Utterance::stop(), Speaker::stopAll() or the end of the speaker
  interrupted,  ///< one of another priority took its place, or it was not let in; see the table
  replaced,     ///< one with the same key came
  expired,      ///< its time was over before it began
  refused,      ///< the listener wanted no more audio
  failed        ///< no engine could speak it, an engine gave up, or a listener threw
};

/// Where a pause begins.
enum class PausePoint {
  now,      ///< before the next event or audio
  word,     ///< just before the next word
  mark,     ///< just after the next mark was reported
  sentence  ///< before the next sentence
};

/// How an utterance is to be spoken. A plain value.
struct SpeechOptions {
  /// A language by name ("French") or by locale ("fr_FR", "fr-FR", "fr"); "" is that of `voice`, or
  /// the speaker's.
  std::string language;
  std::string voice;  ///< "" is the language's default voice; a voice brings its language
  float rate = 1;     ///< factor to the voice's normal speed, 0.5 to 4
  float pitch = 1;    ///< factor to the voice's normal pitch, 0.5 to 2
  float volume = 1;   ///< factor to the voice's normal level, 0 to 2
  /// Parameters of the engine that speaks, by name; one that it does not take fails the utterance.
  /// They hold for this utterance alone.
  std::map<std::string, float> parameters;

  /// What it interrupts and waits for.
  SpeechPriority priority = SpeechPriority::message;
  /// Unless "": ends each earlier utterance with this key, waiting or begun.
  std::string key;
  /// How long it may wait for its beginning; 0 is for ever.
  std::chrono::milliseconds expiry{0};
  /// Whether it goes back to the queue when one of another priority interrupts it, to be resumed at
  /// the last word that was begun; otherwise it ends then.
  bool resumes = false;

  TextFormat format = TextFormat::plain;  ///< how the text is read
  /// Whether runs of a script that the language is not written in are spoken in a language that is.
  bool detectLanguages = true;
  /// In an utterance whose text is still being written: how long a clause that has no end yet waits
  /// for more before it is spoken as it is.
  std::chrono::milliseconds clauseDelay{300};
};

/// What speaks, from a place of the text on.
struct SpeechVoice {
  std::string wanted;                ///< the language that was asked for, as it was written
  std::string language;              ///< the language that is taken; a related one, or the same
  std::string voice;                 ///< its voice
  std::string engine;                ///< the engine's own name
  std::size_t textOffset = 0;        ///< first byte that is spoken so
  std::uint64_t samplePosition = 0;  ///< samples from the start of the utterance
};

/// Audio of an utterance: mono, 16 bit signed, native byte order.
struct SpeechAudio {
  const std::int16_t* samples;   ///< valid during the call only
  std::size_t count;             ///< number of samples, not 0
  int samplingRate;              ///< in Hz, the same throughout an utterance
  std::uint64_t samplePosition;  ///< samples of the utterance that came before
};

/// A mark of the text.
struct SpeechMark {
  std::string_view name;   ///< as written; of `\mrk=N\` the number; valid during the call only
  std::size_t textOffset;  ///< first byte of the mark in the text
  std::uint64_t samplePosition;  ///< samples from the start of the utterance to the mark
};

/// A shape of the mouth, held for a time.
struct SpeechViseme {
  int shape;                  ///< 0 to 21, as SAPI counts them; 0 is silence
  int face;                   ///< 0 to 14, as MPEG-4's facial animation counts them; 0 is silence
  std::string_view faceName;  ///< the face's usual name, such as "PP" or "aa"
  std::uint64_t samplePosition;  ///< samples from the start of the utterance
  std::uint64_t sampleCount;     ///< how long it lasts
};

/// What happens to an utterance. Derive, and override what you want to hear.
///
/// **Order.** onStart, then audio, words, marks and sounds, then exactly one onEnd. An utterance that
/// ends before it began has its onEnd alone. A word, mark, phoneme or viseme comes before the audio
/// that holds its sample, and each kind in the order of its positions. An utterance that was
/// interrupted and is resumed goes on counting samples; the word that it is resumed at comes again.
///
/// **Positions.** Samples count from the start of the utterance at its own sampling rate. Offsets
/// count bytes of the text that was handed over, all pieces together, tags and markup included.
///
/// **Threads.** All events of a speaker come from one thread of its own, one at a time, with no lock
/// held: an event may call every operation of the speaker and of every utterance. The time that
/// onAudio takes holds the speech, so an audio device sets the pace. An exception ends the utterance
/// as failed, with its text as the error; one from onEnd is logged.
class KQTTS_SPEAKER_EXPORT SpeechListener {
 public:
  SpeechListener();
  SpeechListener(const SpeechListener&) = delete;
  SpeechListener& operator=(const SpeechListener&) = delete;
  virtual ~SpeechListener();

  /// The utterance begins.
  virtual void onStart(const Utterance& utterance);

  /// From here on another voice speaks; the first one is reported too. Shows which language was
  /// taken for the one that was asked for.
  virtual void onVoice(const Utterance& utterance, const SpeechVoice& voice);

  /// Audio; never called with none.
  /// \return false for "no more": the utterance ends as stopped
  virtual bool onAudio(const Utterance& utterance, const SpeechAudio& audio);

  /// A word begins.
  virtual void onWord(const Utterance& utterance, const SpeechWord& word);

  /// A mark is reached.
  virtual void onMark(const Utterance& utterance, const SpeechMark& mark);

  /// A sound begins; its `sampleCount` is always known. Only from engines that know their sounds,
  /// and only if wantsPhonemes().
  virtual void onPhoneme(const Utterance& utterance, const SpeechPhoneme& phoneme);

  /// The mouth takes another shape. One comes with each phoneme, after it.
  virtual void onViseme(const Utterance& utterance, const SpeechViseme& viseme);

  /// The speech is held. A host that plays audio holds what it has buffered, too.
  virtual void onPause(const Utterance& utterance);

  /// The speech goes on after a pause.
  virtual void onResume(const Utterance& utterance);

  /// One of another priority took its place; it waits to be resumed, with another onStart.
  virtual void onInterrupt(const Utterance& utterance);

  /// The utterance is over; nothing more comes of it. Its state and end are set.
  virtual void onEnd(const Utterance& utterance, UtteranceEnd end);

  /// Whether to report phonemes and visemes. Asked once, at the utterance's start.
  virtual bool wantsPhonemes() const;
};

/// A handle to something that is to be said. Cheap to copy; all copies are one utterance, which
/// lives on without them. Every operation may be called from every thread and from every event, also
/// after the speaker is gone. A handle made by the default constructor stands for nothing: its state
/// is `stopped`, and operations do nothing.
class KQTTS_SPEAKER_EXPORT Utterance {
 public:
  Utterance();                                 ///< stands for nothing
  Utterance(const Utterance&);                 ///< the same utterance
  Utterance(Utterance&&) noexcept;             ///< the source stands for nothing
  Utterance& operator=(const Utterance&);      ///< the same utterance
  Utterance& operator=(Utterance&&) noexcept;  ///< the source stands for nothing
  ~Utterance();                                ///< the utterance itself goes on

  /// A number that no other utterance of this speaker has, greater than those of earlier ones; 0 of
  /// a handle that stands for nothing.
  std::uint64_t id() const;

  UtteranceState state() const;  ///< where it is now
  UtteranceEnd end() const;      ///< why it ended
  std::string error() const;     ///< why it failed, in one line for the user; otherwise ""

  /// What speaks, or spoke last; empty before the start.
  SpeechVoice voice() const;

  /// Ends it. Once this returns, no event of it begins any more but onEnd; one that is under way in
  /// another thread may still run. Does nothing when it has ended.
  void stop() const;

  /// Waits for the end, onEnd included, unless called from an event, where it does not wait.
  /// \return whether it has ended
  bool wait() const;

  /// As wait(), for so long at most.
  bool waitFor(std::chrono::milliseconds limit) const;

  /// Whether both stand for the same utterance, or both for nothing.
  friend bool operator==(const Utterance& lhs, const Utterance& rhs) {
    return lhs.record == rhs.record;
  }
  /// The opposite.
  friend bool operator!=(const Utterance& lhs, const Utterance& rhs) { return !(lhs == rhs); }

 protected:
  friend class SpeakerCore;
  /// A handle to what the speaker made.
  explicit Utterance(std::shared_ptr<UtteranceRecord> utteranceRecord);

  std::shared_ptr<UtteranceRecord> record;  ///< null of a handle that stands for nothing
};

/// A handle to an utterance whose text is still being written. What is complete is spoken at once, a
/// sentence at a time. When the last copy is gone, the text is finished.
class KQTTS_SPEAKER_EXPORT OpenUtterance : public Utterance {
 public:
  OpenUtterance();  ///< stands for nothing

  /// Adds a piece of text, of any size: it may end within a character, a tag or an element.
  /// \return false, and nothing is added, after finish() and when the utterance has ended
  bool append(std::string_view piece) const;

  /// There is no more text: what is left is spoken. Called again, it does nothing.
  void finish() const;

 private:
  friend class SpeakerCore;
  explicit OpenUtterance(std::shared_ptr<UtteranceRecord> utteranceRecord);

  std::shared_ptr<void> finisher;  ///< finishes the text when its last copy goes
};

/// A language that can be spoken.
struct SpokenLanguage {
  std::string name;    ///< "French"
  std::string locale;  ///< "fr_FR"
  std::string engine;  ///< the own name of the engine that speaks it
};

/// A voice that can be spoken with.
struct SpokenVoice {
  std::string name;        ///< "french-female"
  std::string language;    ///< "French"
  std::string engine;      ///< the own name of its engine
  bool isDefault = false;  ///< whether its language begins with it
};

/// What a speaker is made of. A plain value.
struct SpeakerSettings {
  /// The installed packages; installedPackages() finds them.
  std::vector<zu::PackageInfo> packages;
  /// What hears of utterances that have no listener of their own; may be null.
  std::shared_ptr<class SpeechListener> listener;
  /// The language of utterances that name none, as in SpeechOptions; "" is that which the engines
  /// begin with.
  std::string language;
  /// Of all audio, in Hz, 8000 to 192000; 0 is, for each utterance, that of its first engine.
  int samplingRate = 0;
  /// Where the files lie that SSML's `audio` may play; "" for none. A file elsewhere is not opened.
  std::string audioFolder;
};

/// The folders that hold installed packages, in order: those of the environment variable
/// KQTTS_PACKAGE_PATH (separated by colons; ignored in a set-user-id process), share/kqtts/packages
/// beside the folder of the running program, kqtts/packages in the user's and the system's data
/// folders (XDG_DATA_HOME, XDG_DATA_DIRS).
KQTTS_SPEAKER_EXPORT std::vector<std::string> standardPackageFolders();

/// The packages in the standard folders.
KQTTS_SPEAKER_EXPORT std::vector<zu::PackageInfo> installedPackages();

/// The packages in some folders, in the order of the folders and then by name. A folder is a package
/// itself when it holds a manifest.xml, else each folder in it that does. Of packages with one uuid
/// the first is taken; one without a uuid is left out with a warning.
KQTTS_SPEAKER_EXPORT std::vector<zu::PackageInfo> packagesIn(
    const std::vector<std::string>& folders);

/// Says things, one after the other: the way for a host that wants speech and not engines.
///
/// Each text becomes an utterance with a handle and waits in a queue with priorities. One thread of
/// the speaker speaks them through a manager of its own, whatever their languages and engines are.
///
/// **Threads.** Every operation may be called from every thread and from every event; none waits for
/// speech, except where it says so.
///
/// **Errors.** No operation throws but where it says so. What cannot be spoken is an utterance that
/// failed.
class KQTTS_SPEAKER_EXPORT Speaker {
 public:
  /// Loads the engines. Where there are none, each utterance fails and says so, until a reload().
  explicit Speaker(SpeakerSettings settings);

  /// Ends everything, with the onEnd of each utterance, within 100 ms unless an event takes longer,
  /// whose return is awaited. An engine that does not react in that time is left to itself, and
  /// nothing more is heard of it. May be called from an event: nothing follows that event then but
  /// the ends.
  ~Speaker();

  Speaker(const Speaker&) = delete;
  Speaker& operator=(const Speaker&) = delete;

  /// \name Saying things
  /// @{

  /// Adds an utterance to the queue.
  /// \param text      in the format of the options; what is not UTF-8 counts as blanks
  /// \param options   taken over; a value out of range counts as the nearest in range
  /// \param listener  hears of it in place of the speaker's; kept until after onEnd
  Utterance speak(std::string text, const SpeechOptions& options = {},
                  std::shared_ptr<SpeechListener> listener = nullptr);

  /// As speak(), of a text that comes in pieces. When its turn comes it begins, and holds the turn
  /// while it waits for text.
  OpenUtterance open(const SpeechOptions& options = {},
                     std::shared_ptr<SpeechListener> listener = nullptr);

  /// @}
  /// \name Control
  /// @{

  /// Ends what is spoken and all that waits.
  void stopAll();

  /// Ends what is spoken, or held by a pause; what waits goes on.
  void stopCurrent();

  /// Holds the speech, also what is added later, until resume(). It takes effect before the next
  /// event or audio, or at the point given. Called again, an earlier point counts.
  void pause(PausePoint point = PausePoint::now);

  /// Lets the speech go on where it was held.
  void resume();

  /// Whether the speech is held, or will be at the point that pause() named.
  bool isPaused() const;

  /// What is spoken or held by a pause; stands for nothing when nothing is.
  Utterance current() const;

  /// How many utterances wait.
  std::size_t waiting() const;

  /// Waits until nothing is spoken and nothing waits; from an event it does not wait.
  /// \return whether that is so
  bool waitUntilSilent(std::chrono::milliseconds limit) const;

  /// @}
  /// \name Engines, languages, voices
  /// @{

  /// Loads the engines anew, with these packages, when the sentence that is spoken is over, and waits
  /// for that; from an event it does not wait. What waits, a pause and the speaker's language stay.
  /// \return whether an engine can be used now; from an event, whether one could be before
  bool reload(std::vector<zu::PackageInfo> packages);

  /// Whether an engine can be used.
  bool isReady() const;

  /// The languages, each once, in the order of the engines.
  std::vector<SpokenLanguage> languages() const;

  /// The voices, by name.
  std::vector<SpokenVoice> voices() const;

  /// The names of the parameters of the engine that speaks a language, given as in SpeechOptions;
  /// none of a language that is not spoken.
  std::vector<std::string> parameters(const std::string& language) const;

  /// Chooses the language of utterances that name none, from the next one that begins on.
  /// \return false, and nothing has changed, when no engine speaks it
  bool setLanguage(const std::string& language);

  /// The name of the language of utterances that name none.
  std::string language() const;

  /// @}

 private:
  std::shared_ptr<SpeakerCore> core;
};

}  // namespace KQ
