#pragma once

#include <functional>
#include <kqtts/texttospeech_engine.hpp>
#include <thread>
#include <vector>

namespace test {

/// Runs each action `rounds` times in its own thread, all threads at the same time.
inline void storm(int rounds, const std::vector<std::function<void()>>& actions) {
  std::vector<std::thread> threads;
  threads.reserve(actions.size());
  for (const auto& action : actions) {
    threads.emplace_back([rounds, &action] {
      for (int round = 0; round < rounds; ++round) {
        action();
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

/// Actions for storm(): one thread speaks, the others call all that is allowed meanwhile. The
/// engine offers "English" and "French" with the voices "Anna" and "Marie".
inline std::vector<std::function<void()>> everyOperationOf(KQ::TextToSpeechEngine& engine) {
  return {
      [&] { engine.startSynthetizer("hello"); },
      [&] { engine.stopSynthetizer(); },
      [&] {
        engine.pauseSynthetizer();
        engine.restartSynthetizer();
      },
      [&] {
        engine.isPaused();
        engine.isInitialized();
        engine.getName();
      },
      [&] {
        engine.setCurrentLanguage("French");
        engine.setCurrentLanguage("English");
      },
      [&] {
        engine.setCurrentVoice("Marie");
        engine.setCurrentVoice("Anna");
      },
      [&] {
        engine.setParameter("speed", 1.0F);
        engine.getParameter("speed");
        engine.resetSpeed();
        engine.getAvailableParameters();
      },
      [&] {
        engine.getCurrentLanguage();
        engine.getCurrentVoice();
        engine.getDefaultVoiceForLanguage("French");
        engine.getVoiceInstallDir("Anna");
        engine.getCurrentSamplingRate();
      },
      [&] {
        engine.getAvailableLanguages();
        engine.getAvailableVoices();
        engine.getAllAvailableVoices();
        engine.getOldLanguagesDetected();
      },
      [&] {
        engine.testTextEncoding("hello", "French");
        engine.enableFilter(true);
      },
  };
}

}  // namespace test
