#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace KQ::isolation {

/// What a process may still do once it is in its sandbox.
struct SandboxRules {
  /// Folders in which it may make, change and remove files. One that is missing is made, for its
  /// owner alone; one that cannot be made or opened is left out.
  std::vector<std::string> writableFolders;

  /// Address space in bytes; 0 for no limit. Ignored in builds with a sanitizer, which need
  /// terabytes.
  std::uint64_t memory = std::uint64_t{1} << 30;
};

/// What enterSandbox() reached. Each text is a phrase for a report: "system calls are filtered".
struct SandboxReport {
  std::vector<std::string> holding;
  std::vector<std::string> missing;  ///< each with its reason
};

/// Gives up, for this process and for good, whatever a speech synthesiser does not need:
///
/// - privileges: it cannot gain any, and drops all capabilities but the right to read files;
/// - system calls: it cannot run programs or fork, open sockets, trace or signal other processes,
/// nor
///   change the system, the owner or mode of a file;
/// - files: it reads all that its user may read, and writes in rules.writableFolders alone (needs a
///   kernel with Landlock);
/// - memory beyond rules.memory, and core files.
///
/// What is refused fails with EPERM or EACCES; what exceeds the memory fails with ENOMEM. A step
/// that the system does not offer is reported as missing, and the others are taken all the same.
///
/// Call it while the process has one thread: some steps hold for the calling thread and those that
/// it starts later. A second call can only add limits.
SandboxReport enterSandbox(const SandboxRules& rules);

}  // namespace KQ::isolation
