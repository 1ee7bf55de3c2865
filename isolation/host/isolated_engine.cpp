#include "isolation/host/isolated_engine.hpp"

#include <kq/error.hpp>
#include <zu/log.hpp>

#include "isolation/host/environment.hpp"

namespace KQ::isolation {

namespace {

void warn(const KQError& error) {
  zu::log::write(zu::log::Level::warning, "engine.isolated", error.what(), __FILE__, __func__,
                 __LINE__);
}

std::string encoded() {
  return "";
}

/// The first of some arguments, as bytes.
template <typename First, typename... Others>
std::string encoded(const First& first, const Others&... /*others*/) {
  Encoder encoder;
  encoder.put(first);
  return encoder.take();
}

}  // namespace

IsolatedEngine::IsolatedEngine(const HostSide& hostSide)
    : TextToSpeechEngine(hostSide.callback, hostSide.languages), supervisor(hostSide) {}

IsolatedEngine::~IsolatedEngine() = default;

template <Call call, typename Result, typename... Arguments>
Result IsolatedEngine::forward(const Arguments&... arguments) const {
  Encoder encoder;
  (encoder.put(arguments), ...);
  const std::string bytes = supervisor.ask(call, encoder.bytes(), encoded(arguments...));
  if constexpr (!std::is_void_v<Result>) {
    try {
      Decoder decoder(bytes, answerLimits);
      auto result = decoder.get<Result>();
      decoder.requireEnd();
      return result;
    } catch (const ProtocolError& error) {
      supervisor.refuseAnswer(call, error.what());
    }
  }
}

template <Call call, typename Result, typename... Arguments>
Result IsolatedEngine::answer(const Arguments&... arguments) const {
  if constexpr (call == Call::xStartSynthetizer) {
    supervisor.speak(arguments...);
  } else if constexpr (call == Call::xStopSynthetizer) {
    supervisor.stop();
  } else if constexpr (call == Call::xPauseSynthetizer) {
    supervisor.pause();
  } else if constexpr (call == Call::xRestartSynthetizer) {
    supervisor.restart();
  } else if constexpr (call == Call::xTerminate) {
    return supervisor.terminate();
  } else if constexpr (call == Call::xGetName) {
    return supervisor.name();
  } else if constexpr (row(call).onFailure == OnFailure::error) {
    return forward<call, Result>(arguments...);
  } else {
    try {
      if constexpr (call == Call::xInitialize) {
        supervisor.renewEnvironment(childEnvironment());
        const bool isActive = forward<call, Result>(arguments...);
        if (isActive) {
          supervisor.initialized(arguments...);
        }
        return isActive;
      } else {
        return forward<call, Result>(arguments...);
      }
    } catch (const KQError& error) {
      warn(error);
      return Result();
    }
  }
}

#define OPERATION(result, name, parameters, qualifier, arguments, ...) \
  result IsolatedEngine::name parameters qualifier {                   \
    TextToSpeechEngine::name arguments;                                \
    return answer<Call::name, result> arguments;                       \
  }
#define HOOK(result, name, parameters, qualifier, arguments, ...) \
  result IsolatedEngine::name parameters qualifier {              \
    return answer<Call::name, result> arguments;                  \
  }
#include "isolation/protocol/calls.def"

}  // namespace KQ::isolation
