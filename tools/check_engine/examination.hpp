#pragma once

#include <chrono>
#include <kq/error.hpp>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>
#include <zu/package_info.hpp>

#include "probe/exception_text.hpp"
#include "probe/probe.hpp"
#include "text/utf8.hpp"

namespace tool {

/// What is checked, and with what.
struct Candidate {
  std::string plugin;  ///< the library's absolute path
  std::vector<zu::PackageInfo> packages;
  std::chrono::milliseconds timeout;  ///< for one check
};

/// The names of what a check sends to its parent.
namespace messages {
constexpr const char* finding = "finding";  ///< where the contract is not kept
constexpr const char* note = "note";        ///< worth knowing
constexpr const char* skipped = "skipped";  ///< why the check cannot be made
constexpr const char* broken = "broken";    ///< the check had to end early
}  // namespace messages

/// One check as it runs in its own process. Sends what it does and what it finds to the parent.
class Examination {
 public:
  /// Thrown to end a check early.
  struct Ended {};

  Examination(const Candidate& examined, ProbeChannel& parent)
      : candidate(examined), channel(parent) {}

  const std::string& plugin() const { return candidate.plugin; }
  const std::vector<zu::PackageInfo>& packages() const { return candidate.packages; }

  /// The longest time that an answer may take which the contract wants soon.
  std::chrono::milliseconds patience() const;

  void step(const std::string& what) const { channel.step(oneLine(what)); }
  void find(const std::string& what) const { send(messages::finding, what); }
  void note(const std::string& what) const { send(messages::note, what); }

  /// Sends a finding unless the condition holds.
  void expect(bool condition, const std::string& otherwise) const {
    if (!condition) {
      find(otherwise);
    }
  }

  /// Ends the check: it cannot be made.
  [[noreturn]] void skip(const std::string& why) const;

  /// Ends the check with a finding.
  [[noreturn]] void abandon(const std::string& finding) const;

  /// Runs an operation that must succeed. An exception is a finding and ends the check.
  template <typename Operation>
  auto require(const std::string& what, Operation&& operation) const -> decltype(operation()) {
    step(what);
    try {
      return operation();
    } catch (...) {
      abandon(what + " threw " + describeException().withType());
    }
  }

  /// Runs an operation that must throw KQError. All else is a finding. \return whether it threw it
  template <typename Operation>
  bool expectRefusal(const std::string& what, Operation&& operation) const {
    step(what);
    try {
      operation();
      find(what + " was accepted; it must be refused by a KQError");
    } catch (const KQError&) {
      return true;
    } catch (...) {
      find(what + " was refused by " + describeException().withType() + "; it must be a KQError");
    }
    return false;
  }

 private:
  void send(const char* kind, const std::string& what) const;

  const Candidate& candidate;
  ProbeChannel& channel;
};

}  // namespace tool
