#include "isolation/child/served_engine.hpp"

#include <boost/make_shared.hpp>
#include <exception>
#include <stdexcept>
#include <zu/log.hpp>

#include "isolation/child/engine_hooks.hpp"
#include "isolation/child/plugin_search.hpp"

namespace KQ::isolation {

namespace {

constexpr const char* category = "engine.isolated";

void warn(const std::string& message) {
  zu::log::write(zu::log::Level::warning, category, message, __FILE__, __func__, __LINE__);
}

/// The text of the exception in hand.
std::string exceptionText() {
  try {
    throw;
  } catch (const std::exception& error) {
    return error.what();
  } catch (const char* text) {
    return text != nullptr ? text : "";
  } catch (const std::string& text) {
    return text;
  } catch (...) {
    return "an exception of an unknown type";
  }
}

/// A text that the host takes.
std::string cut(std::string text) {
  if (text.size() > answerLimits.text) {
    text.resize(answerLimits.text);
  }
  return text;
}

void putForeignError(Encoder& records, const std::string& text) {
  records.put(Record::foreignError);
  records.put(cut(text));
}

void putError(Encoder& records, const KQError& error) {
  records.put(Record::kqError);
  put(records, KQError(cut(error.getModule()), cut(error.getMethod()), cut(error.getDescription()),
                       error.getFile(), error.getLine()));
}

bool changesStanding(Call call) {
  return row(call).memory == Memory::standing;
}

}  // namespace

// Language table ------------------------------------------------------------------------------

void ChildLanguageTable::adopt(const LanguageTable& table) {
  const std::lock_guard<std::mutex> lock(mutex);
  known = table;
  localeToLanguage = table.localeToLanguage;
  languageToLocale = table.languageToLocale;
}

void ChildLanguageTable::reportAdditions(Encoder& records) {
  const std::lock_guard<std::mutex> lock(mutex);
  const auto report = [&](bool isByLocale, const auto& now, auto& before) {
    if (now == before) {
      return;
    }
    for (const auto& [key, value] : now) {
      const auto old = before.find(key);
      if (old == before.end() || old->second != value) {
        records.put(Record::locale);
        records.put(isByLocale);
        records.put(cut(key));
        records.put(cut(value));
      }
    }
    before = now;
  };
  report(true, localeToLanguage, known.localeToLanguage);
  report(false, languageToLocale, known.languageToLocale);
}

// Calls ---------------------------------------------------------------------------------------

ServedEngine::ServedEngine(const HostLink& hostLink)
    : link(hostLink), languages(boost::make_shared<ChildLanguageTable>()) {}

void ServedEngine::serve(const Packet& packet) {
  HostLink::currentCall() = packet.header.number;
  std::string records = answerTo(packet);
  // Longer than any answer of an engine that means well.
  constexpr std::size_t longestAnswer = std::size_t{16} * 1024 * 1024;
  if (records.size() > longestAnswer) {
    Encoder error;
    putForeignError(error,
                    "the engine gave an answer of " + std::to_string(records.size()) + " bytes");
    records = error.take();
  }
  link.report(records);
  HostLink::currentCall() = 0;
}

std::string ServedEngine::answerTo(const Packet& packet) {
  Encoder records;
  try {
    Decoder body(packet.body, requestLimits);
    if (packet.header.hasSurroundings != 0) {
      Surroundings surroundings;
      get(body, surroundings);
      adopt(surroundings);
    }
    run(static_cast<Call>(packet.header.call), body, packet.header.number, records);
  } catch (const KQError& error) {
    putError(records, error);
  } catch (const std::exception&) {
    putForeignError(records, exceptionText());
  } catch (...) {
    putForeignError(records, exceptionText());
  }
  return records.take();
}

void ServedEngine::run(Call call, Decoder& arguments, std::uint64_t number, Encoder& records) {
  Encoder result;
  if (call == Call::load) {
    LoadRequest request;
    get(arguments, request);
    put(result, load(request));
    reportStanding(records);
  } else if (engine == nullptr) {
    throw std::logic_error("there is no engine");
  } else if (call == Call::unload) {
    unload();
  } else if (call == Call::xStartSynthetizer) {
    speeches.begin(number);
    try {
      EngineHooks::serve(*engine, call, arguments, result);
    } catch (const HostFailure&) {
      // The host has what was thrown.
    } catch (...) {
      speeches.end(number);
      throw;
    }
    speeches.end(number);
  } else if (call == Call::xTerminate) {
    speeches.releaseAll(true);
    EngineHooks::serve(*engine, call, arguments, result);
    speeches.stopUpTo(number);
    speeches.releaseAll(false);
  } else {
    EngineHooks::serve(*engine, call, arguments, result);
    if (call == Call::xStopSynthetizer) {
      // After the engine knows of it: whoever waits at a mark must find the engine stopped.
      speeches.stopUpTo(number);
    }
  }
  if (changesStanding(call)) {
    reportStanding(records);
  }
  languages->reportAdditions(records);
  records.put(Record::result);
  records.put(result.bytes());
}

void ServedEngine::reportStanding(Encoder& records) const {
  if (engine == nullptr) {
    return;
  }
  try {
    const std::string language = EngineHooks::language(*engine);
    const std::string voice = EngineHooks::voice(*engine);
    records.put(Record::standing);
    records.put(cut(language));
    records.put(cut(voice));
  } catch (...) {  // NOLINT(bugprone-empty-catch): then it is not known
  }
}

void ServedEngine::cancel(const Packet& packet) {
  Decoder body(packet.body, requestLimits);
  const auto how = body.getEnum(Course::failed);
  speeches.cancel(packet.header.number, how);
  if (speeches.onlyOne() == packet.header.number) {
    callback->stopEngine();
  }
}

void ServedEngine::taken(const Packet& packet) {
  Decoder body(packet.body, requestLimits);
  const auto samples = body.get<std::uint64_t>();
  speeches.taken(packet.header.number, samples, body.get<std::uint64_t>());
}

void ServedEngine::adopt(const Surroundings& surroundings) {
  languages->adopt(surroundings.languages);
  zu::log::setLevel(surroundings.levels.others);
  for (const auto& [name, level] : surroundings.levels.byName) {
    zu::log::setLevel(name, level);
  }
}

// Life cycle ----------------------------------------------------------------------------------

LoadAnswer ServedEngine::load(const LoadRequest& request) {
  LoadAnswer answer;
  answer.unprotected = unprotected;
  adopt(request.surroundings);
  if (request.hasCallback) {
    callback = request.wantsPhonemes ? std::make_unique<PhonemeSender>(link, speeches)
                                     : std::make_unique<EventSender>(link, speeches);
    callback->stopEngine = [this] {
      try {
        EngineHooks::stop(*engine);
      } catch (...) {
        warn("a stop failed: " + exceptionText());
      }
    };
  }
  if (!searchBeyondIsolation(request.plugin, request.folders)) {
    warn("There is no plug-in \"" + request.plugin + "\" but isolating ones.");
    return answer;
  }
  engine = plugins.load(request.plugin, callback.get(), languages);
  if (engine == nullptr) {
    return answer;
  }
  answer.isLoaded = true;
  answer.name = cut(EngineHooks::name(*engine));
  restore(request.state);
  answer.isRestored = true;
  answer.categories = zu::log::categories();
  return answer;
}

void ServedEngine::repeat(Call call, const std::string& arguments) {
  try {
    Decoder decoder(arguments, requestLimits);
    Encoder ignored;
    EngineHooks::serve(*engine, call, decoder, ignored);
  } catch (...) {
    warn(std::string("could not be repeated: ") + row(call).method + ", " + exceptionText());
  }
}

void ServedEngine::restore(const EngineState& state) {
  const auto repeatWith = [&](Call call, const auto& argument) {
    Encoder arguments;
    arguments.put(argument);
    repeat(call, arguments.bytes());
  };
  if (state.isInitialized) {
    repeatWith(Call::xInitialize, state.packages);
  }
  for (const RememberedCall& call : state.calls) {
    repeat(call.call, call.arguments);
  }
  if (state.isInitialized) {
    for (const std::string& language : state.dictionaries) {
      repeatWith(Call::xSetCurrentLanguage, language);
      repeat(Call::xLoadDictionary, "");
    }
    if (!state.language.empty() && EngineHooks::language(*engine) != state.language) {
      repeatWith(Call::xSetCurrentLanguage, state.language);
    }
    if (!state.voice.empty() && EngineHooks::voice(*engine) != state.voice) {
      repeatWith(Call::xSetCurrentVoice, state.voice);
    }
  }
  if (state.isPaused) {
    repeat(Call::xPauseSynthetizer, "");
  }
}

void ServedEngine::unload() {
  plugins.unload(&engine);
  engine = nullptr;
}

}  // namespace KQ::isolation
