#pragma once

#include <string>

#include "check_engine/checkup.hpp"

namespace tool {

/// What came of a plug-in's checks, for people.
std::string textReport(const Checkup& checkup);

/// For programs; with an end of line.
std::string jsonReport(const Checkup& checkup);

/// In the XML form that build servers read: one test case for each check.
std::string junitReport(const Checkup& checkup);

}  // namespace tool
