#include "isolation/fault/faulty_engine.hpp"

#include <boost/atomic/atomic_ref.hpp>
#include <cstddef>
#include <string>
#include <type_traits>
#include <utility>

namespace KQ::isolation {

namespace {

constexpr std::size_t floodOfNames = 10'000'000;

/// Reaches the hooks of another engine. Never instantiated: it is derived for the sake of access.
class Hooks : public TextToSpeechEngine {
 public:
  /// The hooks are called without the operations' checks, which are done in this engine already.
  static void activate(TextToSpeechEngine& engine) {
    boost::atomic_ref<bool>(engine.*(&Hooks::active)).store(true);
  }

#define OPERATION(...)
#define HOOK(result, name, ...)              \
  static constexpr auto pointerTo_##name() { \
    return &Hooks::name;                     \
  }
#include "isolation/protocol/calls.def"
};

/// An answer with more names than anybody can want.
template <typename Result>
Result flood() {
  Result names;
  for (std::size_t i = 0; i < floodOfNames; ++i) {
    std::string name = "name" + std::to_string(floodOfNames + i);
    if constexpr (std::is_same_v<Result, Voices>) {
      names.emplace_hint(names.end(), std::move(name), "English");
    } else {
      names.push_back(std::move(name));
    }
  }
  return names;
}

/// Answers an operation, or commits the fault that is due there.
template <typename Result, typename Work>
Result answer(const FaultTrigger& trigger, Call call, Work work) {
  constexpr bool isNames = std::is_same_v<Result, Names> || std::is_same_v<Result, Voices>;
  if (trigger.reach(row(call).method)) {
    if constexpr (isNames) {
      if (trigger.kind() == FaultKind::flood) {
        return flood<Result>();
      }
    }
    commit(trigger.kind());
  }
  return work();
}

template <Call call, typename... Arguments>
void prepare(const Arguments&... arguments) {
  if constexpr (call == Call::xStartSynthetizer) {
    FaultyCallback::speaks(arguments...);
  }
}

}  // namespace

FaultyEngine::FaultyEngine(TextToSpeechEngineCallbackInterface* host,
                           boost::shared_ptr<TTSLanguageInfo> languageInfo,
                           std::unique_ptr<FaultyCallback> faultyCallback, Pointer realEngine,
                           const FaultTrigger& trigger)
    : TextToSpeechEngine(host, std::move(languageInfo)),
      faultyCallback(std::move(faultyCallback)),
      engine(std::move(realEngine)),
      trigger(trigger) {
  Hooks::activate(*engine);
}

FaultyEngine::~FaultyEngine() = default;

#define OPERATION(result, name, parameters, qualifier, arguments, ...)                  \
  result FaultyEngine::name parameters qualifier {                                      \
    TextToSpeechEngine::name arguments;                                                 \
    return answer<result>(trigger, Call::name, [&] { return engine->name arguments; }); \
  }
#define HOOK(result, name, parameters, qualifier, arguments, ...)                            \
  result FaultyEngine::name parameters qualifier {                                           \
    prepare<Call::name> arguments;                                                           \
    return answer<result>(trigger, Call::name,                                               \
                          [&] { return ((*engine).*Hooks::pointerTo_##name()) arguments; }); \
  }
#include "isolation/protocol/calls.def"

}  // namespace KQ::isolation
