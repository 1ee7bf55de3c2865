#pragma once

#include <boost/shared_ptr.hpp>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace KQ {
class TextToSpeechEngine;
class TextToSpeechManager;
class TTSLanguageInfo;
}  // namespace KQ

class TextToSpeechEngineCallbackInterface;

namespace tool {

/// Where engines and packages are looked for.
struct HostOptions {
  std::vector<std::string> packageFolders;  ///< in place of the standard folders unless empty
  std::vector<std::string> engineFolders;   ///< before the standard folders
};

/// Has engine plug-ins looked for where the options say.
void useEngineFolders(const HostOptions& options);

/// Where packages are looked for.
std::vector<std::string> packageFoldersOf(const HostOptions& options);

/// What a person chose to speak with, each "" when not chosen.
struct VoiceChoice {
  std::string language;
  std::string voice;
};

/// A running manager with all installed engines and packages.
class HostSession {
 public:
  /// \param callback  may be null; lives as long as this
  /// \throws Failure when no engine can be used
  explicit HostSession(const HostOptions& options,
                       TextToSpeechEngineCallbackInterface* callback = nullptr);
  /// Shuts the engines down.
  ~HostSession();
  HostSession(const HostSession&) = delete;
  HostSession& operator=(const HostSession&) = delete;

  KQ::TextToSpeechManager& manager();

  /// The engines that are running, by plug-in name.
  std::map<std::string, boost::shared_ptr<KQ::TextToSpeechEngine>> engines() const;
  /// The installed languages, each once, in the manager's order.
  std::vector<std::string> languages();
  std::string localeOf(const std::string& language) const;

  /// The name of the installed language that a person means.
  /// \throws Failure when it is unknown or not installed
  std::string findLanguage(const std::string& written);

  /// The language that is spoken unless one is chosen: that of the user's locale, or the nearest to
  /// it. "" when none is installed.
  std::string usualLanguage();

  /// Makes the manager speak as chosen; without a choice in the language of the user's locale.
  /// \throws Failure when that cannot be
  void choose(const VoiceChoice& choice);

 private:
  class Manager;

  std::string findVoice(const std::string& written);
  void chooseLanguage(const std::string& language);

  boost::shared_ptr<KQ::TTSLanguageInfo> languageInfo;
  std::unique_ptr<Manager> ttsManager;
};

}  // namespace tool
