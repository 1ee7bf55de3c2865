#pragma once

#include <boost/filesystem/operations.hpp>
#include <kqtts/texttospeech_manager.hpp>
#include <string>
#include <vector>
#include <zu/log.hpp>

#include "engines/speaking_engine.hpp"
#include "support/temp_folder.hpp"

namespace test {

/// The manager with the plug-ins of the build tree.
class RobotManager : public KQ::TextToSpeechManager {
 public:
  explicit RobotManager(TextToSpeechEngineCallbackInterface* host)
      : TextToSpeechManager(host, languageTable()) {
    searchBuiltPlugins();
    zu::log::setLevel(zu::log::Level::error);
  }

  using TextToSpeechManager::xGetEngine;
};

/// Packages that give each engine a language: English to Flite, Turkish to the log engine, and all
/// other languages to eSpeak NG.
class PackagesForAllEngines {
 public:
  PackagesForAllEngines() {
    boost::filesystem::create_directories(folder.path() / "voices/turkish-log");
    folder.write("manifest.xml",
                 "<Package><Setting name=\"version\" value=\"1.0\"/>"
                 "<Setting name=\"engine\" value=\"log\"/>"
                 "<Setting name=\"language\" value=\"Turkish\"/></Package>");
    folder.write("voices/turkish-log/voice.xml",
                 "<Voice><Setting name=\"sourceVoice\" value=\"log\"/></Voice>");
    for (const zu::PackageInfo& package : builtPackages()) {
      if (package.path != builtPackage("turkish").path) {
        all.push_back(package);
      }
    }
    all.push_back({"", "", folder.path().string()});
  }

  const std::vector<zu::PackageInfo>& packages() const { return all; }

 private:
  TempFolder folder;
  std::vector<zu::PackageInfo> all;
};

}  // namespace test
