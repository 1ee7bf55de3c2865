// Engines are compiled separately, so the order of fields and virtual functions must not change.

#include <gtest/gtest.h>

#include <cstddef>
#include <kqtts/texttospeech_engine.hpp>
#include <type_traits>
#include <vector>

#include "support/fake_engine.hpp"
#include "support/virtual_slot.hpp"

namespace {

using KQ::TextToSpeechEngine;
using test::slotOf;

static_assert(std::is_abstract_v<TextToSpeechEngine>);
static_assert(std::has_virtual_destructor_v<TextToSpeechEngine>);
static_assert(!std::is_copy_constructible_v<TextToSpeechEngine>);
static_assert(!std::is_copy_assignable_v<TextToSpeechEngine>);

struct EngineClass {
  using E = TextToSpeechEngine;
};

/// Whether a host can access the member of the engine class that `use` names.
template <typename Use>
constexpr bool isOpen(Use /*use*/) {
  return std::is_invocable_v<Use, EngineClass>;
}

// A host cannot call the hooks, so it cannot bypass the checks of the public operations.
static_assert(isOpen([](auto e, decltype(&decltype(e)::E::getName) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xGetName) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xInitialize) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xTerminate) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xStartSynthetizer) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xStopSynthetizer) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xPauseSynthetizer) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xRestartSynthetizer) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xSetParameter) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xResetSpeed) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xGetParameter) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xSetCurrentLanguage) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xSetCurrentVoice) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xGetOldLanguagesDetected) = nullptr) {
}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xGetAllAvailableVoices) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xGetAvailableVoices) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xGetAvailableLanguages) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xGetAvailableParameters) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xGetCurrentSamplingRate) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xTestTextEncoding) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xGetVoiceInstallDir) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xGetCurrentLanguage) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xGetCurrentVoice) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xGetDefaultVoiceForLanguage) = nullptr) {
}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xLoadDictionary) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xUnloadDictionary) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xShowDictionary) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xDeleteFromDictionary) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xAddToDictionary) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xSetDefaultVoice) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xApplyEffect) = nullptr) {}));
static_assert(!isOpen([](auto e, decltype(&decltype(e)::E::xLoadEffect) = nullptr) {}));

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

/// Adds a virtual function to the engine. It gets the first free slot.
class NextSlot : public test::MinimalEngine {
 public:
  virtual void next() {}
};

TEST(EngineLayoutTest, TheVirtualFunctionsKeepTheirOrder) {
  std::vector<std::size_t> expected;
  for (std::size_t slot = 2; slot < 35; ++slot) {  // the destructor has slots 0 and 1
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
