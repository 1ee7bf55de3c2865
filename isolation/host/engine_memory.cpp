#include "isolation/host/engine_memory.hpp"

#include <algorithm>

namespace KQ::isolation {

void EngineMemory::initialized(const Packages& packages) {
  engineState.isInitialized = true;
  engineState.packages = packages;
}

void EngineMemory::terminated() {
  engineState.isInitialized = false;
  engineState.packages.clear();
  engineState.language.clear();
  engineState.voice.clear();
  engineState.dictionaries.clear();
}

void EngineMemory::standing(const std::string& language, const std::string& voice) {
  engineState.language = language;
  engineState.voice = voice;
}

void EngineMemory::called(Call call, const std::string& arguments,
                          const std::string& firstArgument) {
  const std::string name(1, static_cast<char>(call));
  Names& dictionaries = engineState.dictionaries;
  const auto dictionary = std::find(dictionaries.begin(), dictionaries.end(), engineState.language);
  switch (row(call).memory) {
    case Memory::none:
    case Memory::standing:
      return;
    case Memory::once:
      return remember(others, {name, {call, arguments}});
    case Memory::named:
      return remember(others, {name + firstArgument, {call, arguments}});
    case Memory::loaded:
      return remember(loads, {name + firstArgument, {call, arguments}});
    case Memory::dictionary:
      if (dictionary == dictionaries.end()) {
        dictionaries.push_back(engineState.language);
      }
      return;
    case Memory::noDictionary:
      if (dictionary != dictionaries.end()) {
        dictionaries.erase(dictionary);
      }
      return;
  }
}

void EngineMemory::remember(std::vector<Entry>& entries, const Entry& entry) const {
  // The latest stands last: what sets all back comes after what was set before.
  entries.erase(std::remove_if(entries.begin(), entries.end(),
                               [&](const Entry& other) { return other.key == entry.key; }),
                entries.end());
  entries.push_back(entry);
}

EngineState EngineMemory::state() const {
  EngineState all = engineState;
  for (const std::vector<Entry>* entries : {&loads, &others}) {
    for (const Entry& entry : *entries) {
      all.calls.push_back(entry.call);
    }
  }
  return all;
}

}  // namespace KQ::isolation
