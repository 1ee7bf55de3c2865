#include "dictionary/user_dictionaries.hpp"

#include <utility>

namespace KQ::engines {

void UserDictionaries::load(const std::string& language) {
  const std::lock_guard<std::mutex> lock(fileMutex);
  keep(language, DictionaryFile(DictionaryFile::userFolder(), language).read());
}

void UserDictionaries::unload(const std::string& language) {
  const std::lock_guard<std::mutex> lock(mutex);
  byLanguage.erase(language);
}

void UserDictionaries::unloadAll() {
  const std::lock_guard<std::mutex> lock(mutex);
  byLanguage.clear();
}

bool UserDictionaries::add(const std::string& language, const DictionaryEntry& entry) {
  return update(language, [&](UserDictionary& dictionary) { return dictionary.add(entry); });
}

bool UserDictionaries::remove(const std::string& language, const std::string& word) {
  return update(language, [&](UserDictionary& dictionary) { return dictionary.remove(word); });
}

bool UserDictionaries::update(const std::string& language,
                              const std::function<bool(UserDictionary&)>& change) {
  const std::lock_guard<std::mutex> lock(fileMutex);
  bool isChanged = false;
  keep(language, DictionaryFile(DictionaryFile::userFolder(), language)
                     .update([&](UserDictionary& dictionary) {
                       isChanged = change(dictionary);
                       return isChanged;
                     }));
  return isChanged;
}

void UserDictionaries::keep(const std::string& language, UserDictionary dictionary) {
  auto kept = std::make_shared<const UserDictionary>(std::move(dictionary));
  const std::lock_guard<std::mutex> lock(mutex);
  byLanguage[language].swap(kept);
}

std::shared_ptr<const UserDictionary> UserDictionaries::loaded(const std::string& language) const {
  const std::lock_guard<std::mutex> lock(mutex);
  const auto found = byLanguage.find(language);
  return found == byLanguage.end() ? nullptr : found->second;
}

}  // namespace KQ::engines
