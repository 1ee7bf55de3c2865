#pragma once

#include <array>
#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <map>
#include <string>
#include <vector>
#include <zu/package_info.hpp>

namespace KQ::isolation {

using Names = std::vector<std::string>;
using Voices = std::map<std::string, std::string>;
using Packages = std::vector<zu::PackageInfo>;

/// What a call gives when its engine does not answer as it should.
enum class OnFailure : std::uint8_t { neutral, error };

/// Whether a call brings the language table and the log levels up to date first.
enum class Pace : std::uint8_t { quick, thorough };

/// What of a call a new process must be told to be where the old one was.
enum class Memory : std::uint8_t {
  none,
  once,          ///< its last use
  named,         ///< its last use for each first argument
  loaded,        ///< as `named`; replayed before all others
  standing,      ///< the language and the voice that it leads to
  dictionary,    ///< that the current language's dictionary is loaded
  noDictionary,  ///< that it is not
};

/// The calls by name, as numbers on the wire.
enum class Call : std::uint8_t {
#define OPERATION(result, name, ...) name,
#define HOOK(result, name, ...) name,
#include "isolation/protocol/calls.def"
  load,    ///< loads the plug-in, and puts its engine where another one was
  unload,  ///< ends the engine
  last = unload,
};

/// A row of the table.
struct CallRow {
  const char* method;
  OnFailure onFailure;
  Pace pace;
  Memory memory;
};

inline constexpr std::array callTable{
#define OPERATION(result, name, parameters, qualifier, arguments, method, failure, pace, memory) \
  CallRow{method, OnFailure::failure, Pace::pace, Memory::memory},
#define HOOK(result, name, parameters, qualifier, arguments, method, failure, pace, memory) \
  CallRow{method, OnFailure::failure, Pace::pace, Memory::memory},
#include "isolation/protocol/calls.def"
    CallRow{"load_plugin", OnFailure::neutral, Pace::thorough, Memory::none},
    CallRow{"unload_plugin", OnFailure::neutral, Pace::quick, Memory::none},
};
static_assert(callTable.size() == static_cast<std::size_t>(Call::last) + 1);

constexpr const CallRow& row(Call call) {
  return callTable[static_cast<std::size_t>(call)];
}

}  // namespace KQ::isolation
