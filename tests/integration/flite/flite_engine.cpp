#include "engines/speaking_engine.hpp"

const test::EngineUnderTest& test::engineUnderTest() {
  // The voice of the least work: the tests are the same for all of them.
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
