#include "isolation/protocol/packet_socket.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>

#include "isolation/protocol/encoding.hpp"

namespace {

using namespace KQ::isolation;

class Packets : public ::testing::Test {
 protected:
  Packets() { ::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()); }
  ~Packets() override {
    ::close(ends[0]);
    ::close(ends[1]);
  }

  std::array<int, 2> ends{};
  Packet packet;
};

TEST_F(Packets, ArriveWhole) {
  Header header;
  header.number = 17;
  ASSERT_EQ(sendPacket(ends[0], header, {"one ", "two"}, false), Sent::done);
  ASSERT_EQ(receivePacket(ends[1], packet, 100, false), Received::packet);
  EXPECT_EQ(packet.header.number, 17U);
  EXPECT_EQ(packet.body, "one two");
}

TEST_F(Packets, LongerThanTheSocketTakesArriveWhole) {
  const std::string text(10 * 1000 * 1000, 'a');
  ASSERT_EQ(sendPacket(ends[0], {}, {text}, false), Sent::done);
  ASSERT_EQ(receivePacket(ends[1], packet, text.size(), false), Received::packet);
  EXPECT_EQ(packet.body, text);
}

TEST_F(Packets, LongerThanAllowedAreRefused) {
  ASSERT_EQ(sendPacket(ends[0], {}, {std::string(101, 'a')}, false), Sent::done);
  EXPECT_THROW(receivePacket(ends[1], packet, 100, false), ProtocolError);
}

TEST_F(Packets, AreRefusedWithoutAHeader) {
  ::send(ends[0], "short", 5, 0);
  EXPECT_THROW(receivePacket(ends[1], packet, 100, false), ProtocolError);
}

TEST_F(Packets, AreRefusedWithAnotherSizeThanTheySay) {
  Header header;
  header.size = 5;
  ::send(ends[0], &header, sizeof header, 0);
  EXPECT_THROW(receivePacket(ends[1], packet, 100, false), ProtocolError);
}

TEST_F(Packets, AreRefusedWhenTheirFileCanStillChange) {
  const int file = ::memfd_create("test", MFD_CLOEXEC | MFD_ALLOW_SEALING);
  ASSERT_EQ(::ftruncate(file, 50), 0);
  EXPECT_THROW(SealedFile(file, 50), ProtocolError);
}

TEST_F(Packets, AreNoneWhereNoneWasSent) {
  EXPECT_EQ(receivePacket(ends[1], packet, 100, false), Received::nothing);
}

TEST_F(Packets, EndWithTheirSender) {
  ::shutdown(ends[0], SHUT_RDWR);
  EXPECT_EQ(receivePacket(ends[1], packet, 100, false), Received::closed);
  EXPECT_EQ(sendPacket(ends[0], {}, {"one"}, false), Sent::closed);
}

TEST_F(Packets, DoNotWaitForRoom) {
  Sent sent = Sent::done;
  for (int i = 0; i < 10000 && sent == Sent::done; ++i) {
    sent = sendPacket(ends[0], {}, {std::string(1000, 'a')}, false);
  }
  EXPECT_EQ(sent, Sent::full);
}

}  // namespace
