#pragma once

namespace zu::os {

/// Whether a file is a shared library whose program headers name more bytes than it has, as after a
/// copy that was broken off. The loader maps such a file all the same, and the process dies by SIGBUS
/// when it reads what is missing. False for whatever is no library or cannot be read: the loader
/// reports that.
bool isCutShort(const char* path);

}  // namespace zu::os
