#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tool {

/// A format of audio files.
struct AudioFormat {
  const char* name;  ///< also the ending of a file's name
  int sndfile;       ///< as libsndfile calls it
  bool streams;      ///< whether it can be written to a pipe
};

/// The names of all formats.
std::vector<std::string> audioFormatNames();

/// The format of an output.
/// \param name  a name of audioFormatNames(), or "" for the one that the file's ending names
/// \param file  its path. Without an ending it is a WAV.
/// \throws UsageError if the ending names none
const AudioFormat& audioFormatOf(const std::string& name, const std::string& file);

}  // namespace tool
