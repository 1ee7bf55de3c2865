#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

namespace KQ::isolation {

/// What a faulty engine does wrong.
enum class FaultKind : std::uint8_t {
  crash,     ///< ends the process by SIGSEGV
  abort,     ///< ends it by SIGABRT
  exit,      ///< ends it by exit()
  loop,      ///< computes for ever
  sleep,     ///< waits for ever
  deadlock,  ///< waits for a lock that is never freed
  foreign,   ///< throws an exception of a type of its own
  huge,      ///< throws a KQError with a text of 64 MiB
  flood,     ///< answers with ten million names, where the answer is names; else as `huge`
  audio,     ///< gives a buffer of no samples and a count beyond all memory
  late,      ///< at the place "end": reports more events after the end
};

struct FaultKindName {
  std::string_view name;
  FaultKind kind;
};

/// How users name them.
inline constexpr std::array<FaultKindName, 11> faultKinds{{{"crash", FaultKind::crash},
                                                           {"abort", FaultKind::abort},
                                                           {"exit", FaultKind::exit},
                                                           {"loop", FaultKind::loop},
                                                           {"sleep", FaultKind::sleep},
                                                           {"deadlock", FaultKind::deadlock},
                                                           {"throw", FaultKind::foreign},
                                                           {"huge", FaultKind::huge},
                                                           {"flood", FaultKind::flood},
                                                           {"audio", FaultKind::audio},
                                                           {"late", FaultKind::late}}};

/// The places that are no operation of an engine: its entry points and its events.
inline constexpr std::array<std::string_view, 8> faultPlaces{"load", "unload",  "begin", "audio",
                                                             "word", "phoneme", "mark",  "end"};

/// What is to go wrong, and where.
struct Fault {
  FaultKind kind;
  std::string place;   ///< an operation ("setParameter") or one of faultPlaces
  int occurrence = 1;  ///< which visit of the place, from 1 on, in each process
  std::string word;    ///< for the place "word": only this one counts; "" for any

  /// Reads "KIND:PLACE", "KIND:PLACE:NUMBER" or "KIND:word=TEXT".
  /// \throws std::invalid_argument with a text for the user
  static Fault parse(std::string_view text);
};

/// Counts visits of places and says when the fault is due. May be used from several threads.
class FaultTrigger {
 public:
  explicit FaultTrigger(Fault wanted) : fault(std::move(wanted)) {}

  FaultKind kind() const { return fault.kind; }

  /// Counts a visit. \return whether the fault is due here and now
  /// \param word  the word that is reported, for the place "word"
  bool reach(std::string_view place, std::string_view word = {}) const;

 private:
  const Fault fault;
  mutable std::atomic<int> visits{0};
};

/// Does what a fault is, but for `flood`, `audio` and `late`, which need an answer or the host.
void commit(FaultKind kind);

}  // namespace KQ::isolation
