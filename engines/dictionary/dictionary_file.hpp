#pragma once

#include <boost/filesystem/path.hpp>
#include <functional>
#include <string>

#include "dictionary/user_dictionary.hpp"

namespace KQ::engines {

/// The user's dictionary of one language on disk, which all engines of all the user's processes share.
///
/// A text file with one entry a line: the word, a tab, its replacement, a tab, and "any" or "exact".
class DictionaryFile {
 public:
  /// \param folder    is made when something is written
  /// \param language  any name that is not empty; its file is called as it is, with %XX for each byte
  ///                  that is no ASCII letter or digit
  /// \throws DictionaryError for an empty name, or one that is too long for a file
  DictionaryFile(const boost::filesystem::path& folder, const std::string& language);

  /// The folder of the user's dictionaries: "kqtts/dictionaries" in $XDG_DATA_HOME, else in
  /// ~/.local/share.
  /// \throws DictionaryError when neither is known
  static boost::filesystem::path userFolder();

  const boost::filesystem::path& path() const { return file; }

  /// Reads it; empty if there is none.
  /// \throws DictionaryError when it cannot be read, or a line of it is no entry
  UserDictionary read() const;

  /// Reads, changes and replaces it as a whole, while no other process does: a reader finds either the
  /// former or the new one, whatever happens.
  /// \param change  returns whether anything has changed
  /// \throws DictionaryError when it cannot be read or written, or another process keeps it for more
  ///         than three seconds; what `change` throws. The file is as it was then
  UserDictionary update(const std::function<bool(UserDictionary&)>& change) const;

  /// A longer one, in bytes, is neither read nor written.
  static constexpr std::size_t longest = std::size_t{8} << 20U;

 private:
  void write(const UserDictionary& dictionary) const;

  boost::filesystem::path file;
};

}  // namespace KQ::engines
