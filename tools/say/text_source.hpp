#pragma once

#include <string>

#include "system/stop_request.hpp"

namespace tool {

/// A text that arrives piece by piece.
class TextSource {
 public:
  enum class Result { text, quiet, end };

  virtual ~TextSource() = default;

  /// Waits for the next piece and appends it.
  /// \param milliseconds  the longest time to wait, or StopRequest::forever; then it is `quiet`
  /// \throws Failure if the text cannot be read
  virtual Result read(std::string& text, int milliseconds) = 0;
};

/// A text from a file descriptor. A stop request ends it.
class DescriptorTextSource : public TextSource {
 public:
  DescriptorTextSource(int descriptor, const StopRequest& stopRequest)
      : fd(descriptor), stop(stopRequest) {}

  Result read(std::string& text, int milliseconds) override;

 private:
  int fd;
  const StopRequest& stop;
};

}  // namespace tool
