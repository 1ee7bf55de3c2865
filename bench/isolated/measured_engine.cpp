#include "isolated/measured_engine.hpp"

#include <signal.h>

#include <algorithm>
#include <boost/filesystem/directory.hpp>
#include <boost/make_shared.hpp>
#include <fstream>
#include <future>
#include <kqtts/tts_language_info.hpp>
#include <stdexcept>
#include <thread>
#include <zu/path.hpp>

namespace bench {

namespace {

double secondsSince(Clock::time_point begin) {
  return Seconds(Clock::now() - begin).count();
}

/// A package that the plug-in speaks English with.
zu::PackageInfo packageOf(const std::string& plugin) {
  const std::string data = BUILT_DATA;
  return {
      "", "",
      data + (plugin == "nuance" ? "/optional-packages/espeak-ng-english" : "/packages/english")};
}

}  // namespace

pid_t newestChild() {
  pid_t newest = 0;
  for (const auto& task : boost::filesystem::directory_iterator("/proc/self/task")) {
    std::ifstream children((task.path() / "children").string());
    for (pid_t one = 0; children >> one;) {
      newest = std::max(newest, one);
    }
  }
  return newest;
}

MeasuredEngine::MeasuredEngine(const std::string& plugin, Place place)
    : languages(boost::make_shared<KQ::TTSLanguageInfo>()),
      manager(std::make_unique<KQ::TextToSpeechManager>(this, languages)) {
  const std::string folder = BUILT_LIBRARIES;
  zu::path::addLibDir(folder);
  if (place == Place::isolated) {
    zu::path::addLibDir(folder + "/kqtts/isolated");
  }
  if (!manager->initialize({packageOf(plugin)})) {
    throw std::runtime_error("the engine " + plugin + " cannot be initialised");
  }
  manager->setCurrentLanguage("English");
  // The manager has loaded all plug-ins; one of them has a package.
  for (const char* other : {"aitalk", "nuance", "log"}) {
    if (other != plugin) {
      manager->xUnloadPlugin(other);
    }
  }
  child = place == Place::isolated ? newestChild() : 0;
}

MeasuredEngine::~MeasuredEngine() = default;

bool MeasuredEngine::onAudio(const std::int16_t* /*samples*/, std::size_t /*count*/,
                             int /*samplingRate*/) {
  return !atAudio || atAudio(Clock::now());
}

double MeasuredEngine::firstAudio(const std::string& text) {
  Clock::time_point first{};
  atAudio = [&](Clock::time_point now) {
    first = now;
    return false;
  };
  const auto begin = Clock::now();
  manager->startSynthetizer(text);
  return Seconds(first - begin).count();
}

double MeasuredEngine::synthesis(const std::string& text) {
  atAudio = nullptr;
  const auto begin = Clock::now();
  manager->startSynthetizer(text);
  return secondsSince(begin);
}

double MeasuredEngine::stopToReturn(const std::string& text) {
  std::promise<void> audible;
  atAudio = [&, isFirst = true](Clock::time_point /*now*/) mutable {
    if (std::exchange(isFirst, false)) {
      audible.set_value();
    }
    return true;
  };
  auto speech = std::async(std::launch::async, [&] {
    manager->startSynthetizer(text);
    return Clock::now();
  });
  audible.get_future().wait();
  const auto begin = Clock::now();
  manager->stopSynthetizer();
  return Seconds(speech.get() - begin).count();
}

double MeasuredEngine::killToNextAudio(const std::string& text) {
  Clock::time_point killed{};
  double taken = 0;
  atAudio = [&, count = 0](Clock::time_point now) mutable {
    if (++count == 10) {
      ::kill(child, SIGKILL);
      killed = Clock::now();
      return true;
    }
    // Audio that the process had sent already comes at once; that of the next one comes from
    // another.
    if (killed != Clock::time_point() && newestChild() != child && newestChild() != 0) {
      taken = Seconds(now - killed).count();
      return false;
    }
    return true;
  };
  manager->startSynthetizer(text);
  child = newestChild();
  return taken;
}

}  // namespace bench
