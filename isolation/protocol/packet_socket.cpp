#include "isolation/protocol/packet_socket.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <system_error>

#include "isolation/protocol/encoding.hpp"

namespace KQ::isolation {

namespace {

constexpr int allSeals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL;

[[noreturn]] void throwSystemError(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

void writeAll(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(file, bytes.data(), bytes.size());
    if (count < 0 && errno != EINTR) {
      throwSystemError("writing a memory file");
    }
    bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  }
}

std::size_t sizeOf(std::initializer_list<std::string_view> parts) {
  std::size_t size = 0;
  for (const std::string_view& part : parts) {
    size += part.size();
  }
  return size;
}

/// A message and all that its parts point to.
struct Message {
  struct alignas(std::size_t) Control {
    std::array<char, CMSG_SPACE(sizeof(int))> bytes;
  };

  void add(const void* bytes, std::size_t size) {
    pieces[header.msg_iovlen++] = {const_cast<void*>(bytes), size};
    header.msg_iov = pieces.data();
  }

  void makeRoomForDescriptor() {
    header.msg_control = control.bytes.data();
    header.msg_controllen = control.bytes.size();
  }

  void attach(int descriptor) {
    makeRoomForDescriptor();
    cmsghdr* const attached = CMSG_FIRSTHDR(&header);
    attached->cmsg_level = SOL_SOCKET;
    attached->cmsg_type = SCM_RIGHTS;
    attached->cmsg_len = CMSG_LEN(sizeof(int));
    std::memcpy(CMSG_DATA(attached), &descriptor, sizeof descriptor);
  }

  /// \return the descriptor that came with it, or -1
  int attachment() {
    cmsghdr* const attached = CMSG_FIRSTHDR(&header);
    int descriptor = -1;
    if (attached != nullptr && attached->cmsg_type == SCM_RIGHTS) {
      std::memcpy(&descriptor, CMSG_DATA(attached), sizeof descriptor);
    }
    return descriptor;
  }

  msghdr header{};
  std::array<iovec, 5> pieces{};
  Control control{};
};

}  // namespace

SealedFile::SealedFile(std::initializer_list<std::string_view> parts)
    : file(::memfd_create("kqtts", MFD_CLOEXEC | MFD_ALLOW_SEALING)) {
  if (file < 0) {
    throwSystemError("making a memory file");
  }
  try {
    for (const std::string_view& part : parts) {
      writeAll(file, part);
    }
    if (::fcntl(file, F_ADD_SEALS, allSeals) != 0) {
      throwSystemError("sealing a memory file");
    }
  } catch (...) {
    ::close(file);
    throw;
  }
}

SealedFile::SealedFile(int received, std::uint64_t size) : file(received), length(size) {
  struct stat status {};
  const int seals = ::fcntl(file, F_GET_SEALS);
  if (seals < 0 || (seals & allSeals) != allSeals || ::fstat(file, &status) != 0 ||
      static_cast<std::uint64_t>(status.st_size) != size) {
    ::close(file);
    throw ProtocolError("a memory file is not what it is said to be");
  }
}

SealedFile::~SealedFile() {
  ::close(file);
}

std::string SealedFile::content() const {
  std::string bytes(length, '\0');
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t count =
        ::pread(file, bytes.data() + done, bytes.size() - done, static_cast<off_t>(done));
    if (count == 0 || (count < 0 && errno != EINTR)) {
      throw ProtocolError("a memory file cannot be read");
    }
    done += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
  }
  return bytes;
}

Sent sendPacket(int socket, Header header, std::initializer_list<std::string_view> parts,
                bool waits) {
  header.size = sizeOf(parts);
  header.isInFile = header.size > packetSize ? 1 : 0;
  Message message;
  message.add(&header, sizeof header);
  std::optional<SealedFile> file;
  if (header.isInFile != 0) {
    file.emplace(parts);
    message.attach(file->descriptor());
  } else {
    for (const std::string_view& part : parts) {
      message.add(part.data(), part.size());
    }
  }
  ssize_t result = 0;
  do {
    result = ::sendmsg(socket, &message.header, MSG_NOSIGNAL | (waits ? 0 : MSG_DONTWAIT));
  } while (result < 0 && errno == EINTR);
  if (result >= 0) {
    return Sent::done;
  }
  return errno == EAGAIN || errno == ENOBUFS ? Sent::full : Sent::closed;
}

Received receivePacket(int socket, Packet& packet, std::uint64_t limit, bool waits) {
  std::array<char, packetSize> body;  // NOLINT(cppcoreguidelines-pro-type-member-init)
  Message message;
  message.add(&packet.header, sizeof packet.header);
  message.add(body.data(), body.size());
  message.makeRoomForDescriptor();
  ssize_t result = 0;
  do {
    result = ::recvmsg(socket, &message.header, MSG_CMSG_CLOEXEC | (waits ? 0 : MSG_DONTWAIT));
  } while (result < 0 && errno == EINTR);
  if (result < 0 && errno == EAGAIN) {
    return Received::nothing;
  }
  if (result <= 0) {
    return Received::closed;
  }
  const auto received = static_cast<std::size_t>(result);
  const int attachment = message.attachment();
  std::optional<SealedFile> file;
  if (attachment >= 0) {
    file.emplace(attachment, packet.header.size);
  }
  if (received < sizeof(Header) || (message.header.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0 ||
      packet.header.size > limit || packet.header.kind > Kind::last) {
    throw ProtocolError("a packet has a wrong size or kind");
  }
  if (file) {
    packet.body = file->content();
  } else {
    packet.body.assign(body.data(), received - sizeof(Header));
  }
  if (packet.body.size() != packet.header.size) {
    throw ProtocolError("a packet has another size than it says");
  }
  return Received::packet;
}

bool waitForPacket(int socket, int milliseconds) {
  pollfd waiting{socket, POLLIN, 0};
  const int result = ::poll(&waiting, 1, milliseconds);
  return result != 0;
}

}  // namespace KQ::isolation
