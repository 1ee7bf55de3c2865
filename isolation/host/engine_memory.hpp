#pragma once

#include <string>

#include "isolation/protocol/messages.hpp"

namespace KQ::isolation {

/// What a new process must be told so that its engine is where the last one was. Not for several
/// threads at once.
class EngineMemory {
 public:
  void initialized(const Packages& packages);
  void terminated();
  /// The language and the voice that the engine now speaks with.
  void standing(const std::string& language, const std::string& voice);
  /// A call succeeded. \param firstArgument  as bytes, what the call is remembered by
  void called(Call call, const std::string& arguments, const std::string& firstArgument);
  void paused(bool isPaused) { engineState.isPaused = isPaused; }

  /// All of it.
  EngineState state() const;

 private:
  struct Entry {
    std::string key;
    RememberedCall call;
  };

  void remember(std::vector<Entry>& entries, const Entry& entry) const;

  EngineState engineState;
  std::vector<Entry> loads;  ///< effects, which others use
  std::vector<Entry> others;
};

}  // namespace KQ::isolation
