#pragma once

#include <string>

#include "system/file_descriptor.hpp"

namespace tool {

/// A file that is written beside its place and takes it only when it is whole: a failure leaves no
/// broken file, and an earlier file of that name as it was.
class ReplacedFile {
 public:
  /// \param target  where the file is to stand; a symbolic link is followed
  /// \param whatToDo  what a failure tells the user to do about it
  /// \throws Failure when no file can be made there
  ReplacedFile(const std::string& target, std::string whatToDo);
  ~ReplacedFile();
  ReplacedFile(const ReplacedFile&) = delete;
  ReplacedFile& operator=(const ReplacedFile&) = delete;

  int descriptor() const { return file.get(); }
  /// Where the file is until commit().
  const std::string& path() const { return temporary; }

  /// Puts the file in its place, with the permissions of the one that stood there.
  /// \throws Failure when that cannot be
  void commit();

 private:
  [[noreturn]] void fail(const std::string& name, const char* reason) const;

  std::string advice;
  std::string place;
  std::string temporary;  ///< "" once it is in its place
  FileDescriptor file;
};

}  // namespace tool
