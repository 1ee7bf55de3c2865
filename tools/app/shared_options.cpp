#include "app/shared_options.hpp"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <boost/filesystem/operations.hpp>
#include <iostream>

#include "text/utf8.hpp"

namespace tool {

namespace {

void noteFoldersWithoutPlugins(const HostOptions& options) {
  for (const std::string& folder : options.engineFolders) {
    boost::system::error_code ignored;
    if (!boost::filesystem::is_directory(folder + "/kqtts", ignored)) {
      std::cerr << "kqtts: note: there is no folder " << oneLine(folder)
                << "/kqtts, so --engines finds no plug-in there\n";
    }
  }
}

}  // namespace

void addHostOptions(CLI::App& parser, HostOptions& options) {
  parser
      .add_option("--packages", options.packageFolders,
                  "Look for packages only in DIR: one package, or a folder of packages; repeatable")
      ->option_text("DIR")
      ->check(CLI::ExistingDirectory)
      ->allow_extra_args(false);
  parser
      .add_option("--engines", options.engineFolders,
                  "Look for engine plug-ins in DIR/kqtts first; repeatable")
      ->option_text("DIR")
      ->check(CLI::ExistingDirectory)
      ->allow_extra_args(false);
  parser.callback([&options] { noteFoldersWithoutPlugins(options); });
  parser.add_flag("--in-process", options.inProcess,
                  "Run engines in this process, not each in its own");
}

void addVoiceOptions(CLI::App& parser, VoiceChoice& choice) {
  parser
      .add_option("-l,--language", choice.language,
                  "Its name, its locale or its code (French, fr_FR, fr)")
      ->option_text("LANGUAGE");
  parser.add_option("-v,--voice", choice.voice, "A voice, as 'kqtts list voices' names it")
      ->option_text("VOICE");
}

void addPatienceOption(CLI::App& parser, Patience& patience) {
  parser
      .add_option("--timeout", patience.seconds,
                  "How long a plug-in may take before it counts as hung (10)")
      ->option_text("SECONDS")
      ->check(CLI::Range(0.1, 3600.0));
}

}  // namespace tool
