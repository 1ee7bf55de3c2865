#include <gmock/gmock.h>

#include <boost/filesystem/exception.hpp>
#include <functional>
#include <kq/value.hpp>
#include <kqtts/tts_preference.hpp>
#include <stdexcept>

#include "support/errors.hpp"

namespace {

std::function<void()> failure;

}  // namespace

// The library finds this function before the platform's, which never fails like this.
int KQValue::getSize() const {
  failure();
  return 0;
}

namespace {

namespace fs = boost::filesystem;

void makeSetting() {
  KQ::makeVoiceSettingFromSysXml(KQValue::array(), "voice1");
}

TEST(SystemPreferencesOfAFailingValue, AFilesystemErrorIsReportedAsOne) {
  const fs::filesystem_error error("cannot look", "/path", boost::system::error_code());
  failure = [&] { throw error; };

  EXPECT_THAT(makeSetting,
              test::throwsKQError("KQTextToSpeech",
                                  "makeVoiceSettingFromSysXml filesystem error : ", error.what()));
}

TEST(SystemPreferencesOfAFailingValue, AnyOtherExceptionPasses) {
  failure = [] { throw std::out_of_range("far out"); };

  EXPECT_THAT(makeSetting, testing::ThrowsMessage<std::out_of_range>("far out"));
}

}  // namespace
