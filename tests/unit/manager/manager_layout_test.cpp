#include <gtest/gtest.h>

#include <vector>

#include "support/test_manager.hpp"

namespace {

/// Hosts are built apart from the library, against the order of its fields.
class Layout : public KQ::TextToSpeechManager {
 public:
  using TextToSpeechManager::TextToSpeechManager;

  std::vector<const void*> fields() const {
    return {&filterEnabled,   &sharedLanguageInfo, &currentLanguage, &engines,
            &languageEngines, &voiceLanguages,     &availableVoices, &managerMutex,
            &pluginManager,   &engineCallback};
  }
};

TEST(ManagerLayoutTest, TheFieldsKeepTheirOrder) {
  const Layout manager(nullptr, nullptr);
  const std::vector<const void*> fields = manager.fields();
  for (std::size_t i = 1; i < fields.size(); ++i) {
    EXPECT_LT(fields[i - 1], fields[i]) << "field " << i;
  }
}

}  // namespace
