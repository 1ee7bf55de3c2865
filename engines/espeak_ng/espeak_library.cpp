#include "espeak_ng/espeak_library.hpp"

#include <dlfcn.h>
#include <pthread.h>
#include <sys/auxv.h>

#include <array>
#include <atomic>
#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>
#include <chrono>
#include <clocale>
#include <kq/error.hpp>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <utility>

namespace KQ::engines {

namespace {

/// The length of an audio buffer. Shorter buffers give an earlier first sound and a faster stop.
constexpr int bufferMilliseconds = 20;

/// A voice with a given name or language. The lowest priority wins.
struct KnownVoice {
  std::string file;
  int priority;
};

/// The state of eSpeak NG in this process.
struct Process {
  std::mutex lifeMutex;  ///< held while eSpeak NG is loaded and unloaded
  int uses = 0;          ///< guarded by lifeMutex

  // Set when uses goes from 0 to 1, and then constant until it is 0 again.
  int samplingRate = 0;
  std::map<std::string, KnownVoice> voices;  ///< by name, language and file
  std::set<std::string> variants;

  TurnQueue turns{espeakName};

  /// Whether this process was forked while eSpeak NG was in use. Its thread is the parent's then,
  /// and it waits for that thread wherever it begins or ends.
  std::atomic<bool> isOfParent{false};

  // The current settings of eSpeak NG; empty if unknown. Used by the holder of the turn.
  std::string voiceFile;
  std::optional<EspeakParameters> parameters;
};

Process& process() {
  static Process theProcess;
  return theProcess;
}

void noteFork() {
  if (process().uses > 0) {
    process().isOfParent = true;
  }
}

/// Sees to it that forks are noted from now on.
void watchForks() {
  static const int watched = pthread_atfork(nullptr, nullptr, noteFork);
  static_cast<void>(watched);
}

std::string statusText(espeak_ng_STATUS status) {
  std::array<char, 512> text{};
  espeak_ng_GetStatusCodeMessage(status, text.data(), text.size());
  return text.data();
}

KQError espeakError(const char* method, const std::string& what, espeak_ng_STATUS status) {
  return {espeakName, method, what + ": " + statusText(status), nullptr, 0};
}

/// Restores the process's locale for character types, which eSpeak NG changes when it is loaded.
class LocaleKeeper {
 public:
  LocaleKeeper() : name(std::setlocale(LC_CTYPE, nullptr)) {}
  ~LocaleKeeper() { std::setlocale(LC_CTYPE, name.c_str()); }
  LocaleKeeper(const LocaleKeeper&) = delete;
  LocaleKeeper& operator=(const LocaleKeeper&) = delete;

