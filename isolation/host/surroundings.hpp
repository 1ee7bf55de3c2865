#pragma once

#include <kqtts/tts_language_info.hpp>

#include "isolation/protocol/messages.hpp"

namespace KQ::isolation {

/// What an engine in process would see of its host. \param table  may be null
Surroundings surroundings(TTSLanguageInfo* table);

/// Puts an entry into one of the table's maps, as the engine put it into the child's.
void setLocaleEntry(TTSLanguageInfo& table, bool isByLocale, const std::string& key,
                    const std::string& value);

}  // namespace KQ::isolation
