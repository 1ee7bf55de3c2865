#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace KQ::isolation {

/// \name What the environment says
/// Variables are ignored in a set-user-id process.
/// @{

/// KQTTS_ISOLATION_PATIENCE: milliseconds in which an engine has to answer, from 100 to 600000;
/// else 2000.
std::chrono::milliseconds patienceFromEnvironment();

/// KQTTS_ISOLATION_SANDBOX: whether it is anything but "off".
bool isSandboxWanted();

/// What of this process's environment a child gets: where the user's files and the libraries are,
/// locale, time zone, the library's and the synthesisers' own variables, and those that
/// KQTTS_ISOLATION_ENVIRONMENT names, separated by commas.
std::vector<std::string> childEnvironment();

/// The folders in which an engine may write: the user's dictionaries.
std::vector<std::string> writableFolders();

/// @}

}  // namespace KQ::isolation
