#include "say/text_source.hpp"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "system/failure.hpp"

namespace tool {

namespace {

constexpr std::size_t pieceBytes = 16384;

}  // namespace

TextSource::Result DescriptorTextSource::read(std::string& text, int milliseconds) {
  switch (stop.wait(fd, POLLIN, milliseconds)) {
    case StopRequest::Wait::stopped:
      return Result::end;
    case StopRequest::Wait::quiet:
      return Result::quiet;
    case StopRequest::Wait::ready:
      break;
  }
  char piece[pieceBytes];
  const ssize_t count = ::read(fd, piece, sizeof piece);
  if (count < 0 && errno == EINTR) {
    return Result::quiet;
  }
  if (count < 0) {
    throw Failure(std::string("cannot read the text: ") + std::strerror(errno),
                  "give it as an argument or on standard input");
  }
  text.append(piece, static_cast<std::size_t>(count));
  return count == 0 ? Result::end : Result::text;
}

}  // namespace tool
