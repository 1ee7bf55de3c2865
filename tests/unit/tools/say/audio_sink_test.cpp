#include "say/audio_sink.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sndfile.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <boost/filesystem/operations.hpp>
#include <csignal>
#include <numeric>

#include "say/wav_stream_sink.hpp"
#include "support/sound_file.hpp"
#include "support/temp_folder.hpp"
#include "system/failure.hpp"
#include "system/standard_output.hpp"
#include "system/stop_request.hpp"

namespace {

namespace fs = boost::filesystem;

using testing::HasSubstr;
using testing::IsEmpty;
using tool::AudioSink;
using tool::Failure;
using tool_test::readSound;
using tool_test::Sound;

std::vector<std::int16_t> ramp(std::size_t count) {
  std::vector<std::int16_t> samples(count);
  std::iota(samples.begin(), samples.end(), std::int16_t{-50});
  return samples;
}

class AudioSinkTest : public testing::Test {
 protected:
  std::unique_ptr<AudioSink> open(const std::string& output) {
    return tool::openAudioSink({output}, standardOutput, stop);
  }
  std::unique_ptr<AudioSink> open(const std::string& output, const std::string& format) {
    return tool::openAudioSink({output, format}, standardOutput, stop);
  }
  /// The first bytes of a file, by which its format is known.
  std::string beginningOf(const std::string& name, std::size_t count) const {
    return tool_test::readBytes(path(name)).substr(0, count);
  }
  std::string path(const std::string& name) const { return (folder.path() / name).string(); }
  std::size_t filesInFolder() const {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder.path()), {}));
  }

  test::TempFolder folder;
  tool::StandardOutput standardOutput;
  tool::StopRequest stop;
  const std::vector<std::int16_t> samples = ramp(100);
};

TEST_F(AudioSinkTest, WritesAFile) {
  const auto sink = open(path("a.wav"));
  sink->write(samples.data(), 60, 16000);
  sink->write(samples.data() + 60, 40, 16000);
  sink->finish(16000);

  const Sound sound = readSound(path("a.wav"));
  EXPECT_EQ(sound.samples, samples);
  EXPECT_EQ(sound.samplingRate, 16000);
  EXPECT_EQ(filesInFolder(), 1U);
}

TEST_F(AudioSinkTest, WritesTheFormatThatTheEndingNames) {
  const std::vector<std::int16_t> second(16000, 0);
  for (const char* name : {"a.WAV", "a.flac", "a.ogg", "a.opus", "a.mp3", "a"}) {
    const auto sink = open(path(name));
    sink->write(second.data(), second.size(), 16000);
    sink->finish(16000);
  }

  EXPECT_EQ(beginningOf("a.WAV", 4), "RIFF");
  EXPECT_EQ(beginningOf("a", 4), "RIFF");
  EXPECT_EQ(beginningOf("a.flac", 4), "fLaC");
  EXPECT_THAT(beginningOf("a.ogg", 64), HasSubstr("vorbis"));
  EXPECT_THAT(beginningOf("a.opus", 64), HasSubstr("OpusHead"));
  EXPECT_EQ(tool_test::readSoundOfAnyFormat(path("a.flac")).samples, second);
  EXPECT_EQ(tool_test::readSoundOfAnyFormat(path("a.mp3")).samplingRate, 16000);
}

TEST_F(AudioSinkTest, WritesTheFormatThatIsAskedFor) {
  const auto file = open(path("a.wav"), "raw");
  file->write(samples.data(), samples.size(), 16000);
  file->finish(16000);

  EXPECT_EQ(fs::file_size(path("a.wav")), 2 * samples.size());
  EXPECT_EQ(beginningOf("a.wav", 2), "\xCE\xFF");
}

TEST_F(AudioSinkTest, RefusesAnEndingThatNamesNoFormat) {
  EXPECT_THAT([&] { open(path("a.xyz")); },
              testing::ThrowsMessage<tool::UsageError>(HasSubstr(".wav, .flac, .ogg")));
  EXPECT_EQ(filesInFolder(), 0U);
}

TEST_F(AudioSinkTest, RefusesAStreamOfAFormatThatNeedsAFile) {
  EXPECT_THAT([&] { open("/dev/null", "flac"); },
              testing::ThrowsMessage<tool::UsageError>(HasSubstr("flac cannot be written to")));
}

TEST_F(AudioSinkTest, WritesAFileWithoutAudio) {
  open(path("a.wav"))->finish(22050);

  const Sound sound = readSound(path("a.wav"));
  EXPECT_THAT(sound.samples, IsEmpty());
  EXPECT_EQ(sound.samplingRate, 22050);
}

TEST_F(AudioSinkTest, CompletesAFileThatIsCutShort) {
  const auto sink = open(path("a.wav"));
  sink->write(samples.data(), samples.size(), 16000);
  sink->cutShort(16000);

  EXPECT_EQ(readSound(path("a.wav")).samples, samples);
}

TEST_F(AudioSinkTest, LeavesNothingBehindWhenItIsNotFinished) {
  open(path("a.wav"))->write(samples.data(), samples.size(), 16000);

  EXPECT_EQ(filesInFolder(), 0U);
}

TEST_F(AudioSinkTest, LeavesAnEarlierFileAsItWasWhenItIsNotFinished) {
  folder.write("a.wav", "earlier");
  open(path("a.wav"))->write(samples.data(), samples.size(), 16000);

  EXPECT_EQ(fs::file_size(path("a.wav")), 7U);
}

