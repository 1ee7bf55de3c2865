#pragma once

#include <boost/atomic/atomic_ref.hpp>
#include <boost/thread/lock_types.hpp>
#include <kqtts/texttospeech_engine.hpp>
#include <tuple>
#include <type_traits>

#include "isolation/protocol/calls.hpp"
#include "isolation/protocol/encoding.hpp"

namespace KQ::isolation {

/// Calls the hooks of an engine as its public operations would, but for their checks: these are
/// done in the host, where the same engine has its other half. Never instantiated: it is derived
/// from the engine base for the sake of access.
class EngineHooks : public TextToSpeechEngine {
 public:
  /// Calls a hook. What it throws passes.
  /// \param arguments  are decoded
  /// \param answer     takes the result
  /// \throws ProtocolError when the arguments are not those of the call
  static void serve(TextToSpeechEngine& engine, Call call, Decoder& arguments, Encoder& answer) {
    if (call == Call::xInitialize) {
      serveInitialize(engine, arguments, answer);
    } else if (call == Call::xTerminate) {
      serveTerminate(engine, answer);
    } else if (call == Call::xStartSynthetizer) {
      write(engine.*(&EngineHooks::talking), true);
      serveHook(engine, call, arguments, answer);
      write(engine.*(&EngineHooks::talking), false);
    } else if (call == Call::xStopSynthetizer || call == Call::xPauseSynthetizer ||
               call == Call::xRestartSynthetizer) {
      const boost::unique_lock<boost::mutex> lock(engine.*(&EngineHooks::mutex));
      serveControl(engine, call, arguments, answer);
    } else {
      serveHook(engine, call, arguments, answer);
    }
  }

  /// The hook of stopSynthetizer(), for an engine that speaks what was stopped.
  static void stop(TextToSpeechEngine& engine) {
    Decoder nothing({}, requestLimits);
    Encoder answer;
    serve(engine, Call::xStopSynthetizer, nothing, answer);
  }

  static std::string name(const TextToSpeechEngine& engine) {
    return (engine.*(&EngineHooks::xGetName))();
  }
  static std::string language(const TextToSpeechEngine& engine) {
    return (engine.*(&EngineHooks::xGetCurrentLanguage))();
  }
  static std::string voice(const TextToSpeechEngine& engine) {
    return (engine.*(&EngineHooks::xGetCurrentVoice))();
  }

 private:
  static void write(bool& flag, bool value) {
    boost::atomic_ref<bool>(flag).store(value, boost::memory_order_release);
  }

  static void serveControl(TextToSpeechEngine& engine, Call call, Decoder& arguments,
                           Encoder& answer) {
    if (call == Call::xRestartSynthetizer) {
      write(engine.*(&EngineHooks::paused), false);
    }
    serveHook(engine, call, arguments, answer);
    if (call == Call::xStopSynthetizer) {
      write(engine.*(&EngineHooks::talking), false);
    } else if (call == Call::xPauseSynthetizer) {
      write(engine.*(&EngineHooks::paused), true);
    }
  }

  static void serveInitialize(TextToSpeechEngine& engine, Decoder& arguments, Encoder& answer) {
    Packages packages;
    arguments.get(packages);
    const bool isActive = (engine.*(&EngineHooks::xInitialize))(packages);
    write(engine.*(&EngineHooks::active), isActive);
    answer.put(isActive);
  }

  static void serveTerminate(TextToSpeechEngine& engine, Encoder& answer) {
    const bool isTerminated = (engine.*(&EngineHooks::xTerminate))();
    write(engine.*(&EngineHooks::active), !isTerminated);
    answer.put(isTerminated);
  }

  template <typename Result, typename Function>
  static void answerWith(Function function, Encoder& answer) {
    if constexpr (std::is_void_v<Result>) {
      function();
    } else {
      answer.put(function());
    }
  }

  template <typename Engine, typename Result, typename... Parameters, typename Hook>
  static void invoke(Engine& engine, Hook hook, Decoder& arguments, Encoder& answer) {
    // In braces, so that they are read in their order.
    const std::tuple<std::decay_t<Parameters>...> values{
        arguments.get<std::decay_t<Parameters>>()...};
    arguments.requireEnd();
    answerWith<Result>(
        [&] {
          return std::apply([&](const auto&... value) { return (engine.*hook)(value...); }, values);
        },
        answer);
  }

  template <typename Result, typename... Parameters>
  static void invoke(TextToSpeechEngine& engine, Result (TextToSpeechEngine::*hook)(Parameters...),
                     Decoder& arguments, Encoder& answer) {
    invoke<TextToSpeechEngine, Result, Parameters...>(engine, hook, arguments, answer);
  }

  template <typename Result, typename... Parameters>
  static void invoke(TextToSpeechEngine& engine,
                     Result (TextToSpeechEngine::*hook)(Parameters...) const, Decoder& arguments,
                     Encoder& answer) {
    invoke<const TextToSpeechEngine, Result, Parameters...>(engine, hook, arguments, answer);
  }

  static void serveHook(TextToSpeechEngine& engine, Call call, Decoder& arguments,
                        Encoder& answer) {
    switch (call) {
#define HOOK(result, name, parameters, qualifier, ...)                                 \
  case Call::name:                                                                     \
    static_assert(std::is_same_v<decltype(&EngineHooks::name),                         \
                                 result(TextToSpeechEngine::*) parameters qualifier>); \
    return invoke(engine, &EngineHooks::name, arguments, answer);
#define OPERATION HOOK
#include "isolation/protocol/calls.def"
      case Call::load:
      case Call::unload:
        throw ProtocolError("this call is no engine's");
    }
  }
};

}  // namespace KQ::isolation
