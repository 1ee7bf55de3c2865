#include "say/audio_format.hpp"

#include <sndfile.h>

#include <algorithm>
#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/join.hpp>
#include <boost/filesystem/path.hpp>
#include <locale>

#include "system/failure.hpp"

namespace tool {

namespace {

const AudioFormat formats[] = {
    {"wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, true},
    {"flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, false},
    {"ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS, false},
    {"opus", SF_FORMAT_OGG | SF_FORMAT_OPUS, false},
    {"mp3", SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III, false},
    {"raw", SF_FORMAT_RAW | SF_FORMAT_PCM_16 | SF_ENDIAN_LITTLE, true},
};

std::string endingOf(const std::string& file) {
  const std::string ending = boost::filesystem::path(file).extension().string();
  return boost::algorithm::to_lower_copy(ending.substr(std::min<std::size_t>(1, ending.size())),
                                         std::locale::classic());
}

}  // namespace

std::vector<std::string> audioFormatNames() {
  std::vector<std::string> names;
  for (const AudioFormat& format : formats) {
    names.emplace_back(format.name);
  }
  return names;
}

const AudioFormat& audioFormatOf(const std::string& name, const std::string& file) {
  const std::string wanted = name.empty() ? endingOf(file) : name;
  if (wanted.empty()) {
    return formats[0];
  }
  const auto* const found =
      std::find_if(std::begin(formats), std::end(formats),
                   [&](const AudioFormat& format) { return format.name == wanted; });
  if (found == std::end(formats)) {
    throw UsageError("'" + file + "' names no audio format",
                     "end it with ." + boost::algorithm::join(audioFormatNames(), ", .") +
                         ", or name the format with --format");
  }
  return *found;
}

}  // namespace tool
