#include <algorithm>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <map>

#include "doctor/finding_list.hpp"
#include "doctor/library_file.hpp"
#include "probe/installation.hpp"
#include "probe/plugin_library.hpp"

namespace tool {

namespace {

using boost::algorithm::contains;
using boost::algorithm::join;

/// Explains what became of each plug-in.
class PluginFindings {
 public:
  PluginFindings(const Installation& examined, FindingList& findings)
      : installation(examined), list(findings) {}

  void explain() {
    for (const PluginReport& plugin : installation.plugins) {
      for (const std::string& path : plugin.search.noFiles) {
        list.add(list.bad(), "plugin-not-a-file", path + " is a folder, or leads to no file",
                 "put the library of the plug-in in its place");
      }
      explainPlugin(plugin);
      for (const std::string& path : plugin.search.hidden) {
        list.add(Severity::note, "plugin-hidden",
                 path + " is not used: " + plugin.search.library + " comes before it",
                 "remove the one that is not wanted");
      }
    }
    for (const std::string& path : installation.unloadedLibraries) {
      list.add(list.bad(), "plugin-not-loaded", path + " is loaded by no host",
               "give it a name that hosts load, " + join(loadedFileNames(), ", ") +
                   ", in a folder of its own; or remove it");
    }
  }

 private:
  bool hasAnyLibrary() const {
    return std::any_of(installation.plugins.begin(), installation.plugins.end(),
                       [](const PluginReport& plugin) { return !plugin.search.library.empty(); });
  }

  bool speaksAny() const {
    return std::any_of(installation.plugins.begin(), installation.plugins.end(),
                       [](const PluginReport& plugin) { return plugin.started; });
  }

  void explainPlugin(const PluginReport& plugin) {
    if (plugin.search.library.empty()) {
      const bool isNeeded = !hasAnyLibrary();
      list.add(isNeeded ? list.bad() : Severity::note, "plugin-absent",
               plugin.name + " is not installed",
               "install the engine, or name the folder that holds kqtts/libkqtts-" + plugin.name +
                   ".so with --engines or ZU_LIBRARY_PATH" + (isNeeded ? "" : ", if it is wanted"));
    } else if (plugin.isHarmful()) {
      explainMishap(plugin);
    } else if (!plugin.created) {
      explainUnloadable(plugin);
    } else if (!plugin.started) {
      explainRefusal(plugin);
    } else {
      explainRunning(plugin);
    }
  }

  void explainRefusal(const PluginReport& plugin) {
    const std::vector<std::string> complaints = complaintsOf(plugin);
    const bool isMissed = !complaints.empty() || !speaksAny();
    list.add(isMissed ? list.bad() : Severity::note, "engine-refused",
             plugin.name + " refused to start" + from(plugin),
             complaints.empty()
                 ? "it does not complain, so it may have no package: see the packages below"
                 : "mend what it complains of; see also the packages below",
             complaints);
  }

  void explainMishap(const PluginReport& plugin) {
    const auto defect = inspectLibrary(plugin.search.library);
    if (defect && plugin.probe.step == steps::open) {
      addDefect(plugin, *defect, {});
      return;
    }
    static const std::map<std::string, std::string> whiles = {
        {steps::open, "while its library was opened"},
        {steps::create, "while it created its engine"},
        {steps::initialize, "while its engine was initialised"},
        {steps::describe, "when its engine was asked what it offers"},
    };
    const auto when = whiles.find(plugin.probe.step);
    const Mishap mishap = mishapOf(plugin.probe);
    list.add(list.bad(), "plugin-" + mishap.cause,
             plugin.name + " " + mishap.text + (when == whiles.end() ? "" : " " + when->second) +
                 from(plugin),
             "repair or remove it: it takes every host along that loads it", mishap.details);
  }

  void explainUnloadable(const PluginReport& plugin) {
    const std::string& error = plugin.openingError;
    const std::vector<std::string> said = {error};
    if (error.empty()) {
      explainWithoutEngine(plugin);
    } else if (const auto defect = inspectLibrary(plugin.search.library)) {
      addDefect(plugin, *defect, said);
    } else if (contains(error, "undefined symbol")) {
      list.add(list.bad(), "plugin-symbol-missing",
               plugin.name + " needs a function that nobody has" + from(plugin),
               "build it again, against the libraries that are installed here", said);
    } else if (contains(error, "cannot open shared object file")) {
      list.add(list.bad(), "plugin-dependency-missing",
               plugin.name + " needs a library that is not installed" + from(plugin),
               "install the library that is named; ldd " + plugin.search.library + " lists all",
               said);
    } else {
      list.add(list.bad(), "plugin-not-loadable", plugin.name + " cannot be loaded" + from(plugin),
               "install it again", said);
    }
  }

  void explainWithoutEngine(const PluginReport& plugin) {
    if (!plugin.hasEntryPoint) {
      list.add(
          list.bad(), "plugin-no-entry-point",
          plugin.name + " does not export load_plugin" + from(plugin),
          "it is no engine plug-in, or built with its entry points hidden: put the right library "
          "in its place",
          complaintsOf(plugin));
    } else {
      list.add(list.bad(), "plugin-no-engine", plugin.name + " gave no engine" + from(plugin),
               "ask its maker what it needs; --log-level debug may tell", complaintsOf(plugin));
    }
  }

  void explainRunning(const PluginReport& plugin) {
    const EngineFacts& engine = plugin.engine;
    if (engine.languages.empty()) {
      list.add(list.bad(), "engine-without-languages",
               plugin.name + " (" + engine.name + ") offers no language",
               "install packages for it; see also the packages below", complaintsOf(plugin));
    } else {
      list.add(Severity::ok, "plugin-works",
               plugin.name + ": " + engine.name + ", " +
                   counted(engine.languages.size(), "language") + ", " +
                   counted(engine.voices.size(), "voice") + from(plugin),
               "");
    }
    if (!plugin.probe.isComplete()) {
      const Mishap mishap = mishapOf(plugin.probe);
      const bool atEnd = plugin.probe.step == steps::close;
      list.add(Severity::warning, "plugin-" + mishap.cause,
               plugin.name + " " + mishap.text +
                   (atEnd ? " when it was shut down" : " when it was initialised again") +
                   from(plugin),
               "report it to its maker, with what 'kqtts check-engine' finds", mishap.details);
    }
  }

  void addDefect(const PluginReport& plugin, const LibraryDefect& defect,
                 const std::vector<std::string>& details) {
    list.add(list.bad(), defect.cause, plugin.search.library + " " + defect.text,
             "install the plug-in again, in the form for this machine", details);
  }

  static std::string from(const PluginReport& plugin) { return " (" + plugin.search.library + ")"; }

  const Installation& installation;
  FindingList& list;
};

}  // namespace

void explainPlugins(const Installation& installation, FindingList& list) {
  PluginFindings(installation, list).explain();
}

}  // namespace tool
