#pragma once

#include <chrono>
#include <kq/error.hpp>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>
#include <zu/package_info.hpp>

#include "system/child_process.hpp"

namespace tool {

/// What is checked, and with what.
struct Candidate {
  std::string plugin;  ///< the library's absolute path
  std::vector<zu::PackageInfo> packages;
  std::chrono::milliseconds timeout;  ///< for one check
};

/// What a message of a check means; its first character.
enum class MessageKind : char {
  step = 's',     ///< what is done next; a plug-in that brings its process down does so in this
  finding = 'f',  ///< the contract is not kept
  note = 'n',     ///< worth knowing
  skipped = 'x',  ///< why the check cannot be made
  broken = 'b'    ///< the check had to end early
};

/// The current exception, in words: its type and what it tells. To be called in a handler.
std::string describeException();

/// One check as it goes on in its own process: tells the parent what it does and what it finds.
class Examination {
 public:
  /// Thrown to end a check early.
  struct Ended {};

  Examination(const Candidate& examined, const ChildChannel& parent)
      : candidate(examined), channel(parent) {}

  const std::string& plugin() const { return candidate.plugin; }
  const std::vector<zu::PackageInfo>& packages() const { return candidate.packages; }

  /// How long an answer may take that is to come "soon".
  std::chrono::milliseconds patience() const;

  void step(const std::string& what) const { tell(MessageKind::step, what); }
  void find(const std::string& what) const { tell(MessageKind::finding, what); }
  void note(const std::string& what) const { tell(MessageKind::note, what); }

  /// A finding unless the condition holds.
  void expect(bool condition, const std::string& otherwise) const {
    if (!condition) find(otherwise);
  }

  /// Ends the check: it cannot be made.
  [[noreturn]] void skip(const std::string& why) const;

  /// Ends the check with a finding.
  [[noreturn]] void abandon(const std::string& finding) const;

  /// Does what must succeed. An exception is a finding, and ends the check.
  template <typename Operation>
  auto require(const std::string& what, Operation&& operation) const -> decltype(operation()) {
    step(what);
    try {
      return operation();
    } catch (...) {
      abandon(what + " threw " + describeException());
    }
  }

  /// Does what must be refused by a KQError; all else is a finding. \return whether it was
  template <typename Operation>
  bool expectRefusal(const std::string& what, Operation&& operation) const {
    step(what);
    try {
      operation();
      find(what + " was accepted; it must be refused by a KQError");
    } catch (const KQError&) {
      return true;
    } catch (...) {
      find(what + " was refused by " + describeException() + "; it must be a KQError");
    }
    return false;
  }

 private:
  void tell(MessageKind kind, const std::string& what) const;

  const Candidate& candidate;
  const ChildChannel& channel;
};

}  // namespace tool
