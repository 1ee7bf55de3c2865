#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <boost/algorithm/string/join.hpp>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <kq/error.hpp>
#include <kqtts/texttospeech_manager.hpp>
#include <memory>

#include "app/command.hpp"
#include "app/shared_options.hpp"
#include "say/audio_format.hpp"
#include "say/audio_sink.hpp"
#include "say/event_writer.hpp"
#include "say/guarded_sink.hpp"
#include "say/host_session.hpp"
#include "say/progress_line.hpp"
#include "say/sentence_reader.hpp"
#include "say/speech_output.hpp"
#include "system/failure.hpp"
#include "system/file_descriptor.hpp"
#include "system/signal_watch.hpp"
#include "text/number.hpp"
#include "text/utf8.hpp"

namespace tool {

namespace {

constexpr const char* standardOutputName = "-";

/// How long a sink may keep the program from its end after a signal.
constexpr std::chrono::milliseconds sinkPatience(100);

/// More than a command line holds. The parser takes an option without a limit as a list, and then a
/// word in square brackets as another.
constexpr int maxWords = 1 << 24;

struct SayOptions {
  HostOptions host;
  VoiceChoice voice;
  std::vector<std::string> parameters;  ///< NAME=VALUE
  std::string rate;                     ///< percent, or ""
  std::string volume;                   ///< percent, or ""
  AudioDestination audio;
  std::string events;
  std::string file;                ///< that holds the text, or ""
  std::vector<std::string> words;  ///< the text, unless it comes from standard input
};

struct Parameter {
  std::string name;
  float value;
};

Parameter parseParameter(const std::string& written) {
  const std::size_t equals = written.find('=');
  const std::optional<float> value =
      equals == std::string::npos ? std::nullopt
                                  : parseNumber(std::string_view(written).substr(equals + 1));
  if (equals == 0 || !value) {
    throw UsageError("'" + written + "' is no parameter", "write NAME=NUMBER, as in -p speed=80");
  }
  return {written.substr(0, equals), *value};
}

float parsePercent(const std::string& written, const char* option) {
  const std::optional<float> percent = parseNumber(written);
  if (!percent) {
    throw UsageError("'" + written + "' is no number",
                     std::string("write ") + option + " 80 for 80 percent");
  }
  return *percent;
}

std::vector<Parameter> parseParameters(const SayOptions& options) {
  std::vector<Parameter> parameters;
  for (const std::string& text : options.parameters) {
    parameters.push_back(parseParameter(text));
  }
  if (!options.rate.empty()) {
    parameters.push_back({"speed", parsePercent(options.rate, "--rate")});
  }
  if (!options.volume.empty()) {
    parameters.push_back({"voiceLevel", parsePercent(options.volume, "--volume") / 100});
  }
  return parameters;
}

/// Whether a word of the text was probably meant as one more parameter.
bool looksLikeParameter(const std::string& word) {
  const std::size_t equals = word.find('=');
  return equals != 0 && equals != std::string::npos &&
         parseNumber(std::string_view(word).substr(equals + 1)).has_value();
}

/// Refuses usage that would do something else than what it looks like.
void check(const SayOptions& options) {
  if (options.audio.output == standardOutputName && options.events == standardOutputName) {
    throw UsageError("audio and events cannot both go to standard output", "write one to a file");
  }
  if (!options.file.empty() && !options.words.empty()) {
    throw UsageError("there are two texts, the words and the file " + options.file,
                     "give only one of them");
  }
  if (!options.audio.format.empty() && options.audio.output.empty()) {
    throw UsageError("--format is for a file, but the audio is played", "name a file with -o");
  }
  const bool severalParameters = !options.parameters.empty() && !options.words.empty() &&
                                 looksLikeParameter(options.words.front());
  if (severalParameters) {
    throw UsageError("'" + options.words.front() + "' would be spoken",
                     "write -p before each parameter");
  }
}

/// Where the text comes from, if it is not on the command line.
class TextInput {
 public:
  /// \param name  a file's path, "-" or "" for standard input
  explicit TextInput(const std::string& name) {
    if (name.empty() || name == standardOutputName) {
      fd = STDIN_FILENO;
      return;
    }
    file = FileDescriptor(open(name.c_str(), O_RDONLY | O_CLOEXEC));
    fd = file.get();
    if (fd < 0) {
      throw Failure("cannot read " + name + ": " + std::strerror(errno), "name another file");
    }
  }

  int descriptor() const { return fd; }

  /// How much there is to read; 0 if that is not known.
  std::uint64_t size() const {
    struct stat status {};
    const off_t position = lseek(fd, 0, SEEK_CUR);
    const bool isFile = fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
    return isFile && position >= 0 && status.st_size > position
               ? static_cast<std::uint64_t>(status.st_size - position)
               : 0;
  }

  bool isTerminal() const { return isatty(fd) == 1; }

 private:
  FileDescriptor file;
  int fd = -1;
};

void setParameters(KQ::TextToSpeechManager& manager, const std::vector<Parameter>& parameters) {
  for (const Parameter& parameter : parameters) {
    try {
      manager.setParameter(parameter.name, parameter.value);
    } catch (const KQError& error) {
      throw Failure("cannot set the parameter " + parameter.name + ": " + error.getDescription(),
                    "'kqtts list parameters' shows what there is");
    }
  }
}

/// Speaks with a manager and a sink until the text is over or the user stops it.
class Speaker {
 public:
  Speaker(KQ::TextToSpeechManager& ttsManager, SpeechOutput& speechOutput,
          const StopRequest& stopRequest)
      : manager(ttsManager), output(speechOutput), stop(stopRequest) {}

