#include "isolation/host/environment.hpp"

#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

namespace KQ::isolation {

namespace {

constexpr std::array<std::string_view, 12> passedNames{
    "HOME",   "LANG", "LANGUAGE", "LD_LIBRARY_PATH", "PATH",         "TEMP",
    "TMPDIR", "TZ",   "USER",     "ASAN_OPTIONS",    "TSAN_OPTIONS", "UBSAN_OPTIONS"};
constexpr std::array<std::string_view, 5> passedBeginnings{"LC_", "XDG_", "KQTTS_", "ZU_LOG_",
                                                           "ESPEAK_"};

std::string_view valueOf(const char* name) {
  const char* const value = secure_getenv(name);
  return value != nullptr ? value : "";
}

bool isListed(std::string_view name, std::string_view list) {
  while (!list.empty()) {
    const std::size_t comma = std::min(list.find(','), list.size());
    if (list.substr(0, comma) == name) {
      return true;
    }
    list.remove_prefix(std::min(comma + 1, list.size()));
  }
  return false;
}

bool isPassed(std::string_view name, std::string_view more) {
  return std::find(passedNames.begin(), passedNames.end(), name) != passedNames.end() ||
         std::any_of(
             passedBeginnings.begin(), passedBeginnings.end(),
             [&](std::string_view begin) { return name.substr(0, begin.size()) == begin; }) ||
         isListed(name, more);
}

}  // namespace

std::chrono::milliseconds patienceFromEnvironment() {
  constexpr int lowest = 100;
  constexpr int highest = 600000;
  constexpr int usual = 2000;
  const std::string_view text = valueOf("KQTTS_ISOLATION_PATIENCE");
  int milliseconds = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), milliseconds);
  const bool isNumber = error == std::errc() && end == text.data() + text.size();
  return std::chrono::milliseconds(isNumber ? std::clamp(milliseconds, lowest, highest) : usual);
}

bool isSandboxWanted() {
  return valueOf("KQTTS_ISOLATION_SANDBOX") != "off";
}

std::vector<std::string> childEnvironment() {
  std::vector<std::string> passed;
  const std::string_view more = valueOf("KQTTS_ISOLATION_ENVIRONMENT");
  for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
    const std::string_view text = *variable;
    if (isPassed(text.substr(0, text.find('=')), more)) {
      passed.emplace_back(text);
    }
  }
  if (isSandboxWanted()) {
    // Has sound libraries not look for a server, which they cannot reach: no address is for this
    // machine.
    passed.emplace_back("PULSE_SERVER={none}");
  }
  return passed;
}

std::vector<std::string> writableFolders() {
  const std::string_view data = valueOf("XDG_DATA_HOME");
  if (!data.empty() && data.front() == '/') {
    return {std::string(data) + "/kqtts/dictionaries"};
  }
  const std::string_view home = valueOf("HOME");
  if (!home.empty() && home.front() == '/') {
    return {std::string(home) + "/.local/share/kqtts/dictionaries"};
  }
  return {};
}

}  // namespace KQ::isolation
