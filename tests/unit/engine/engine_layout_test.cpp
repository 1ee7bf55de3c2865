// Engines are built apart from the library, against the order of its fields and virtual functions.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <kqtts/texttospeech_engine.hpp>
#include <type_traits>
#include <vector>

#include "support/fake_engine.hpp"

namespace {

using KQ::TextToSpeechEngine;

static_assert(std::is_abstract_v<TextToSpeechEngine>);
static_assert(std::has_virtual_destructor_v<TextToSpeechEngine>);
static_assert(!std::is_copy_constructible_v<TextToSpeechEngine>);
static_assert(!std::is_copy_assignable_v<TextToSpeechEngine>);

/// The position of a virtual function among the virtual functions of its class, from 0. A pointer
/// to a virtual member function holds 1 + the offset in the table.
template <typename Function>
std::size_t slotOf(Function function) {
  std::size_t offset = 0;
  std::memcpy(&offset, &function, sizeof offset);
  return (offset - 1) / sizeof(void*);
}

class Layout : public test::MinimalEngine {
 public:
  static std::vector<std::size_t> slots();

  std::vector<const void*> fields() const {
    return {&languageInfo, &active,        &reserved,       &talking,  &paused,
            &mutex,        &reservedFirst, &reservedSecond, &callback, &filterEnabled};
  }
};

std::vector<std::size_t> Layout::slots() {
  using E = Layout;
  return {
      slotOf(&E::deactivateLanguages),
      slotOf(&E::enableFilter),
      slotOf(&E::xGetName),
      slotOf(&E::xInitialize),
      slotOf(&E::xTerminate),
      slotOf(&E::xStartSynthetizer),
      slotOf(&E::xStopSynthetizer),
      slotOf(&E::xPauseSynthetizer),
      slotOf(&E::xRestartSynthetizer),
      slotOf(&E::xSetParameter),
      slotOf(&E::xResetSpeed),
      slotOf(&E::xGetParameter),
      slotOf(&E::xSetCurrentLanguage),
      slotOf(&E::xSetCurrentVoice),
      slotOf(&E::xGetOldLanguagesDetected),
      slotOf(&E::xGetAllAvailableVoices),
      slotOf(&E::xGetAvailableVoices),
      slotOf(&E::xGetAvailableLanguages),
      slotOf(&E::xGetAvailableParameters),
      slotOf(&E::xGetCurrentSamplingRate),
      slotOf(&E::xTestTextEncoding),
      slotOf(&E::xGetVoiceInstallDir),
      slotOf(&E::xGetCurrentLanguage),
      slotOf(&E::xGetCurrentVoice),
      slotOf(&E::xGetDefaultVoiceForLanguage),
      slotOf(&E::xLoadDictionary),
      slotOf(&E::xUnloadDictionary),
      slotOf(&E::xShowDictionary),
      slotOf(&E::xDeleteFromDictionary),
      slotOf(&E::xAddToDictionary),
      slotOf(&E::xSetDefaultVoice),
      slotOf(&E::xApplyEffect),
      slotOf(&E::xLoadEffect),
  };
}

/// An engine with one virtual function more, which takes the first free slot.
class NextSlot : public test::MinimalEngine {
 public:
  virtual void next() {}
};

TEST(EngineLayoutTest, TheVirtualFunctionsKeepTheirOrder) {
  std::vector<std::size_t> expected;
  for (std::size_t slot = 2; slot < 35; ++slot) {  // the destructor has the first two
    expected.push_back(slot);
  }
  EXPECT_EQ(Layout::slots(), expected);
}

TEST(EngineLayoutTest, ThereAreNoFurtherVirtualFunctions) {
  EXPECT_EQ(slotOf(&NextSlot::next), 2 + Layout::slots().size());
}

TEST(EngineLayoutTest, TheFieldsKeepTheirOrder) {
  const Layout engine;
  const std::vector<const void*> fields = engine.fields();
  for (std::size_t i = 1; i < fields.size(); ++i) {
    EXPECT_LT(fields[i - 1], fields[i]) << "field " << i;
  }
}

}  // namespace
