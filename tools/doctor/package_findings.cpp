#include <algorithm>
#include <boost/algorithm/string/join.hpp>
#include <kqtts/package_names.hpp>
#include <map>
#include <set>

#include "doctor/finding_list.hpp"
#include "probe/installation.hpp"
#include "text/name_distance.hpp"

namespace tool {

namespace {

namespace keys = KQ::package_names;

using boost::algorithm::join;

/// Explains which packages are used, and why others are not.
class PackageFindings {
 public:
  PackageFindings(const Installation& examined, FindingList& findings)
      : installation(examined), list(findings) {}

  void explain() {
    for (const PackageFolder& folder : installation.packages.folders) {
      if (!folder.defect.empty()) {
        list.add(list.bad(), "package-folder-unreadable",
                 folder.path + " cannot be looked into: " + folder.defect,
                 "mend it, or name another");
      }
      explainWithoutManifest(folder);
      for (const SurveyedPackage& package : folder.packages) {
        explainPackage(package);
      }
    }
    if (installation.packages.installed.empty()) {
      list.add(list.bad(), "packages-none", "no package is installed",
               "install packages, or name their folder with --packages or KQTTS_PACKAGE_PATH");
    }
    explainClaimed();
    explainUnclaimed();
  }

 private:
  /// Told at once: a folder that was named by mistake may hold a great many.
  void explainWithoutManifest(const PackageFolder& folder) {
    std::vector<std::string> names;
    for (const SurveyedPackage& package : folder.packages) {
      if (package.defect.kind == FileDefect::missing) {
        names.push_back(package.path);
      }
    }
    if (names.empty()) {
      return;
    }
    const std::size_t count = names.size();
    constexpr std::size_t shown = 3;
    if (count > shown) {
      names.resize(shown);
    }
    list.add(list.bad(), "manifest-missing",
             counted(count, "folder") + " without a " + keys::manifestFile + ": " +
                 join(names, ", ") + (count > shown ? " ..." : ""),
             "install the package again, or remove the folder");
  }

  void explainPackage(const SurveyedPackage& package) {
    if (package.defect.kind == FileDefect::missing) {
      return;
    }
    const std::string manifest = package.path + "/" + keys::manifestFile;
    if (package.defect) {
      static const std::map<FileDefect::Kind, std::string> causes = {
          {FileDefect::unreadable, "manifest-unreadable"},
          {FileDefect::malformed, "manifest-malformed"},
      };
      list.add(list.bad(), causes.at(package.defect.kind), manifest + " " + package.defect.text,
               "install the package again, or remove its folder");
      return;
    }
    explainSettings(package, manifest);
    if (package.uuid.empty()) {
      return;
    }
    if (!package.isInstalled) {
      list.add(
          Severity::note, "package-duplicate",
          package.path + " is left out: a package before it has the same uuid, " + package.uuid,
          "remove the one that is not wanted");
      return;
    }
    explainVoices(package);
    if (isOutdated(package.path)) {
      list.add(list.bad(), "package-outdated",
               package.path + " is outdated: its version is " + package.version,
               "install a newer version of it; its language cannot be chosen otherwise");
    }
  }

  void explainSettings(const SurveyedPackage& package, const std::string& manifest) {
    const std::pair<const char*, const std::string*> required[] = {
        {keys::uuid, &package.uuid},
        {keys::version, &package.version},
        {keys::engine, &package.engine},
        {keys::language, &package.language},
    };
    for (const auto& [name, value] : required) {
      if (value->empty()) {
        list.add(list.bad(), std::string("manifest-no-") + name,
                 manifest + " has no setting " + quoted(name),
                 "install the package again, or add the setting");
      }
    }
    for (const std::string& name : package.unknownSettings) {
      const std::vector<std::string> near =
          closestNames(name, {keys::manifestSettings.begin(), keys::manifestSettings.end()});
      list.add(Severity::note, "manifest-unknown-setting",
               manifest + " has the setting " + quoted(name) + ", which is not known",
               near.empty() ? "nothing, if the engine knows it"
                            : "is " + quoted(near.front()) + " meant?");
    }
  }

