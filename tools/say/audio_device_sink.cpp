#include "say/audio_device_sink.hpp"

#include <fcntl.h>
#include <unistd.h>

#include "system/failure.hpp"
#include "system/file_descriptor.hpp"

namespace tool {

namespace {

/// Keeps standard error free of what audio systems print while they look for devices.
class QuietStandardError {
 public:
  QuietStandardError() : kept(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
    const FileDescriptor nowhere(open("/dev/null", O_WRONLY | O_CLOEXEC));
    if (kept.get() >= 0 && nowhere.get() >= 0) {
      dup2(nowhere.get(), STDERR_FILENO);
    }
  }
  ~QuietStandardError() {
    if (kept.get() >= 0) {
      dup2(kept.get(), STDERR_FILENO);
    }
  }
  QuietStandardError(const QuietStandardError&) = delete;
  QuietStandardError& operator=(const QuietStandardError&) = delete;

 private:
  FileDescriptor kept;
};

constexpr const char* whatToDo = "connect or choose one, or write a file with -o FILE.wav";

void check(PaError error) {
  if (error < 0 && error != paOutputUnderflowed) {
    throw Failure(std::string("the audio device does not work: ") + Pa_GetErrorText(error),
                  whatToDo);
  }
}

}  // namespace

AudioDeviceSink::AudioDeviceSink() {
  const QuietStandardError quiet;
  check(Pa_Initialize());
  if (Pa_GetDefaultOutputDevice() == paNoDevice) {
    Pa_Terminate();
    throw Failure("there is no audio device", whatToDo);
  }
}

AudioDeviceSink::~AudioDeviceSink() {
  close();
  Pa_Terminate();
}

std::string AudioDeviceSink::name() const {
  return Pa_GetDeviceInfo(Pa_GetDefaultOutputDevice())->name;
}

void AudioDeviceSink::write(const std::int16_t* samples, std::size_t count, int samplingRate) {
  if (stream == nullptr || samplingRate != rate) {
    open(samplingRate);
  }
  check(Pa_WriteStream(stream, samples, count));
}

void AudioDeviceSink::finish(int /*samplingRate*/) {
  if (stream != nullptr) {
    check(Pa_StopStream(stream));
  }
  close();
}

void AudioDeviceSink::cutShort(int /*samplingRate*/) {
  if (stream != nullptr) {
    check(Pa_AbortStream(stream));
  }
  close();
}

void AudioDeviceSink::open(int samplingRate) {
  finish(rate);
  const QuietStandardError quiet;
  PaStreamParameters output{};
  output.device = Pa_GetDefaultOutputDevice();
  output.channelCount = 1;
  output.sampleFormat = paInt16;
  output.suggestedLatency = Pa_GetDeviceInfo(output.device)->defaultHighOutputLatency;
  check(Pa_OpenStream(&stream, nullptr, &output, samplingRate, paFramesPerBufferUnspecified,
                      paClipOff, nullptr, nullptr));
  rate = samplingRate;
  check(Pa_StartStream(stream));
}

void AudioDeviceSink::close() {
  if (stream != nullptr) {
    Pa_CloseStream(stream);
  }
  stream = nullptr;
}

}  // namespace tool
