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

/// A folder that may be a package.
struct SurveyedPackage {
  std::string path;
  FileDefect defect;  ///< of its manifest
  std::string uuid;
  std::string version;
  std::string engine;
  std::string language;
  std::vector<std::string> unknownSettings;  ///< unknown settings of the manifest
  std::vector<VoiceFolder> voices;
  bool isInstalled = false;  ///< passed to the engines
};

/// A folder that is searched for packages.
struct PackageFolder {
  std::string path;
  std::string defect;  ///< why it cannot be read, or ""
  bool exists = false;
  std::vector<SurveyedPackage> packages;
};

/// The contents of the folders of packages, valid or not.
struct PackageSurvey {
  std::vector<PackageFolder> folders;
  std::vector<zu::PackageInfo> installed;  ///< what the engines are given

  /// All packages of all folders.
  std::vector<SurveyedPackage> packages() const;
};

/// Searches folders. \param reader  any engine; it reads the files of the packages
PackageSurvey surveyPackages(const std::vector<std::string>& folders,
                             const KQ::TextToSpeechEngine& reader);

}  // namespace tool