  void explainVoices(const SurveyedPackage& package) {
    std::vector<std::string> said = complaintsAbout(package.path);
    for (const VoiceFolder& voice : package.voices) {
      if (!voice.defect) {
        continue;
      }
      list.add(list.bad(), "voice-broken",
               voice.path + "/" + keys::voiceFile + " " + voice.defect.text,
               "install the package again, or remove the voice's folder", said);
      said.clear();
    }
    if (package.voices.empty() && !isClaimed(package.path)) {
      list.add(list.bad(), "package-without-voices", package.path + " has no voices",
               "install it again", said);
    } else if (!said.empty()) {
      const char* what = isClaimed(package.path) ? " is used in part only" : " is not used";
      list.add(list.bad(), "package-refused", package.path + what,
               "mend what the engine complains of", said);
    }
  }

  void explainClaimed() {
    for (const PluginReport& plugin : installation.plugins) {
      if (plugin.claims.empty()) {
        continue;
      }
      list.add(Severity::ok, "packages-claimed",
               plugin.name + " takes " + counted(plugin.claims.size(), "package"), "");
    }
  }

  void explainUnclaimed() {
    std::map<std::string, std::vector<std::string>> pathsByEngine;
    for (const SurveyedPackage& package : installation.packages.packages()) {
      const bool isSound = !package.engine.empty() && !package.language.empty() &&
                           !package.voices.empty() && complaintsAbout(package.path).empty();
      if (package.isInstalled && isSound && !isClaimed(package.path)) {
        pathsByEngine[package.engine].push_back(package.path);
      }
    }
    for (const auto& [engine, paths] : pathsByEngine) {
      const std::string text = "no engine takes the " + counted(paths.size(), "package") + " for " +
                               quoted(engine) + ": " + paths.front() +
                               (paths.size() > 1 ? " ..." : "");
      if (installation.hasStartedPlugin()) {
        list.add(list.bad(), "package-unclaimed", text,
                 "install the engine that they are for, or correct the setting \"engine\"" +
                     enginesThatTake());
      } else {
        list.add(
            Severity::warning, "package-unclaimed", text,
            "see the plug-ins above; if one of them misses its packages, correct their setting "
            "\"engine\"");
      }
    }
  }

  /// What the packages in use say of their engine.
  std::string enginesThatTake() const {
    std::set<std::string> names;
    for (const SurveyedPackage& package : installation.packages.packages()) {
      if (isClaimed(package.path) && !package.engine.empty()) {
        names.insert(quoted(package.engine));
      }
    }
    return names.empty() ? "" : "; the packages in use are for " + join(names, ", ");
  }

  bool isClaimed(const std::string& path) const {
    return anyClaim([&](const Claim& claim) { return claim.package == path; });
  }
  bool isOutdated(const std::string& path) const {
    return anyClaim([&](const Claim& claim) { return claim.package == path && claim.outdated; });
  }

  template <typename Predicate>
  bool anyClaim(Predicate predicate) const {
    return std::any_of(installation.plugins.begin(), installation.plugins.end(),
                       [&](const PluginReport& plugin) {
                         return std::any_of(plugin.claims.begin(), plugin.claims.end(), predicate);
                       });
  }

  /// What engines logged about a package.
  std::vector<std::string> complaintsAbout(const std::string& path) const {
    std::vector<std::string> lines;
    for (const PluginReport& plugin : installation.plugins) {
      for (const std::string& line : complaintsOf(plugin)) {
        if (mentions(line, path)) {
          lines.push_back(line);
        }
      }
    }
    return lines;
  }

  /// Whether a text names a folder or something in it, and not one whose name begins so.
  static bool mentions(const std::string& text, const std::string& path) {
    static const std::string ends = "/:,;\"' ";
    for (std::size_t at = text.find(path); at != std::string::npos; at = text.find(path, at + 1)) {
      const std::size_t end = at + path.size();
      if (end == text.size() || ends.find(text[end]) != std::string::npos) {
        return true;
      }
    }
    return false;
  }

  const Installation& installation;
  FindingList& list;
};

}  // namespace

void explainPackages(const Installation& installation, FindingList& list) {
  PackageFindings(installation, list).explain();
}

}  // namespace tool
