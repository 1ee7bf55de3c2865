#pragma once

#include <string>

#include "system/stop_request.hpp"

namespace tool {

/// Where a text comes from, piece by piece.
class TextSource {
 public:
  enum class Result { text, quiet, end };

  virtual ~TextSource() = default;

  /// Waits for the next piece and appends it.
  /// \param milliseconds  when nothing came after these, it is `quiet`; or StopRequest::forever
  /// \throws Failure when the text cannot be read
  virtual Result read(std::string& text, int milliseconds) = 0;
};

/// A text from a file descriptor. It ends when a stop is requested.
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
