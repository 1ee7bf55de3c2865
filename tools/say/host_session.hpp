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

/// Where to search for engines and packages.
struct HostOptions {
  std::vector<std::string> packageFolders;  ///< replace the standard folders unless empty
  std::vector<std::string> engineFolders;   ///< searched before the standard folders
  bool inProcess = false;                   ///< engines run in this process, not in their own
};

/// Adds the folders of the options to the search for plug-ins.
void useEngineFolders(const HostOptions& options);

/// The folder of the plug-ins that run engines in processes of their own; "" if there is none.
std::string isolatedEngineFolder();

/// The folders that are searched for packages.
std::vector<std::string> packageFoldersOf(const HostOptions& options);

/// What the user chose to speak with; each is "" if not chosen.
struct VoiceChoice {
  std::string language;
  std::string voice;
};

/// A running manager with all installed engines and packages.
class HostSession {
 public:
  /// \param callback  may be null; lives as long as this
  /// \throws Failure if no engine can be used
  explicit HostSession(const HostOptions& options,
                       TextToSpeechEngineCallbackInterface* callback = nullptr);
  /// Shuts the engines down.
  ~HostSession();
  HostSession(const HostSession&) = delete;
  HostSession& operator=(const HostSession&) = delete;

  KQ::TextToSpeechManager& manager();

  /// The running engines by plug-in name.
  std::map<std::string, boost::shared_ptr<KQ::TextToSpeechEngine>> engines() const;
  /// The installed languages, each once, in the manager's order.
  std::vector<std::string> languages();
  std::string localeOf(const std::string& language) const;

  /// The name of the installed language that a user means.
  /// \throws Failure if it is unknown or not installed
  std::string findLanguage(const std::string& written);

  /// The default language: that of the user's locale, or the nearest to it; "" if there is none.
  std::string usualLanguage();

  /// Sets the chosen language and voice. Without a choice, sets the default language.
  /// \throws Failure if that is not possible
  void choose(const VoiceChoice& choice);

 private:
  class Manager;

  std::string findVoice(const std::string& written);
  void noteMissingLanguage();
  void chooseLanguage(const std::string& language);

  boost::shared_ptr<KQ::TTSLanguageInfo> languageInfo;
  std::unique_ptr<Manager> ttsManager;
};

}  // namespace tool
