#include "isolation/host/surroundings.hpp"

#include <algorithm>
#include <array>

namespace KQ::isolation {

namespace {

using zu::log::Level;

/// Never instantiated: it is derived from the table for the sake of access.
struct TableAccess : TTSLanguageInfo {
  static std::map<std::string, std::string>& byLocale(TTSLanguageInfo& table) {
    return table.*(&TableAccess::localeToLanguage);
  }
  static std::map<std::string, std::string>& byLanguage(TTSLanguageInfo& table) {
    return table.*(&TableAccess::languageToLocale);
  }
};

Level levelOf(const std::string& category) {
  constexpr std::array levels{Level::debug,   Level::verbose, Level::info,
                              Level::warning, Level::error,   Level::fatal};
  const auto* const found = std::find_if(levels.begin(), levels.end(), [&](Level level) {
    return zu::log::isEnabled(level, category);
  });
  return found != levels.end() ? *found : Level::silent;
}

}  // namespace

Surroundings surroundings(TTSLanguageInfo* table) {
  Surroundings all;
  if (table != nullptr) {
    all.languages = {TableAccess::byLocale(*table), TableAccess::byLanguage(*table)};
  }
  // Asking makes no category known, so that this one has the level of all.
  all.levels.others = levelOf("engine.isolated (any other)");
  for (const std::string& name : zu::log::categories()) {
    const Level level = levelOf(name);
    if (level != all.levels.others) {
      all.levels.byName[name] = level;
    }
  }
  return all;
}

void setLocaleEntry(TTSLanguageInfo& table, bool isByLocale, const std::string& key,
                    const std::string& value) {
  (isByLocale ? TableAccess::byLocale(table) : TableAccess::byLanguage(table))[key] = value;
}

}  // namespace KQ::isolation
