#include "patience_option.hpp"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

namespace tool {

void addPatienceOption(CLI::App& parser, Patience& patience) {
  parser
      .add_option("--timeout", patience.seconds,
                  "How long a plug-in may take before it counts as hung (10)")
      ->option_text("SECONDS")
      ->check(CLI::Range(0.1, 3600.0));
}

}  // namespace tool
