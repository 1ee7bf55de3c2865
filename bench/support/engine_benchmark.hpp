#pragma once

#include <functional>
#include <string>

#include "support/speaker.hpp"

namespace bench {

/// The markup of a text: of every ten words, the first has a mark and the last five are quieter.
struct Markup {
  std::string begin;  ///< at the begin of the text
  std::string mark;
  std::string quieter;
  std::string normal;
  std::string end;
};

/// An engine, and the synthesiser that it is compared with.
struct EngineUnderTest {
  std::string package;  ///< the folder of a package for the engine
  std::function<SpeakerPointer()> makeBareSpeaker;
  Markup bareMarkup;  ///< of the bare synthesiser; empty if it knows none
  int repetitions;    ///< of each measurement, in shuffled order
  int firstAudios;    ///< measurements in each repetition
  int stops;          ///< measurements in all repetitions together
  int latestStop;     ///< the latest moment of a stop, in microseconds after the first audio
};

/// The benchmark's main(): measures, prints the figures, and compares them with their limits.
/// \return 0 if every figure is within its limit, otherwise 1
int runEngineBenchmark(int argc, char** argv, const EngineUnderTest& engine);

}  // namespace bench
