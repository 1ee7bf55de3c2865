#pragma once

#include <string>

#include "system/file_descriptor.hpp"

namespace tool {

/// Writes a file that takes its place when it is complete. After a failure there is no broken file,
/// and an earlier file of that name is unchanged. Until then the file has no name, so it vanishes
/// with the process; on a file system without such files it has a name that nobody can guess.
class ReplacedFile {
 public:
  /// \param target  the path of the file; a symbolic link is followed
  /// \param whatToDo  the advice in the text of a failure
  /// \throws Failure if no file can be created there
  ReplacedFile(const std::string& target, std::string whatToDo);
  ~ReplacedFile();
  ReplacedFile(const ReplacedFile&) = delete;
  ReplacedFile& operator=(const ReplacedFile&) = delete;

  int descriptor() const { return file.get(); }
  /// A path under which this process can open the file until commit().
  std::string path() const;

  /// Moves the file to its place, with the permissions of the file that it replaces.
  /// \throws Failure if that is not possible
  void commit();

 private:
  [[noreturn]] void fail(const std::string& name, const char* reason) const;
  void createNamed();
  bool linkTo(const std::string& name) const;

  std::string advice;
  std::string place;
  std::string temporary;  ///< the file's name before commit(), or ""
  FileDescriptor file;
};

}  // namespace tool
