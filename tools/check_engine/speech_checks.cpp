#include <algorithm>

#include "check_engine/checks.hpp"
#include "check_engine/trial_engine.hpp"

namespace tool {

namespace {

using Kind = SpeechEvent::Kind;

std::size_t countOf(const SpeechEvents& events, Kind kind) {
  return static_cast<std::size_t>(std::count_if(
      events.begin(), events.end(), [&](const SpeechEvent& event) { return event.kind == kind; }));
}

/// The exception of a host that cannot go on.
struct HostFailure : std::runtime_error {
  HostFailure() : std::runtime_error("the host cannot take the audio") {}
};

void expectEnd(const Examination& exam, const SpeechEvents& events, SpeechEnd wanted,
               const std::string& otherwise) {
  if (events.empty() || events.back().kind != Kind::end) {
    return;  // another check reports this
  }
  exam.expect(events.back().how == wanted, otherwise);
}

}  // namespace

void checkSpeech(const Examination& exam) {
  TrialEngine engine(exam);
  engine.initializeToSpeak();
  const std::string text = "1 2 \\mrk=7\\ 3.";
  const SpeechEvents events = engine.speak("speaking", text);
  expectEnd(exam, events, SpeechEnd::finished,
            "onEnd did not say \"finished\", though nothing cut the text short");

  // What comes late comes from a thread of the engine's own.
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  const SpeechEvents all = engine.recorder().events();
  exam.expect(all.size() == events.size(),
              "events came from another thread than the one that called startSynthetizer(), or "
              "after it returned");

  if (countOf(events, Kind::audio) == 0) {
    exam.note("the engine gives no audio");
  }
  if (countOf(events, Kind::word) == 0) {
    exam.note("the engine tells of no words");
  }
  if (countOf(events, Kind::mark) == 0) {
    exam.note("the engine tells of no marks");
  }
  exam.expect(countOf(events, Kind::mark) <= 1, "one mark was told more than once");
  engine.speakWhole("a second utterance");
}

void checkEveryVoice(const Examination& exam) {
  TrialEngine engine(exam);
  engine.initializeToSpeak();
  const std::vector<std::string> outdated = engine->getOldLanguagesDetected();
  int spoken = 0;
  for (const auto& [voice, language] : engine->getAllAvailableVoices()) {
    if (std::find(outdated.begin(), outdated.end(), language) != outdated.end()) {
      continue;
    }
    const std::string& itsLanguage = language;
    const std::string& name = voice;
    exam.require("choosing the voice " + name, [&] {
      engine->setCurrentLanguage(itsLanguage);
      engine->setCurrentVoice(name);
    });
    engine.speakWhole("the voice " + name);
    ++spoken;
  }
  exam.note(std::to_string(spoken) + " voices spoke");
}

void checkOddTexts(const Examination& exam) {
  TrialEngine engine(exam);
  engine.initializeToSpeak();
  const std::vector<std::pair<const char*, std::string>> texts = {
      {"an empty text", ""},
      {"white space", " \t\r\n "},
      {"a tag alone", "\\pau=10\\"},
      {"unknown and unfinished tags", "1 \\nosuchtag=1\\ 2 \\mrk="},
      {"tags with bad numbers", "\\mrk=x\\\\vol=99999999999999999999\\\\rspd=-1\\ 1"},
      {"backslashes alone", "\\\\\\\\\\"},
      {"bytes that are not UTF-8", "1 \xff\xfe\xc3 2 \xe2\x82"},
      {"a NUL byte", std::string("1\0 2", 4)},
      {"control characters", "1 \x01\x02\x1b[0m 2"},
      {"punctuation", "... !? ,;: \" ' ( ) < > & % $ # @"},
      {"emoji and other scripts", "\xf0\x9f\x98\x80 \xe4\xb8\xad \xd8\xb9 \xd0\x96 1"},
      {"a word of 5000 letters", std::string(5000, 'a')},
  };
  // Long texts and foreign letters make much audio, which this check does not need.
  const std::size_t enough = 200000;
  std::size_t samples = 0;
  engine.recorder().react([&](const SpeechEvent& event) {
    if (event.kind == Kind::start) {
      samples = 0;
    }
    samples += event.samples;
    return samples < enough;
  });
  for (const auto& [name, text] : texts) {
    engine.speak(name, text, true);
  }
  engine.recorder().react(nullptr);
  engine.speakWhole("an utterance after odd texts");
}

void checkNoCallback(const Examination& exam) {
  TrialEngine engine(exam, TrialEngine::Callback::none);
  engine.initializeToSpeak();
  exam.require("speaking without a callback", [&] { engine->startSynthetizer(shortText); });
  engine.terminate();
}

void checkRefusedAudio(const Examination& exam) {
  TrialEngine engine(exam);
  engine.initializeToSpeak();
  engine.recorder().react([](const SpeechEvent& event) { return event.kind != Kind::audio; });
  const SpeechEvents events = engine.speak("speaking to a host that takes no audio", longText);
  const std::size_t pieces = countOf(events, Kind::audio);
  if (pieces == 0) {
    return exam.note("the engine gives no audio");
  }
  exam.expect(pieces == 1, "audio went on after onAudio() had returned false");
  expectEnd(exam, events, SpeechEnd::stopped,
            "onEnd did not say \"stopped\" after onAudio() had returned false");
  engine.recorder().react(nullptr);
  engine.speakWhole("an utterance after a refused one");
}

void checkHostException(const Examination& exam) {
  TrialEngine engine(exam);
  engine.initializeToSpeak();
  engine.recorder().react([](const SpeechEvent& event) -> bool {
    if (event.kind == Kind::audio) {
      throw HostFailure();
    }
    return true;
  });
  exam.step("speaking to a host that throws from onAudio()");
  try {
    engine->startSynthetizer(longText);
    if (countOf(engine.recorder().events(), Kind::audio) == 0) {
      return exam.note("the engine gives no audio");
    }
    exam.find("an exception of the host did not pass through startSynthetizer()");
  } catch (const HostFailure&) {
    // As it must be.
  } catch (...) {
    exam.find("in place of the host's exception came " + describeException().withType());
  }
  const SpeechEvents events = engine.recorder().events();
  exam.expect(countOf(events, Kind::audio) == 1, "audio went on after onAudio() had thrown");
  engine.report("an utterance that the host ended by an exception", events, longText);
  expectEnd(exam, events, SpeechEnd::failed,
            "onEnd did not say \"failed\" after onAudio() had thrown");
  engine.recorder().react(nullptr);
  exam.require("stopSynthetizer() after it", [&] { engine->stopSynthetizer(); });
  engine.speakWhole("an utterance after the host's exception");
}

void checkControlFromEvents(const Examination& exam) {
  TrialEngine engine(exam);
  engine.initializeToSpeak();
  for (const Kind kind : {Kind::start, Kind::audio, Kind::word}) {
    engine.recorder().react([&engine, kind, done = false](const SpeechEvent& event) mutable {
      if (event.kind != kind || done) {
        return true;
      }
      done = true;
      engine->pauseSynthetizer();
      engine->restartSynthetizer();
      return true;
    });
    const std::string where = nameOf(kind);
    engine.speak("pausing and restarting from " + where, shortText);

    engine.recorder().react([&engine, kind](const SpeechEvent& event) {
      if (event.kind == kind) {
        engine->stopSynthetizer();
      }
      return true;
    });
    const SpeechEvents events = engine.speak("stopping from " + where, longText);
    if (countOf(events, kind) == 0) {
      continue;
    }
    expectEnd(exam, events, SpeechEnd::stopped,
              "onEnd did not say \"stopped\" after a stop from " + where);
  }
  engine.recorder().react(nullptr);
  engine.speakWhole("an utterance after all of this");
}

}  // namespace tool