  void speak(const Sentence& sentence) {
    if (stop.made()) {
      return;
    }
    output.expect(sentence, manager.getCurrentSamplingRate());
    try {
      manager.startSynthetizer(sentence.text);
    } catch (const KQError& error) {
      if (!stop.made()) {
        throw Failure(error.getDescription(), "try another voice or text");
      }
    }
    output.requireSpoken();
  }

  void speakArguments(const std::vector<std::string>& words) {
    Sentence whole{boost::algorithm::join(words, " "), 0};
    foreignBytes = makeSpeakable(whole.text);
    if (!isBlank(whole.text)) {
      speak(whole);
    }
  }

  /// \param locale  of the language that is spoken
  void speakInput(const TextInput& input, const std::string& locale) {
    DescriptorTextSource source(input.descriptor(), stop);
    SentenceReader reader(source, locale);
    ProgressLine progress(input.size());
    if (input.isTerminal()) {
      std::cerr << "kqtts: type the text; Control-D on an empty line ends it\n";
    }
    while (const std::optional<Sentence> sentence = reader.next()) {
      if (stop.made()) {
        break;
      }
      progress.show(sentence->text, sentence->offset);
      speak(*sentence);
    }
    foreignBytes = reader.sawForeignBytes();
  }

  /// Whether the text held bytes that are not UTF-8.
  bool sawForeignBytes() const { return foreignBytes; }

 private:
  KQ::TextToSpeechManager& manager;
  SpeechOutput& output;
  const StopRequest& stop;
  bool foreignBytes = false;
};

int say(const SayOptions& options, const StandardOutput& standardOutput) {
  check(options);
  const std::vector<Parameter> parameters = parseParameters(options);
  const TextInput input(options.file);
  StopRequest stop;
  SignalWatch signals(stop);
  GuardedSink sink(openAudioSink(options.audio, standardOutput, stop));
  const SignalWatch::LastResort completeFile(signals, [&sink] { sink.abandon(sinkPatience); });
  std::unique_ptr<EventWriter> events;
  if (!options.events.empty()) {
    events = std::make_unique<EventWriter>(options.events, standardOutput);
  }
  SpeechOutput output(sink, events.get(), stop);
  HostSession session(options.host, &output);
  KQ::TextToSpeechManager& manager = session.manager();
  const SignalWatch::Action stopSpeech(signals, [&manager] {
    try {
      manager.stopSynthetizer();
    } catch (const std::exception&) {
      // Nothing is being spoken yet, or not any more; a sink that wants no more audio ends the
      // rest.
    }
  });
  session.choose(options.voice);
  setParameters(manager, parameters);

  Speaker speaker(manager, output, stop);
  if (options.words.empty()) {
    speaker.speakInput(input, session.localeOf(manager.getCurrentLanguage()));
  } else {
    speaker.speakArguments(options.words);
  }
  const int samplingRate = manager.getCurrentSamplingRate();
  if (stop.made()) {
    sink.cutShort(samplingRate);
    return 128 + stop.signal();
  }
  sink.finish(samplingRate);
  if (speaker.sawForeignBytes()) {
    std::cerr << "kqtts: note: the text is not all UTF-8; the other bytes were left out; if it is "
                 "Latin-1, convert it: iconv -f latin1 -t utf8 FILE | kqtts say\n";
  }
  return done;
}

CommandAction addSayCommand(CLI::App& parser) {
  const auto options = std::make_shared<SayOptions>();
  addVoiceOptions(parser, options->voice);
  parser
      .add_option("-p,--parameter", options->parameters,
                  "Set a parameter, as 'kqtts list parameters' names it; repeatable")
      ->option_text("NAME=VALUE")
      ->allow_extra_args(false);
  parser.add_option("-r,--rate", options->rate, "Set the speed (-p speed=PERCENT)")
      ->option_text("PERCENT");
  parser.add_option("-a,--volume", options->volume, "Set the loudness (-p voiceLevel=PERCENT/100)")
      ->option_text("PERCENT");
  parser
      .add_option("-o,--output", options->audio.output,
                  "Write a file in place of playing, in the format that its ending names; '-' is "
                  "standard output")
      ->option_text("FILE")
      ->check(CLI::Validator([](std::string& name) { return name.empty() ? "no name" : ""; }, ""));
  parser
      .add_option("--format", options->audio.format,
                  "The file's format, whatever its ending; wav and raw can go to a pipe")
      ->option_text("{" + boost::algorithm::join(audioFormatNames(), ",") + "}")
      ->check(CLI::IsMember(audioFormatNames()));
  parser.add_option("--events", options->events, "Write words and marks as JSON lines ('-' too)")
      ->option_text("FILE");
  parser.add_option("-f,--file", options->file, "Speak the text in a file ('-': standard input)")
      ->option_text("FILE");
  addHostOptions(parser, options->host);
  CLI::Option* text = parser.add_option("TEXT")
                          ->description("What to say; standard input when not given")
                          ->option_text("...")
                          ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
                          ->expected(maxWords, -1);
  return [options, text](StandardOutput& standardOutput) {
    options->words = text->results();
    return say(*options, standardOutput);
  };
}

const CommandRegistration sayRegistration("say", {"Speak a text", addSayCommand});

}  // namespace

}  // namespace tool
