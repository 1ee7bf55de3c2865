#pragma once

#include <string>

#include "system/file_descriptor.hpp"

namespace tool {

/// The program's standard output, reserved for the result. While this object lives, everything that
/// libraries and plug-ins print goes to standard error.
///
/// Create it once, before any file is opened: it first opens standard streams that are closed, so
/// that no other file gets their numbers.
class StandardOutput {
 public:
  StandardOutput();
  ~StandardOutput();
  StandardOutput(const StandardOutput&) = delete;
  StandardOutput& operator=(const StandardOutput&) = delete;

  int descriptor() const { return file.get(); }

  /// Writes a whole text.
  /// \throws Failure if that is not possible
  void write(const std::string& text) const;

 private:
  FileDescriptor file;
};

/// Writes all bytes, in as many pieces as necessary.
/// \return 0, or the error number
int writeAll(int fd, const void* data, std::size_t size);

}  // namespace tool
