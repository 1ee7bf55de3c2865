#pragma once

#include <functional>
#include <kqtts/texttospeech_engine.hpp>
#include <memory>

#include "isolation/fault/fault.hpp"
#include "isolation/fault/faulty_callback.hpp"
#include "isolation/protocol/calls.hpp"

namespace KQ::isolation {

/// An engine that does what another one does, until its fault is due. Its hooks are made of the
/// table of calls.
class FaultyEngine : public TextToSpeechEngine {
 public:
  using Pointer = std::unique_ptr<TextToSpeechEngine, std::function<void(TextToSpeechEngine*)>>;

  /// \param faultyCallback  what the real engine reports to
  /// \param realEngine      does the work; gets this one's life cycle
  /// \param trigger         stays alive
  FaultyEngine(TextToSpeechEngineCallbackInterface* host,
               boost::shared_ptr<TTSLanguageInfo> languageInfo,
               std::unique_ptr<FaultyCallback> faultyCallback, Pointer realEngine,
               const FaultTrigger& trigger);
  ~FaultyEngine() override;

#define OPERATION(result, name, parameters, qualifier, ...) \
  result name parameters qualifier override;
#define HOOK(...)
#include "isolation/protocol/calls.def"

 protected:
#define OPERATION(...)
#define HOOK(result, name, parameters, qualifier, ...) result name parameters qualifier override;
#include "isolation/protocol/calls.def"

 private:
  const std::unique_ptr<FaultyCallback> faultyCallback;  ///< outlives the engine
  const Pointer engine;
  const FaultTrigger& trigger;
};

}  // namespace KQ::isolation
