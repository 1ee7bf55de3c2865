#include "stage.hpp"

#include <map>
#include <mutex>
#include <utility>

namespace test::stage {

namespace {

std::mutex mutex;
std::map<std::string, Script> scripts;
std::vector<std::string> starts;

}  // namespace

Script& script(const std::string& plugin) {
  const std::lock_guard<std::mutex> lock(mutex);
  return scripts[plugin];
}

void reset() {
  const std::lock_guard<std::mutex> lock(mutex);
  for (auto& [plugin, script] : scripts) {
    script = Script();
  }
  starts.clear();
}

void note(const std::string& start) {
  const std::lock_guard<std::mutex> lock(mutex);
  starts.push_back(start);
}

std::vector<std::string> takeStarts() {
  const std::lock_guard<std::mutex> lock(mutex);
  return std::exchange(starts, {});
}

}  // namespace test::stage
