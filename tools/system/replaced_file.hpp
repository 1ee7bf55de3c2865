#pragma once

#include <string>

#include "system/file_descriptor.hpp"

namespace tool {

/// Writes a file under a temporary name and renames it when it is complete. After a failure there
/// is no broken file, and an earlier file of that name is unchanged.
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
  /// Where the file is until commit().
  const std::string& path() const { return temporary; }

  /// Moves the file to its place, with the permissions of the file that it replaces.
  /// \throws Failure if that is not possible
  void commit();

 private:
  [[noreturn]] void fail(const std::string& name, const char* reason) const;

  std::string advice;
  std::string place;
  std::string temporary;  ///< "" after commit()
  FileDescriptor file;
};

}  // namespace tool
