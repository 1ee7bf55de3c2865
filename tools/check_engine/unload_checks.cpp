#include <array>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem/operations.hpp>
#include <fstream>
#include <map>

#include "check_engine/checks.hpp"
#include "check_engine/trial_engine.hpp"

namespace tool {

namespace {

namespace fs = boost::filesystem;

/// What the process holds according to the system.
struct Holdings {
  std::size_t threads = 0;
  std::map<std::string, std::string> files;  ///< descriptor to what it leads to
};

Holdings takeStock() {
  Holdings holdings;
  boost::system::error_code error;
  for (const fs::directory_entry& task : fs::directory_iterator("/proc/self/task", error)) {
    static_cast<void>(task);
    ++holdings.threads;
  }
  for (const fs::directory_entry& file : fs::directory_iterator("/proc/self/fd", error)) {
    const std::string target = fs::read_symlink(file.path(), error).string();
    const bool isThisListing = boost::algorithm::ends_with(target, "/fd");
    if (!isThisListing) {
      holdings.files[file.path().filename().string()] = target;
    }
  }
  return holdings;
}

bool isMapped(const std::string& library) {
  std::ifstream maps("/proc/self/maps");
  std::string line;
  while (std::getline(maps, line)) {
    const std::size_t path = line.find('/');
    if (path != std::string::npos && line.substr(path) == library) {
      return true;
    }
  }
  return false;
}

bool nothingNew(const Holdings& before, const Holdings& now) {
  return now.threads <= before.threads && now.files.size() <= before.files.size();
}

/// A thread that was joined stays in the system's list for a moment.
Holdings takeStockWhenSettled(const Holdings& before, std::chrono::milliseconds patience) {
  const auto end = std::chrono::steady_clock::now() + patience;
  Holdings now = takeStock();
  while (!nothingNew(before, now) && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    now = takeStock();
  }
  return now;
}

/// \return what the process holds now
Holdings compare(const Examination& exam, const Holdings& before, const std::string& when) {
  Holdings now = takeStockWhenSettled(before, exam.patience());
  exam.expect(now.threads <= before.threads,
              std::to_string(now.threads - before.threads) + " more threads still run " + when);
  for (const auto& [descriptor, target] : now.files) {
    exam.expect(before.files.count(descriptor) != 0,
                "a file is still open " + when + ": " + target);
  }
  return now;
}

using Destruction = TrialEngine::Destruction;

struct Way {
  const char* when;
  bool terminated;
  Destruction how;
};

constexpr std::array<Way, 3> ways = {{
    {"after unload_plugin()", true, Destruction::byPlugin},
    {"after unload_plugin() of an active engine", false, Destruction::byPlugin},
    {"after the host destroyed the engine", true, Destruction::byHost},
}};

/// \return whether the engine spoke in between
bool useOnce(const Examination& exam, const Way& way, const Holdings& before) {
  TrialEngine engine(exam);
  const bool active =
      exam.require("initialize()", [&] { return engine->initialize(exam.packages()); });
  const bool canSpeak = active && !engine->getAvailableLanguages().empty();
  if (canSpeak) {
    engine.speakWhole("an utterance");
  }
  if (way.terminated) {
    engine.terminate();
  }
  engine.destroy(way.how);
  // A library may keep a thread until it is closed. A thread that it forgot then runs code that is
  // gone. If that thread has only just begun, it crashes before it could be reported; so wait.
  takeStockWhenSettled(before, std::chrono::milliseconds(200));
  engine.closeLibrary();
  return canSpeak;
}

bool hasUnloader(const Examination& exam) {
  return exam.require("opening and closing the library", [&] {
    PluginLibrary library(exam.plugin());
    if (!library.isOpen()) {
      exam.abandon("the library cannot be opened: " + library.error());
    }
    const bool found = library.canUnload();
    library.close();
    return found;
  });
}

}  // namespace

void checkUnload(const Examination& exam) {
  Holdings before = takeStock();
  const bool canUnload = hasUnloader(exam);
  bool spoken = false;
  for (const Way& way : ways) {
    if (way.how == Destruction::byPlugin && !canUnload) {
      continue;
    }
    spoken = useOnce(exam, way, before);
    before = compare(exam, before, way.when);
  }
  exam.expect(!isMapped(boost::filesystem::canonical(exam.plugin()).string()),
              "the library is still in memory after it was closed");
  if (!spoken) {
    exam.note("nothing was spoken before, for want of a package");
  }
}

}  // namespace tool
