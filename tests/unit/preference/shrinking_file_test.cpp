#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <boost/filesystem/path.hpp>
#include <fstream>
#include <kqtts/tts_preference.hpp>

#include "support/settings_file.hpp"
#include "support/temp_folder.hpp"

namespace {

/// So many bytes are missing at the end of the next file that is read.
ssize_t bytesGone = 0;

}  // namespace

// The library finds this function before the system's, because a test cannot shorten a file at the
// right moment. Like the system's, it leaves the rest of the buffer undefined.
extern "C" __attribute__((visibility("default"))) ssize_t read(int file, void* buffer,
                                                               std::size_t size) {
  const ssize_t count = ::syscall(SYS_read, file, buffer, size);
  if (bytesGone == 0 || count < bytesGone) {
    return count;
  }
  const ssize_t left = count - bytesGone;
  bytesGone = count;  // the next call reports the end of the file
  return left;
}

namespace {

TEST(ShrinkingFile, OnlyTheBytesThatWereReadCount) {
  const test::TempFolder folder;
  boost::filesystem::path file = folder.path() / "voice.xml";
  const std::string gone = "<<<<";
  std::ofstream(file.string()) << test::settingsFile(test::setting("sourceVoice", "anna")) << gone;
  bytesGone = static_cast<ssize_t>(gone.size());

  const KQ::VoiceSetting setting = KQ::makeVoiceSettingFromXml(file);

  bytesGone = 0;
  EXPECT_EQ(setting.voiceName, "anna");
}

}  // namespace
