#include <dlfcn.h>
#include <gtest/gtest.h>

#include <kq/speech_callback.hpp>
#include <kqtts/phoneme_callback.hpp>
#include <string>

namespace {

/// A host that wants to receive the phonemes.
struct CuriousHost : TextToSpeechEngineCallbackInterface, KQ::PhonemeCallback {
  void onPhoneme(const KQ::SpeechPhoneme& phoneme) override {
    heard = std::string(phoneme.name);
    position = phoneme.samplePosition;
    count = phoneme.sampleCount;
  }

  std::string heard;
  std::uint64_t position = 0;
  std::uint64_t count = 0;
};

/// An engine in a library that is loaded like a plug-in: its symbols are local.
class PhonemeGuest {
 public:
  PhonemeGuest() : library(dlopen(PHONEME_GUEST, RTLD_NOW | RTLD_LOCAL)) {}
  ~PhonemeGuest() {
    if (library != nullptr) {
      dlclose(library);
    }
  }
  PhonemeGuest(const PhonemeGuest&) = delete;
  PhonemeGuest& operator=(const PhonemeGuest&) = delete;

  bool report(TextToSpeechEngineCallbackInterface& callback) const {
    const auto function = reinterpret_cast<bool (*)(TextToSpeechEngineCallbackInterface*)>(
        dlsym(library, "reportPhoneme"));
    return function(&callback);
  }

 private:
  void* library;
};

TEST(PhonemeCallback, AnotherLibraryFindsItByDynamicCast) {
  const PhonemeGuest guest;
  CuriousHost host;

  EXPECT_TRUE(guest.report(host));

  EXPECT_EQ(host.heard, "\u0259");
  EXPECT_EQ(host.position, 441U);
  EXPECT_EQ(host.count, 882U);
}

TEST(PhonemeCallback, AHostWithoutTheInterfaceIsNotCalled) {
  const PhonemeGuest guest;
  TextToSpeechEngineCallbackInterface host;

  EXPECT_FALSE(guest.report(host));
}

}  // namespace
