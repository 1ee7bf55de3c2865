#include "espeak_engine.hpp"

const test::EngineUnderTest& test::engineUnderTest() {
  static const EngineUnderTest engine{"nuance",
                                      "eSpeak NG",
                                      "libespeak-ng",
                                      {englishPackage(), builtPackage("french")},
                                      espeakPackages(),
                                      "english-male",
                                      "French",
                                      "french-female",
                                      22050,
                                      20000,
                                      60};
  return engine;
}
