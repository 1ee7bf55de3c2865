#include <gtest/gtest.h>

#include <vector>

#include "support/virtual_slot.hpp"
#include "test_manager.hpp"

namespace {

/// Hosts are compiled separately, so the order of the fields must not change.
class Layout : public KQ::TextToSpeechManager {
 public:
  using TextToSpeechManager::TextToSpeechManager;

  std::vector<const void*> fields() const {
    return {&filterEnabled,   &sharedLanguageInfo, &currentLanguage, &engines,
            &languageEngines, &voiceLanguages,     &availableVoices, &managerMutex,
            &pluginManager,   &engineCallback};
  }
};

/// Add a virtual function to an engine and to a manager. It gets the first free slot.
class NextEngineSlot : public test::MinimalEngine {
 public:
  virtual void next() {}
};
class NextManagerSlot : public KQ::TextToSpeechManager {
 public:
  using TextToSpeechManager::TextToSpeechManager;
  virtual void next() {}
};

TEST(ManagerLayoutTest, TheManagerAddsNoVirtualFunctionToThoseOfEveryEngine) {
  EXPECT_EQ(test::slotOf(&NextManagerSlot::next), test::slotOf(&NextEngineSlot::next));
}

TEST(ManagerLayoutTest, TheFieldsKeepTheirOrder) {
  const Layout manager(nullptr, nullptr);
  const std::vector<const void*> fields = manager.fields();
  for (std::size_t i = 1; i < fields.size(); ++i) {
    EXPECT_LT(fields[i - 1], fields[i]) << "field " << i;
  }
}

}  // namespace
