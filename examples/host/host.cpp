// The smallest host: speaks a text to standard output, as raw audio.
//
//     host English "Hello, I am a robot" /usr/share/kqtts/packages/* > hello.raw
//
// Without CMake: g++ -std=c++17 host.cpp $(pkg-config --cflags --libs kqtts) -o host

#include <boost/make_shared.hpp>
#include <iostream>
#include <kq/error.hpp>
#include <kq/speech_callback.hpp>
#include <kqtts/texttospeech_manager.hpp>
#include <kqtts/tts_language_info.hpp>

namespace {

/// Writes the audio of the engines.
class AudioWriter : public TextToSpeechEngineCallbackInterface {
 public:
  bool onAudio(const std::int16_t* samples, std::size_t count, int /*samplingRate*/) override {
    std::cout.write(reinterpret_cast<const char*>(samples),
                    static_cast<std::streamsize>(count * sizeof *samples));
    return std::cout.good();  // false, which ends the utterance, if the audio cannot be written
  }
};

/// The packages in the given folders; any engine can read their manifests.
std::vector<zu::PackageInfo> readPackages(const KQ::TextToSpeechEngine& reader, char** folders) {
  std::vector<zu::PackageInfo> packages;
  for (; *folders != nullptr; ++folders) {
    const std::string manifest = std::string(*folders) + "/manifest.xml";
    packages.push_back({reader.getParamFromXml("uuid", manifest),
                        reader.getParamFromXml("version", manifest), *folders});
  }
  return packages;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::cerr << "usage: host LANGUAGE TEXT [PACKAGE_FOLDER]... > FILE.raw\n";
    return 2;
  }
  AudioWriter writer;  // outlives the manager, whose engines call it
  KQ::TextToSpeechManager tts(&writer, boost::make_shared<KQ::TTSLanguageInfo>());
  try {
    if (!tts.initialize(readPackages(tts, argv + 3))) {
      std::cerr << "no speech engine can be used\n";
      return 1;
    }
    tts.setCurrentLanguage(argv[1]);
    tts.startSynthetizer(argv[2]);  // returns after the last audio
    std::cerr << "16 bit mono at " << tts.getCurrentSamplingRate() << " Hz\n";
  } catch (const KQError& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