TEST_F(AudioSinkTest, ReplacesAnEarlierFileAndKeepsItsPermissions) {
  folder.write("a.wav", "earlier");
  chmod(path("a.wav").c_str(), 0640);
  open(path("a.wav"))->finish(16000);

  struct stat status {};
  stat(path("a.wav").c_str(), &status);
  EXPECT_EQ(status.st_mode & 0777U, 0640U);
  EXPECT_EQ(readSound(path("a.wav")).samplingRate, 16000);
}

TEST_F(AudioSinkTest, WritesWhereASymbolicLinkLeads) {
  folder.write("real.wav", "earlier");
  fs::create_symlink("real.wav", path("link.wav"));
  open(path("link.wav"))->finish(16000);

  EXPECT_TRUE(fs::is_symlink(path("link.wav")));
  EXPECT_EQ(readSound(path("real.wav")).samplingRate, 16000);
}

TEST_F(AudioSinkTest, RefusesAFolder) {
  EXPECT_THAT([&] { open(folder.path().string()); },
              testing::ThrowsMessage<Failure>(HasSubstr("it is a folder")));
}

TEST_F(AudioSinkTest, RefusesAFileInAFolderThatIsNotThere) {
  EXPECT_THAT([&] { open(path("nowhere/a.wav")); },
              testing::ThrowsMessage<Failure>(HasSubstr("No such file or directory")));
}

TEST_F(AudioSinkTest, RefusesASecondSamplingRateInOneFile) {
  for (const std::string& output : {path("a.wav"), std::string("/dev/null")}) {
    const auto sink = open(output);
    sink->write(samples.data(), samples.size(), 16000);
    EXPECT_THAT([&] { sink->write(samples.data(), samples.size(), 8000); },
                testing::ThrowsMessage<Failure>(HasSubstr("sampling rate changed")))
        << output;
  }
}

TEST_F(AudioSinkTest, SaysThatTheDiskIsFull) {
  const auto sink = open("/dev/full");
  EXPECT_THAT([&] { sink->write(samples.data(), samples.size(), 16000); },
              testing::ThrowsMessage<Failure>(HasSubstr("No space left on device")));
}

/// Makes writing beyond a file size fail, as on a full disk.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    std::signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit limited{bytes, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limited);
  }
  ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &before); }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit before{};
};

TEST_F(AudioSinkTest, LeavesNoBrokenFileWhenTheDiskIsFull) {
  const FileSizeLimit limit(4096);
  {
    const auto sink = open(path("a.wav"));
    EXPECT_THROW(for (int i = 0; i < 100; ++i) sink->write(samples.data(), samples.size(), 16000),
                 Failure);
  }
  EXPECT_EQ(filesInFolder(), 0U);
}

class WavStreamTest : public AudioSinkTest {
 protected:
  tool::FileDescriptor openFile(int flags) const {
    return tool::FileDescriptor(::open(path("s.wav").c_str(), flags | O_CREAT | O_RDWR, 0600));
  }
  void writeStream(tool::FileDescriptor file) {
    tool::WavStreamSink sink(std::move(file), "the stream", stop);
    sink.write(samples.data(), samples.size(), 16000);
    sink.finish(16000);
  }
  std::string bytes() const { return tool_test::readBytes(path("s.wav")); }
};

TEST_F(WavStreamTest, GetsItsTrueLengthInAFile) {
  writeStream(openFile(0));

  EXPECT_EQ(readSound(path("s.wav")).samples, samples);
  EXPECT_EQ(bytes().substr(40, 4), std::string("\xC8\0\0\0", 4));
  EXPECT_EQ(bytes().substr(4, 4), std::string("\xEC\0\0\0", 4));
}

TEST_F(WavStreamTest, StandsForAllThatFollowsInAPipe) {
  writeStream(
      openFile(O_APPEND));  // the header of a file that is appended to cannot be corrected either

  EXPECT_EQ(readSound(path("s.wav")).samples, samples);
  EXPECT_EQ(bytes().substr(40, 4), std::string("\0\xF0\xFF\x7F", 4));
}

TEST_F(WavStreamTest, BeginsWhereTheFileStands) {
  tool::FileDescriptor file = openFile(0);
  ASSERT_EQ(::write(file.get(), "before", 6), 6);
  writeStream(std::move(file));

  EXPECT_EQ(bytes().substr(0, 10), "beforeRIFF");
}

TEST_F(WavStreamTest, StopsWaitingForAReaderThatDoesNotRead) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const tool::FileDescriptor reader(ends[0]);
  fcntl(ends[1], F_SETPIPE_SZ, 4096);
  tool::WavStreamSink sink(tool::FileDescriptor(ends[1]), "the pipe", stop);
  const std::vector<std::int16_t> pipeful(2048 - 22);
  sink.write(pipeful.data(), pipeful.size(), 16000);
  stop.make(SIGINT);

  sink.write(samples.data(), samples.size(), 16000);
  sink.cutShort(16000);
}

TEST_F(WavStreamTest, SaysThatTheReaderIsGone) {
  std::signal(SIGPIPE, SIG_IGN);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  close(ends[0]);
  tool::WavStreamSink sink(tool::FileDescriptor(ends[1]), "the pipe", stop);

  EXPECT_THAT([&] { sink.write(samples.data(), samples.size(), 16000); },
              testing::ThrowsMessage<Failure>(HasSubstr("the pipe: Broken pipe")));
}

}  // namespace
