#pragma once

#include <string>

namespace tool {

/// Owns an open file and closes it.
class FileDescriptor {
 public:
  explicit FileDescriptor(int descriptor = -1) noexcept : fd(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : fd(other.release()) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept;
  ~FileDescriptor();

  /// Opens a file for writing. Empties it if it exists.
  /// \throws Failure if that is not possible
  static FileDescriptor openForWriting(const std::string& path);
  /// \throws Failure if that is not possible
  static FileDescriptor duplicateOf(int descriptor);

  int get() const noexcept { return fd; }
  /// Releases the ownership of the file, which stays open.
  int release() noexcept;

 private:
  int fd;
};

}  // namespace tool
