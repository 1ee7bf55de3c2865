#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "dictionary/dictionary_file.hpp"

namespace KQ::engines {

/// The user's dictionaries that one engine has loaded, by language. May be used from several
/// threads at once. Operations on files throw DictionaryError, and then change nothing.
class UserDictionaries {
 public:
  /// Reads a language's dictionary, even if it is loaded.
  void load(const std::string& language);

  void unload(const std::string& language);
  void unloadAll();

  /// Adds an entry to the file, and loads it.
  /// \return false if the file has the same entry
  bool add(const std::string& language, const DictionaryEntry& entry);

  /// Removes the entries of a word from the file, and loads it.
  /// \return whether there was one
  bool remove(const std::string& language, const std::string& word);

  /// Returns a language's dictionary, or null if it is not loaded.
  std::shared_ptr<const UserDictionary> loaded(const std::string& language) const;

 private:
  bool update(const std::string& language, const std::function<bool(UserDictionary&)>& change);
  void keep(const std::string& language, UserDictionary dictionary);

  std::mutex
      fileMutex;  ///< held while a file is read or changed, so that the newest content is kept
  mutable std::mutex mutex;
  std::map<std::string, std::shared_ptr<const UserDictionary>> byLanguage;  ///< guarded by mutex
};

}  // namespace KQ::engines
