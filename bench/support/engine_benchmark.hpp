#pragma once

#include <functional>
#include <string>

#include "support/speaker.hpp"

namespace bench {

/// How a text is marked up: every ten words there is a mark, and behind five of them they are quieter.
struct Markup {
  std::string begin;  ///< of the text
  std::string mark;
  std::string quieter;
  std::string normal;
  std::string end;
};

/// An engine, and what it is compared with.
struct EngineUnderTest {
  std::string package;  ///< the folder of a package that it serves
  std::function<SpeakerPointer()> makeBareSpeaker;
  Markup bareMarkup;  ///< of the bare synthesiser; empty if it knows none
  int repetitions;    ///< of each measurement, in shuffled order
  int firstAudios;    ///< that are measured in each repetition
  int stops;          ///< that are measured in all repetitions together
  int latestStop;     ///< after the first audio, in microseconds
};

/// The benchmark's main(): measures, prints the figures, and compares them with their limits.
/// \return 0 if all are reached, else 1
int runEngineBenchmark(int argc, char** argv, const EngineUnderTest& engine);

}  // namespace bench
