#include "engines/speaking_engine.hpp"

const test::EngineUnderTest& test::engineUnderTest() {
  // The fastest voice: the tests are the same for all voices.
  static const EngineUnderTest engine{"aitalk",
                                      "Flite",
                                      "libflite",
                                      {builtPackage("english")},
                                      {builtPackage("english")},
                                      "english-kal",
                                      "English",
                                      "english-kal16",
                                      8000,
                                      1000,
                                      15};
  return engine;
}
