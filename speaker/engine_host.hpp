#pragma once

#include <boost/shared_ptr.hpp>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>
#include <zu/package_info.hpp>

#include "catalogue.hpp"

class TextToSpeechEngineCallbackInterface;

namespace KQ {
class TextToSpeechManager;
class TTSLanguageInfo;
}  // namespace KQ

namespace KQ::speaking {

/// A voice that is ready to speak.
struct ChosenVoice {
  std::shared_ptr<TextToSpeechManager> manager;
  std::string language;
  std::string voice;
  std::string engine;
};

/// The managers of a speaker. One has all engines; where its engine of a language cannot be used,
/// another manager, with the packages of another engine alone, is made when it is first needed.
///
/// Used by the speaking thread alone.
class EngineHost {
 public:
  /// \param engineCallback  what all engines report to
  explicit EngineHost(TextToSpeechEngineCallbackInterface* engineCallback);
  /// Shuts the engines down.
  ~EngineHost();
  EngineHost(const EngineHost&) = delete;
  EngineHost& operator=(const EngineHost&) = delete;

  /// Shuts down what is loaded, and loads the engines of these packages.
  /// \return what can be spoken now; nothing if no engine can be used
  std::shared_ptr<const Catalogue> load(const std::vector<zu::PackageInfo>& packages);

  /// Makes a voice ready.
  /// \param written   a language, by name or locale; not "" unless a voice is named
  /// \param voice     "" for the language's own
  /// \param avoided   engines that are not to be taken, by their own names
  /// \throws KQError that names the language, if nothing can speak it
  ChosenVoice choose(const std::string& written, const std::string& voice,
                     const std::set<std::string>& avoided = {});

  /// Forgets which voice is ready, since somebody else may have chosen another.
  void forgetChoice() { ready.reset(); }

 private:
  struct Package {
    zu::PackageInfo info;
    std::string engine;    ///< as its manifest says
    std::string language;  ///< as its manifest says
  };

  std::shared_ptr<TextToSpeechManager> makeManager(const std::vector<zu::PackageInfo>& packages);
  std::shared_ptr<const Catalogue> describe() const;
  std::optional<ChosenVoice> tryLanguage(const std::string& language, const std::string& voice,
                                         const std::set<std::string>& avoided);
  std::optional<ChosenVoice> tryManager(const std::shared_ptr<TextToSpeechManager>& candidate,
                                        const std::string& language, const std::string& voice,
                                        const std::set<std::string>& avoided);
  const std::vector<Package>& packageManifests();
  std::shared_ptr<TextToSpeechManager> otherManager(const std::string& engine);

  TextToSpeechEngineCallbackInterface* callback;
  boost::shared_ptr<TTSLanguageInfo> languageInfo;
  std::vector<zu::PackageInfo> installed;
  std::shared_ptr<TextToSpeechManager> manager;  ///< null where no engine can be used
  std::shared_ptr<const Catalogue> catalogue;
  std::optional<std::vector<Package>> manifests;  ///< read when they are first needed
  std::map<std::string, std::shared_ptr<TextToSpeechManager>> others;  ///< by manifests' "engine"
  std::string lastError;
  std::optional<ChosenVoice> ready;  ///< what was chosen last
};

}  // namespace KQ::speaking
