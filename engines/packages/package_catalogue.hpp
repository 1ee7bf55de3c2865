#pragma once

#include <boost/filesystem/path.hpp>
#include <functional>
#include <map>
#include <string>
#include <vector>
#include <zu/package_info.hpp>

#include "audio/voice_tuning.hpp"

namespace KQ {
class TextToSpeechEngine;
}

namespace KQ::engines {

/// A voice of an installed package.
struct PackagedVoice {
  std::string language;
  std::string sourceVoice;            ///< the synthesiser's name for it
  boost::filesystem::path directory;  ///< the voice's folder
  VoiceTuning tuning;
};

/// Which packages and voices an engine can use.
struct PackageRules {
  std::string engine;          ///< the "engine" in the manifests of the engine's packages
  std::string minimumVersion;  ///< a package below it is outdated
  std::string logCategory;
  std::function<bool(const std::string& sourceVoice)> hasVoice;
};

/// The languages and voices of the packages that one engine serves.
///
/// A package is a folder:
///
///     manifest.xml                      uuid, version, engine, language; defaultVoice (optional)
///     voices/<voice>/voice.xml          sourceVoice
///     voices/<voice>/voiceSettings.xml  optional preferences
///
/// All files are in the name/value form that TextToSpeechEngine::getParamFromXml() reads; their
/// names are in kqtts/package_names.hpp. The catalogue leaves out packages and voices that are
/// missing, broken or unusable, and logs one warning for each. If several packages have one uuid,
/// or several voices one name, the first counts. A package is outdated if its version is too low,
/// in its manifest or as the host gives it. The catalogue then offers its voices and marks its
/// language as outdated, unless another package of the language is current.
class PackageCatalogue {
 public:
  PackageCatalogue() = default;

  /// Reads the packages. \param reader  reads the files
  PackageCatalogue(const TextToSpeechEngine& reader, const std::vector<zu::PackageInfo>& packages,
                   const PackageRules& rules);

  /// In the order of the packages.
  const std::vector<std::string>& languages() const { return languageNames; }
  const std::vector<std::string>& outdatedLanguages() const { return outdatedNames; }

  /// By name.
  const std::map<std::string, PackagedVoice>& voices() const { return voicesByName; }

  /// The voice of that name, or null.
  const PackagedVoice* voice(const std::string& name) const;

  /// The voice that the language's first package names, else its first one in byte order; "" for an
  /// unknown language.
  std::string defaultVoice(const std::string& language) const;

 private:
  struct Package;

  void add(const Package& package, const PackageRules& rules);

  std::vector<std::string> languageNames;
  std::vector<std::string> outdatedNames;
  std::map<std::string, std::string> defaultVoices;  ///< by language
  std::map<std::string, PackagedVoice> voicesByName;
};

}  // namespace KQ::engines
