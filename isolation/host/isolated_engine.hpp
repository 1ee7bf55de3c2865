#pragma once

#include <kqtts/texttospeech_engine.hpp>

#include "isolation/host/supervisor.hpp"
#include "isolation/protocol/calls.hpp"

namespace KQ::isolation {

/// An engine whose other half lives in a child process. Its hooks are made of the table of calls.
class IsolatedEngine : public TextToSpeechEngine {
 public:
  explicit IsolatedEngine(const HostSide& hostSide);
  ~IsolatedEngine() override;

  /// Starts the child. \return false when there is no engine
  bool load() { return supervisor.load(); }

#define OPERATION(result, name, parameters, qualifier, ...) \
  result name parameters qualifier override;
#define HOOK(...)
#include "isolation/protocol/calls.def"

 protected:
#define OPERATION(...)
#define HOOK(result, name, parameters, qualifier, ...) result name parameters qualifier override;
#include "isolation/protocol/calls.def"

 private:
  /// What a hook does, beside or in place of asking the child.
  template <Call call, typename Result, typename... Arguments>
  Result answer(const Arguments&... arguments) const;
  template <Call call, typename Result, typename... Arguments>
  Result forward(const Arguments&... arguments) const;

  mutable Supervisor supervisor;  ///< has a lock of its own
};

}  // namespace KQ::isolation
