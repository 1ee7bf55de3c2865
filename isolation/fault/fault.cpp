#include "isolation/fault/fault.hpp"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <kq/error.hpp>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "isolation/protocol/calls.hpp"

namespace KQ::isolation {

namespace {

constexpr std::size_t hugeText = std::size_t{64} << 20U;
constexpr int exitStatus = 3;

/// Known to nobody outside this library.
struct OwnException {
  std::string text = "an exception of a type that only the engine knows";
};

bool isPlace(std::string_view name) {
  return std::find(faultPlaces.begin(), faultPlaces.end(), name) != faultPlaces.end() ||
         std::any_of(callTable.begin(), callTable.end(),
                     [&](const CallRow& row) { return name == row.method; });
}

FaultKind kindNamed(std::string_view name) {
  for (const FaultKindName& row : faultKinds) {
    if (row.name == name) {
      return row.kind;
    }
  }
  std::string known;
  for (const FaultKindName& row : faultKinds) {
    known.append(known.empty() ? "" : ", ").append(row.name);
  }
  throw std::invalid_argument("no fault is called \"" + std::string(name) + "\", only " + known);
}

std::string_view takeUpTo(char separator, std::string_view& text) {
  const std::size_t end = std::min(text.find(separator), text.size());
  const std::string_view part = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return part;
}

[[noreturn]] void raiseDefault(int number) {
  signal(number, SIG_DFL);
  raise(number);
  _exit(exitStatus);
}

[[noreturn]] void computeForEver() {
  for (std::atomic<unsigned> turns{0};; ++turns) {
  }
}

[[noreturn]] void waitForEver() {
  for (;;) {
    pause();
  }
}

[[noreturn]] void waitForALock() {
  static std::mutex mutex;
  mutex.lock();
  std::thread([] { mutex.lock(); }).join();
  waitForEver();
}

}  // namespace

Fault Fault::parse(std::string_view text) {
  const std::string whole(text);
  Fault fault;
  fault.kind = kindNamed(takeUpTo(':', text));
  fault.place = takeUpTo(':', text);
  if (const std::size_t equals = fault.place.find('='); equals != std::string::npos) {
    fault.word = fault.place.substr(equals + 1);
    fault.place.resize(equals);
  }
  if (!isPlace(fault.place) || (!fault.word.empty() && fault.place != "word")) {
    throw std::invalid_argument("\"" + fault.place + "\" is no place for a fault");
  }
  if (!text.empty()) {
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), fault.occurrence);
    if (error != std::errc() || end != text.data() + text.size() || fault.occurrence < 1) {
      throw std::invalid_argument("\"" + whole + "\" does not end with a number from 1 on");
    }
  }
  return fault;
}

bool FaultTrigger::reach(std::string_view place, std::string_view word) const {
  return place == fault.place && (fault.word.empty() || fault.word == word) &&
         ++visits == fault.occurrence;
}

void commit(FaultKind kind) {
  switch (kind) {
    case FaultKind::crash:
      raiseDefault(SIGSEGV);
    case FaultKind::abort:
      raiseDefault(SIGABRT);
    case FaultKind::exit:
      std::exit(exitStatus);
    case FaultKind::loop:
      computeForEver();
    case FaultKind::sleep:
      waitForEver();
    case FaultKind::deadlock:
      waitForALock();
    case FaultKind::foreign:
      throw OwnException();
    case FaultKind::huge:
    case FaultKind::flood:
      throw KQError("FaultyEngine", "fault", std::string(hugeText, 'x'), nullptr, 0);
    case FaultKind::audio:
    case FaultKind::late:
      return;
  }
}

}  // namespace KQ::isolation
