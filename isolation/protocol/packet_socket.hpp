#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace KQ::isolation {

/// What a packet is.
enum class Kind : std::uint8_t {
  call,    ///< to the child: a call; the body is surroundings, if any, and arguments
  cancel,  ///< to the child: the host hears no more of an utterance
  taken,   ///< to the child: samples and records of an utterance that the host has taken so far
  report,  ///< from the child: records of a call
  last = report,
};

/// What stands before each packet.
struct Header {
  Kind kind = Kind::report;
  std::uint8_t call = 0;             ///< Kind::call: which one
  std::uint8_t hasSurroundings = 0;  ///< Kind::call: whether they stand before the arguments
  std::uint8_t isInFile = 0;         ///< the body comes as a memory file
  std::uint32_t reserved = 0;
  std::uint64_t number = 0;  ///< of the call, which is its utterance's, too; 0 for none
  std::uint64_t size = 0;    ///< bytes of the body
};
static_assert(sizeof(Header) == 24);

struct Packet {
  Header header;
  std::string body;
};

/// Bodies up to this size go through the socket, longer ones as a memory file. Well below what a
/// socket pair takes in one packet.
inline constexpr std::size_t packetSize = std::size_t{32} * 1024;

/// Audio goes in pieces of at most so many samples.
inline constexpr std::size_t samplesInPacket = std::size_t{12} * 1024;

/// A file in memory that nobody can change any more. Owns its descriptor.
class SealedFile {
 public:
  /// \throws std::system_error when the system has no memory or descriptor left
  explicit SealedFile(std::initializer_list<std::string_view> parts);
  /// Takes a file over from another process. \param size  that it is said to have
  /// \throws ProtocolError unless it is sealed and of that size
  SealedFile(int received, std::uint64_t size);
  ~SealedFile();
  SealedFile(const SealedFile&) = delete;
  SealedFile& operator=(const SealedFile&) = delete;

  int descriptor() const { return file; }
  /// \throws ProtocolError when it cannot be read
  std::string content() const;

 private:
  int file;
  std::uint64_t length = 0;
};

enum class Sent { done, full, closed };
enum class Received { packet, nothing, closed };

/// Sends one packet; whole or not at all. May be called by several threads at once.
/// \param parts  the body, at most four of them
/// \param waits  whether it waits while the socket is full
/// \throws std::system_error when a long body finds no memory
Sent sendPacket(int socket, Header header, std::initializer_list<std::string_view> parts,
                bool waits);

/// Receives one packet.
/// \param limit  bytes that the body may have at most
/// \param waits  whether it waits for one
/// \throws ProtocolError for what is no packet
Received receivePacket(int socket, Packet& packet, std::uint64_t limit, bool waits);

/// Waits until there is something to receive. \param milliseconds  at most so long; -1 for ever
/// \return whether there is, be it the end
bool waitForPacket(int socket, int milliseconds);

}  // namespace KQ::isolation
