#include <algorithm>
#include <kqtts/speaker.hpp>

#include "speaker_core.hpp"

namespace KQ {

Speaker::Speaker(SpeakerSettings settings) : core(SpeakerCore::make(std::move(settings))) {}

Speaker::~Speaker() {
  core->close();
}

Utterance Speaker::speak(std::string text, const SpeechOptions& options,
                         std::shared_ptr<SpeechListener> listener) {
  return core->speak(std::move(text), options, std::move(listener));
}

OpenUtterance Speaker::open(const SpeechOptions& options,
                            std::shared_ptr<SpeechListener> listener) {
  return core->open(options, std::move(listener));
}

void Speaker::stopAll() {
  core->stopAll();
}

void Speaker::stopCurrent() {
  core->stopCurrent();
}

void Speaker::pause(PausePoint point) {
  core->pause(point);
}

void Speaker::resume() {
  core->resume();
}

bool Speaker::isPaused() const {
  return core->isPaused();
}

Utterance Speaker::current() const {
  return core->current();
}

std::size_t Speaker::waiting() const {
  return core->waiting();
}

bool Speaker::waitUntilSilent(std::chrono::milliseconds limit) const {
  return core->waitUntilSilent(limit);
}

bool Speaker::reload(std::vector<zu::PackageInfo> packages) {
  return core->reload(std::move(packages));
}

bool Speaker::isReady() const {
  return !core->catalogue()->languages.empty();
}

std::vector<SpokenLanguage> Speaker::languages() const {
  return core->catalogue()->languages;
}

std::vector<SpokenVoice> Speaker::voices() const {
  return core->catalogue()->voices;
}

std::vector<std::string> Speaker::parameters(const std::string& language) const {
  const auto catalogue = core->catalogue();
  const std::vector<std::string> candidates = catalogue->candidates(language);
  const auto spoken = std::find_if(catalogue->languages.begin(), catalogue->languages.end(),
                                   [&](const SpokenLanguage& known) {
                                     return !candidates.empty() && known.name == candidates.front();
                                   });
  if (spoken == catalogue->languages.end()) {
    return {};
  }
  const auto found = catalogue->parameters.find(spoken->engine);
  return found == catalogue->parameters.end() ? std::vector<std::string>() : found->second;
}

bool Speaker::setLanguage(const std::string& language) {
  return core->setLanguage(language);
}

std::string Speaker::language() const {
  return core->language();
}

}  // namespace KQ
