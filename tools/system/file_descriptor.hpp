#pragma once

#include <string>

namespace tool {

/// An open file, closed with its owner.
class FileDescriptor {
 public:
  explicit FileDescriptor(int descriptor = -1) noexcept : fd(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : fd(other.release()) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept;
  ~FileDescriptor();

  /// Opens a file for writing, emptied if it is there.
  /// \throws Failure when that cannot be
  static FileDescriptor openForWriting(const std::string& path);
  /// \throws Failure when that cannot be
  static FileDescriptor duplicateOf(int descriptor);

  int get() const noexcept { return fd; }
  /// Gives the file away, still open.
  int release() noexcept;

 private:
  int fd;
};

}  // namespace tool
