#pragma once

#include <string>
#include <vector>
#include <zu/package_info.hpp>

namespace KQ {
class TextToSpeechEngine;
}

namespace tool {

/// The folders that hold installed packages, in order: those of the environment variable
/// KQTTS_PACKAGE_PATH (separated by colons; ignored in a set-user-id process), share/kqtts/packages
/// beside the folder of the running program, kqtts/packages in the user's and the system's data
/// folders (XDG_DATA_HOME, XDG_DATA_DIRS).
std::vector<std::string> standardPackageFolders();

/// The packages in a list of folders, in the order of the folders and then by name. A folder is a
/// package itself when it holds a manifest.xml, else each folder in it that does. Of packages with
/// one uuid the first is taken; one without a uuid, or with a
/// manifest of more than 1 MiB, is left out with a warning. \param reader  any
/// engine; it reads the manifests
std::vector<zu::PackageInfo> findPackages(const std::vector<std::string>& folders,
                                          const KQ::TextToSpeechEngine& reader);

}  // namespace tool
