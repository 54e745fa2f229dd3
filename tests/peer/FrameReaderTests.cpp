#include "peer/FrameReader.h"
#include "peer/PeerProtocol.h"

#include <gtest/gtest.h>

#include <string>

namespace zolvex {
namespace {

using namespace std::string_view_literals;
using State = FrameReader::State;

TEST(FrameReader, aFrameSplitOverSeveralReadsIsOneMessage) {
  FrameReader reader;
  EXPECT_EQ(reader.feed("PLE"), State::incomplete);
  EXPECT_EQ(reader.feed("ASE_RELEASE"), State::incomplete);
  EXPECT_EQ(reader.feed("\0"sv), State::complete);
  EXPECT_EQ(reader.message(), "PLEASE_RELEASE");
}

TEST(FrameReader, bytesOneAtATimeGiveTheSameMessage) {
  FrameReader reader;
  for (const char byte : "HEALTH_CHECK\0"sv) reader.feed(std::string_view(&byte, 1));
  EXPECT_EQ(reader.state(), State::complete);
  EXPECT_EQ(reader.message(), "HEALTH_CHECK");
}

TEST(FrameReader, bytesAfterTheDelimiterAreIgnored) {
  FrameReader reader;
  EXPECT_EQ(reader.feed("RELEASED\0CONNECTED\0"sv), State::complete);
  EXPECT_EQ(reader.message(), "RELEASED");
}

TEST(FrameReader, aSecondFrameIsNeverRead) {
  FrameReader reader;
  reader.feed("RELEASED\0"sv);
  EXPECT_EQ(reader.feed("CONNECTED\0"sv), State::complete);
  EXPECT_EQ(reader.message(), "RELEASED");
}

TEST(FrameReader, anEmptyFrameIsAnEmptyMessage) {
  FrameReader reader;
  EXPECT_EQ(reader.feed("\0"sv), State::complete);
  EXPECT_EQ(reader.message(), "");
}

TEST(FrameReader, withoutADelimiterTheMessageIsWhatCameSoFar) {
  FrameReader reader;
  EXPECT_EQ(reader.feed(""), State::incomplete);
  EXPECT_EQ(reader.feed("OP_SUCCESS"), State::incomplete);
  EXPECT_EQ(reader.message(), "OP_SUCCESS");
}

TEST(FrameReader, aFrameOfExactlyTheMaximumIsTaken) {
  FrameReader reader;
  EXPECT_EQ(reader.feed(std::string(peerProtocol::maximumFrameLength, 'x')), State::incomplete);
  EXPECT_EQ(reader.feed("\0"sv), State::complete);
  EXPECT_EQ(reader.message().size(), peerProtocol::maximumFrameLength);
}

TEST(FrameReader, oneByteMoreThanTheMaximumIsTooLong) {
  FrameReader reader;
  reader.feed(std::string(peerProtocol::maximumFrameLength, 'x'));
  EXPECT_EQ(reader.feed("x"), State::tooLong);
  EXPECT_EQ(reader.feed("\0"sv), State::tooLong);
}

TEST(FrameReader, anEndlessStreamTakesNoMoreMemoryThanTheMaximum) {
  FrameReader reader;
  const std::string chunk(peerProtocol::maximumReadLength, 'x');
  for (int i = 0; i < 1600; ++i) reader.feed(chunk);  // 100 MB
  EXPECT_EQ(reader.state(), State::tooLong);
  EXPECT_EQ(reader.message().size(), peerProtocol::maximumFrameLength);
}

}  // namespace
}  // namespace zolvex
