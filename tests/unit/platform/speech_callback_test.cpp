#include <gtest/gtest.h>

#include <kq/speech_callback.hpp>

namespace {

class DeafCallback : public TextToSpeechEngineCallbackInterface {};

TEST(SpeechCallbackTest, WantsMoreAudioByDefault) {
  DeafCallback callback;
  const std::int16_t sample = 0;

  EXPECT_TRUE(callback.onAudio(&sample, 1, 16000));
}

TEST(SpeechCallbackTest, IgnoresAllOtherEventsByDefault) {
  DeafCallback callback;

  EXPECT_NO_THROW(callback.onStart());
  EXPECT_NO_THROW(callback.onMark(1, 0));
  EXPECT_NO_THROW(callback.onWord(SpeechWord{0, 1, 0}));
  EXPECT_NO_THROW(callback.onEnd(SpeechEnd::finished));
}

}  // namespace
