#pragma once

#include <string>
#include <vector>
#include <zu/package_info.hpp>

namespace KQ {
class TextToSpeechEngine;
}

namespace tool {

/// What is wrong with a file of settings.
struct FileDefect {
  enum Kind { none, missing, unreadable, malformed };

  Kind kind = none;
  std::string text;  ///< "is missing"

  explicit operator bool() const { return kind != none; }
};

/// A folder of one of a package's voices.
struct VoiceFolder {
  std::string path;
  FileDefect defect;  ///< of its voice.xml
};

/// Something that could be a package.
struct SurveyedPackage {
  std::string path;
  FileDefect defect;  ///< of its manifest
  std::string uuid;
  std::string version;
  std::string engine;
  std::string language;
  std::vector<std::string> unknownSettings;  ///< names that the manifest has and nobody knows
  std::vector<VoiceFolder> voices;
  bool isInstalled = false;  ///< handed to the engines
};

/// A folder that is looked in for packages.
struct PackageFolder {
  std::string path;
  std::string defect;  ///< why it cannot be looked in, or ""
  bool exists = false;
  std::vector<SurveyedPackage> packages;
};

/// What stands in the folders of packages, sound or not.
struct PackageSurvey {
  std::vector<PackageFolder> folders;
  std::vector<zu::PackageInfo> installed;  ///< what the engines are given

  /// All packages of all folders.
  std::vector<SurveyedPackage> packages() const;
};

/// Looks through folders. \param reader  any engine; it reads the packages' files
PackageSurvey surveyPackages(const std::vector<std::string>& folders,
                             const KQ::TextToSpeechEngine& reader);

}  // namespace tool