 private:
  const std::string name;
};

int onBuffer(short* samples, int count, espeak_EVENT* events) {
  auto* const listener = static_cast<EspeakListener*>(events->user_data);
  const bool goesOn =
      listener->take(samples, samples == nullptr ? 0 : static_cast<std::size_t>(count), events);
  return goesOn ? 0 : 1;
}

/// Ends eSpeak NG. Its thread, which serves the asynchronous mode only, must have run a command
/// first: otherwise espeak_ng_Terminate() waits for ever for the end of a command that never began.
/// So this gives it a command.
void unload() {
  espeak_ng_InitializeOutput(static_cast<espeak_ng_OUTPUT_MODE>(0), bufferMilliseconds, nullptr);
  espeak_ng_SetParameter(espeakRATE, espeakRATE_NORMAL, 0);
  while (espeak_IsPlaying() != 0) {
    std::this_thread::sleep_for(std::chrono::microseconds(100));
  }
  espeak_ng_Terminate();
}

/// Keeps eSpeak NG's library in the process for good. It never frees its buffers, but uses them
/// again after it was ended. If it were unmapped, each load would leak them.
void keepLibrary() {
  Dl_info library{};
  if (::dladdr(reinterpret_cast<const void*>(&espeak_ng_Initialize), &library) != 0) {
    ::dlopen(library.dli_fname, RTLD_LAZY | RTLD_NOLOAD);
  }
}

/// Returns the folder of eSpeak NG's own library, which holds its data as well.
std::string libraryFolder() {
  Dl_info library{};
  if (::dladdr(reinterpret_cast<const void*>(&espeak_ng_Initialize), &library) == 0) {
    return "";
  }
  return boost::filesystem::path(library.dli_fname).parent_path().string();
}

/// \throws KQError if the data of eSpeak NG is not there
void requireData() {
  const char* path = nullptr;
  espeak_Info(&path);
  if (boost::filesystem::exists(boost::filesystem::path(path) / "phontab")) {
    return;
  }
  espeak_ng_ERROR_CONTEXT context = nullptr;
  const espeak_ng_STATUS status = espeak_ng_Initialize(&context);
  espeak_ng_ClearErrorContext(&context);
  throw espeakError("initialize", "Cannot load the data of eSpeak NG from " + std::string(path),
                    status);
}

void load() {
  keepLibrary();
  const LocaleKeeper keeper;
  // Without a path, it believes ESPEAK_DATA_PATH and HOME, whoever set them.
  const bool hasRaisedRights = ::getauxval(AT_SECURE) != 0;
  const std::string ownFolder = libraryFolder();
  const char* const folder = hasRaisedRights ? ownFolder.c_str() : nullptr;
  espeak_ng_InitializePath(folder);
  requireData();
  // Only this function switches on the events of phonemes.
  constexpr int options =
      espeakINITIALIZE_PHONEME_EVENTS | espeakINITIALIZE_PHONEME_IPA | espeakINITIALIZE_DONT_EXIT;
  if (espeak_Initialize(AUDIO_OUTPUT_SYNCHRONOUS, bufferMilliseconds, folder, options) < 0) {
    throw KQError(espeakName, "initialize", "Cannot load eSpeak NG", nullptr, 0);
  }
  espeak_SetSynthCallback(onBuffer);
}

void listVoices(Process& known) {
  known.voices.clear();
  const auto add = [&](const std::string& name, const KnownVoice& voice) {
    const auto entry = known.voices.emplace(name, voice).first;
    if (voice.priority < entry->second.priority) {
      entry->second = voice;
    }
  };
  for (const espeak_VOICE* const* voice = espeak_ListVoices(nullptr); *voice != nullptr; ++voice) {
    const std::string file = (*voice)->identifier;
    add(file, {file, 0});
    add((*voice)->name, {file, 0});
    // A byte with the priority precedes each language.
    for (const char* language = (*voice)->languages; *language != '\0';
         language += std::char_traits<char>::length(language) + 1) {
      const int priority = static_cast<unsigned char>(*language++);
      add(language, {file, priority});
    }
  }
}

void listVariants(Process& known) {
  known.variants.clear();
  const char* path = nullptr;
  espeak_Info(&path);
  boost::system::error_code error;
  const boost::filesystem::path folder = boost::filesystem::path(path) / "voices" / "!v";
  for (boost::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    known.variants.insert(entry->path().filename().string());
  }
}

void forgetSettings(Process& known) {
  known.voiceFile.clear();
  known.parameters.reset();
}

/// Sets voice and parameters unless they are set already. The caller holds a turn.
void apply(const EspeakVoice& voice) {
  Process& known = process();
  if (voice.file != known.voiceFile) {
    forgetSettings(known);
    const espeak_ng_STATUS status = espeak_ng_SetVoiceByName(voice.file.c_str());
    if (status != ENS_OK) {
      throw espeakError("startSynthetizer", "Cannot load the voice \"" + voice.file + '"', status);
    }
    known.voiceFile = voice.file;
  }
  const auto set = [&](espeak_PARAMETER parameter, int EspeakParameters::*value) {
    if (!known.parameters || *known.parameters.*value != voice.parameters.*value) {
      espeak_ng_SetParameter(parameter, voice.parameters.*value, 0);
    }
  };
  set(espeakRATE, &EspeakParameters::rate);
  set(espeakPITCH, &EspeakParameters::pitch);
  set(espeakRANGE, &EspeakParameters::range);
  set(espeakVOLUME, &EspeakParameters::volume);
  known.parameters = voice.parameters;
}

}  // namespace

EspeakLibrary::EspeakLibrary() {
  Process& known = process();
  if (known.isOfParent) {
    throw KQError(espeakName, "initialize",
                  "eSpeak NG cannot be used in a process that was forked while it was in use.",
                  nullptr, 0);
  }
  const std::lock_guard<std::mutex> lock(known.lifeMutex);
  if (known.uses == 0) {
    watchForks();
    load();
    known.samplingRate = espeak_ng_GetSampleRate();
    listVoices(known);
    listVariants(known);
    forgetSettings(known);
  }
  ++known.uses;
}

EspeakLibrary::~EspeakLibrary() {
  Process& known = process();
  if (known.isOfParent) {
    return;
  }
  const std::lock_guard<std::mutex> lock(known.lifeMutex);
  if (--known.uses == 0) {
    unload();
  }
}

int EspeakLibrary::samplingRate() const {
  return process().samplingRate;
}

std::string EspeakLibrary::voiceFile(const std::string& name) const {
  const Process& known = process();
  const std::size_t plus = name.find('+');
  const auto voice = known.voices.find(name.substr(0, plus));
  if (voice == known.voices.end()) {
    return "";
  }
  if (plus == std::string::npos) {
    return voice->second.file;
  }
  const bool isVariant = known.variants.count(name.substr(plus + 1)) != 0;
  return isVariant ? voice->second.file + name.substr(plus) : "";
}

TurnQueue& EspeakLibrary::turns() {
  return process().turns;
}

bool EspeakLibrary::speak(const EspeakText& text, const EspeakVoice& voice,
                          EspeakListener& listener) const {
  apply(voice);
  const unsigned int flags = espeakCHARS_UTF8 | espeakENDPAUSE | (text.isMarkup ? espeakSSML : 0U);
  const espeak_ng_STATUS status = espeak_ng_Synthesize(text.text.c_str(), text.text.size() + 1, 0,
                                                       POS_CHARACTER, 0, flags, nullptr, &listener);
  if (status != ENS_OK || text.isMarkup) {
    // Markup that was cut short may leave its parameters in force.
    process().parameters.reset();
  }
  if (text.changesVoice) {
    forgetSettings(process());
  }
  if (status != ENS_OK && status != ENS_SPEECH_STOPPED) {
    throw espeakError("startSynthetizer", "Cannot speak", status);
  }
  return status == ENS_OK;
}

}  // namespace KQ::engines
