#include <gtest/gtest.h>

#include <atomic>
#include <kqtts/tts_preference.hpp>

#include "support/storm.hpp"

namespace {

// The only test of its program, so these are the first calls of the functions.
TEST(TextThreads, EveryTextFunctionMayBeCalledAtOnceFromTheFirstCallOn) {
  const std::string text = R"( \Pau=1\ it\mrkpause=2\s \last\)";
  std::atomic<int> wrong{0};
  const auto expect = [&](bool holds) { wrong += holds ? 0 : 1; };
  const auto callAll = [&] {
    expect(KQ::isTagsOnlySentence(R"(\RST\ \Vol=80\)"));
    expect(!KQ::isTagsOnlySentence(R"(\RST\ x \Vol=80\)"));
    expect(KQ::replaceTags(text, "") == R"(it\mrkpause=2\s)");
    expect(KQ::checkLastTag(text));
    std::string paused = text;
    KQ::replaceMrkPause(paused);
    expect(paused == R"( \Pau=1\ it\mrk=65534\ s \last\)");
    KQ::replaceIncorrectApostrophe(paused);
    std::vector<std::string> tokens;
    KQ::tokenizeString(paused, tokens, " ");
    expect(tokens.size() == 4);
    expect(KQ::countUtf8Chars(text.c_str()) == text.size());
  };

  test::storm(100, {callAll, callAll, callAll, callAll});

  EXPECT_EQ(wrong, 0);
}

}  // namespace
