#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "isolation/protocol/calls.hpp"
#include "isolation/protocol/messages.hpp"

namespace {

using namespace KQ::isolation;

constexpr Limits few{4, 2};

template <typename Value>
Value throughBytes(const Value& value, Limits limits = requestLimits) {
  Encoder encoder;
  encoder.put(value);
  Decoder decoder(encoder.bytes(), limits);
  auto result = decoder.get<Value>();
  decoder.requireEnd();
  return result;
}

TEST(Encoding, KeepsValues) {
  EXPECT_EQ(throughBytes(1.5F), 1.5F);
  EXPECT_EQ(throughBytes(true), true);
  EXPECT_EQ(throughBytes(std::string("a\0b", 3)), std::string("a\0b", 3));
  EXPECT_EQ(throughBytes(Names{"one", ""}), (Names{"one", ""}));
  EXPECT_EQ(throughBytes(Voices{{"Marie", "French"}}), (Voices{{"Marie", "French"}}));
}

std::string errorThroughBytes(const KQError& error) {
  Encoder encoder;
  put(encoder, error);
  Decoder decoder(encoder.bytes(), answerLimits);
  return getError(decoder).what();
}

TEST(Encoding, KeepsErrors) {
  EXPECT_EQ(errorThroughBytes(KQError("module", "method", "description", "file", 7)),
            "module::method: description (file:7)");
  EXPECT_EQ(errorThroughBytes(KQError("module", "method", "description", nullptr, 0)),
            "module::method: description");
}

TEST(Encoding, RefusesTextsBeyondTheLimit) {
  EXPECT_EQ(throughBytes(std::string("four"), few), "four");
  EXPECT_THROW(throughBytes(std::string("fives"), few), ProtocolError);
}

TEST(Encoding, RefusesListsBeyondTheLimit) {
  EXPECT_EQ(throughBytes(Names{"a", "b"}, few).size(), 2U);
  EXPECT_THROW(throughBytes(Names{"a", "b", "c"}, few), ProtocolError);
}

TEST(Encoding, RefusesWhatIsCutShort) {
  Encoder encoder;
  encoder.put(Names{"one", "two"});
  for (std::size_t size = 0; size < encoder.bytes().size(); ++size) {
    Decoder decoder(std::string_view(encoder.bytes()).substr(0, size), requestLimits);
    EXPECT_THROW(decoder.get<Names>(), ProtocolError) << size;
  }
}

TEST(Encoding, RefusesWhatIsTooLong) {
  Encoder encoder;
  encoder.put(1);
  encoder.put(std::uint8_t{0});
  Decoder decoder(encoder.bytes(), requestLimits);
  decoder.get<int>();
  EXPECT_THROW(decoder.requireEnd(), ProtocolError);
}

TEST(Encoding, RefusesOtherTruthValues) {
  Encoder encoder;
  encoder.put(std::uint8_t{2});
  Decoder decoder(encoder.bytes(), requestLimits);
  EXPECT_THROW(decoder.get<bool>(), ProtocolError);
}

TEST(Encoding, RefusesUnknownEnumerators) {
  Encoder encoder;
  encoder.put(static_cast<std::uint8_t>(static_cast<std::uint8_t>(Record::last) + 1));
  Decoder decoder(encoder.bytes(), requestLimits);
  EXPECT_THROW(decoder.getEnum(Record::last), ProtocolError);
}

}  // namespace
