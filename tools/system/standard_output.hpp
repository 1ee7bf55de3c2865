#pragma once

#include <string>

#include "system/file_descriptor.hpp"

namespace tool {

/// The program's standard output, kept for what the user asked for: while this lives, whatever
/// libraries and plug-ins print goes to standard error.
///
/// Made once, before anything else is opened: a standard stream that is closed is put in its place
/// first, so that no other file gets its number.
class StandardOutput {
 public:
  StandardOutput();
  ~StandardOutput();
  StandardOutput(const StandardOutput&) = delete;
  StandardOutput& operator=(const StandardOutput&) = delete;

  int descriptor() const { return file.get(); }

  /// Writes a text whole.
  /// \throws Failure when that cannot be
  void write(const std::string& text) const;

 private:
  FileDescriptor file;
};

/// Writes all bytes, however many pieces that takes.
/// \return 0, or the error number
int writeAll(int fd, const void* data, std::size_t size);

}  // namespace tool
