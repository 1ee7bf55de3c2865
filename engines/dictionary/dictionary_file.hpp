#pragma once

#include <boost/filesystem/path.hpp>
#include <functional>
#include <string>

#include "dictionary/user_dictionary.hpp"

namespace KQ::engines {

/// The user's dictionary of one language on disk. All engines of all processes of the user share
/// it.
///
/// A text file with one entry a line: the word, a tab, its replacement, a tab, and "any" or
/// "exact".
class DictionaryFile {
 public:
  /// \param folder    created with the first write
  /// \param language  any name except ""; the file has this name, with %XX for each byte that is
  ///                  not an ASCII letter or digit
  /// \throws DictionaryError if the name is empty or too long for a file
  DictionaryFile(const boost::filesystem::path& folder, const std::string& language);

  /// Returns the folder of the user's dictionaries: "kqtts/dictionaries" in $XDG_DATA_HOME, or in
  /// ~/.local/share if that is not set. A process with raised rights ignores these variables: it
  /// takes the home folder that the system knows for its effective user.
  /// \throws DictionaryError when neither is known
  static boost::filesystem::path userFolder();

  const boost::filesystem::path& path() const { return file; }

  /// Reads the file. Returns an empty dictionary if there is no file.
  /// \throws DictionaryError if the file cannot be read or a line of it is not an entry
  UserDictionary read() const;

  /// Reads, changes and replaces the file while it is locked for other processes. A reader always
  /// finds either the former or the new file.
  /// \param change  returns whether it changed anything
  /// \return the dictionary after the change
  /// \throws DictionaryError if the file cannot be read or written, or another process keeps the
  ///         lock for more than three seconds; and what `change` throws. The file is then unchanged
  UserDictionary update(const std::function<bool(UserDictionary&)>& change) const;

  /// The longest file that is read or written, in bytes.
  static constexpr std::size_t longest = std::size_t{8} << 20U;

 private:
  boost::filesystem::path file;
};

}  // namespace KQ::engines
