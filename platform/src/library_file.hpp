#pragma once

namespace zu::os {

/// Whether a file is a shared library that is shorter than its program headers say, for example
/// after an interrupted copy. The loader maps such a file all the same, and SIGBUS ends the process
/// when it reads the missing part. False for a file that is not a library or cannot be read: the
/// loader reports those.
bool isCutShort(const char* path);

}  // namespace zu::os
