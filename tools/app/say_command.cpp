#include <unistd.h>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <boost/algorithm/string/join.hpp>
#include <iostream>
#include <kq/error.hpp>
#include <kqtts/texttospeech_manager.hpp>
#include <memory>

#include "app/command.hpp"
#include "app/shared_options.hpp"
#include "say/audio_sink.hpp"
#include "say/event_writer.hpp"
#include "say/guarded_sink.hpp"
#include "say/host_session.hpp"
#include "say/progress_line.hpp"
#include "say/sentence_reader.hpp"
#include "say/speech_output.hpp"
#include "system/failure.hpp"
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
  std::string output;
  std::string events;
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

std::vector<Parameter> parseParameters(const std::vector<std::string>& written) {
  std::vector<Parameter> parameters;
  parameters.reserve(written.size());
  for (const std::string& text : written) {
    parameters.push_back(parseParameter(text));
  }
  return parameters;
}

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
  void speakStandardInput(const std::string& locale) {
    DescriptorTextSource source(STDIN_FILENO, stop);
    SentenceReader reader(source, locale);
    ProgressLine progress;
    while (const std::optional<Sentence> sentence = reader.next()) {
      if (stop.made()) {
        break;
      }
      progress.show(sentence->text);
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
  if (options.output == standardOutputName && options.events == standardOutputName) {
    throw UsageError("audio and events cannot both go to standard output", "write one to a file");
  }
  const std::vector<Parameter> parameters = parseParameters(options.parameters);
  StopRequest stop;
  SignalWatch signals(stop);
  GuardedSink sink(openAudioSink(options.output, standardOutput, stop));
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
    speaker.speakStandardInput(session.localeOf(manager.getCurrentLanguage()));
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
    std::cerr << "kqtts: note: the text is not all UTF-8; the other bytes were left out\n";
  }
  return done;
}

CommandAction addSayCommand(CLI::App& parser) {
  const auto options = std::make_shared<SayOptions>();
  addVoiceOptions(parser, options->voice);
  parser
      .add_option("-p,--parameter", options->parameters,
                  "Set a parameter, as 'kqtts list parameters' names it")
      ->option_text("NAME=VALUE ...")
      ->allow_extra_args(false);
  parser
      .add_option("-o,--output", options->output,
                  "Write a WAV file ('-': standard output) in place of playing")
      ->option_text("FILE.wav")
      ->check(CLI::Validator([](std::string& name) { return name.empty() ? "no name" : ""; }, ""));
  parser.add_option("--events", options->events, "Write words and marks as JSON lines ('-' too)")
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
