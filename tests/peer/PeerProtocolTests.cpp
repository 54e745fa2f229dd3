#include "peer/PeerProtocol.h"

#include <gtest/gtest.h>

#include <string>

namespace zolvex {
namespace {

using namespace std::string_literals;
using enum DeviceCommand;

const PeerReply noResponse = PeerReply::failed("no_response");

TEST(PeerProtocol, aFrameIsTheRawValueAndOneZeroByte) {
  EXPECT_EQ(frameOf(pleaseRelease), "PLEASE_RELEASE\0"s);
}

TEST(PeerProtocol, everyCommandTextIsThatReply) {
  for (const auto command : {healthCheck, released, connected, pleaseRelease, operationSuccess, operationFailed})
    EXPECT_EQ(replyFromText(rawValueOf(command)), (PeerReply{command, std::nullopt}));
}

TEST(PeerProtocol, onlySuccessSucceeds) {
  EXPECT_TRUE(replyFromText("OP_SUCCESS").succeeded());
  EXPECT_FALSE(replyFromText("OP_FAILED").succeeded());
  EXPECT_FALSE(replyFromText("HEALTH_CHECK").succeeded());
  EXPECT_FALSE(PeerReply{}.succeeded());
}

TEST(PeerProtocol, noTextIsNoResponse) {
  EXPECT_EQ(replyFromText(std::nullopt), noResponse);
}

TEST(PeerProtocol, undecodableBytesAreNoResponse) {
  EXPECT_EQ(replyFromText("OP_SUCCESS\xff"), noResponse);
}

TEST(PeerProtocol, junkIsABadCommandWithItsFirstThirtyCharacters) {
  const auto junk = std::string(30, 'a') + std::string(170, 'b');
  EXPECT_EQ(replyFromText(junk), PeerReply::failed("bad_cmd: " + std::string(30, 'a')));
  EXPECT_EQ(replyFromText("op_success"), PeerReply::failed("bad_cmd: op_success"));
}

TEST(PeerProtocol, anEmptyTextIsABadCommand) {
  EXPECT_EQ(replyFromText(""), PeerReply::failed("bad_cmd: "));
}

TEST(PeerProtocol, junkIsCutAtCharactersNotBytes) {
  std::string junk;
  for (int i = 0; i < 40; ++i) junk += "\u00e4";
  EXPECT_EQ(replyFromText(junk), PeerReply::failed("bad_cmd: " + junk.substr(0, 60)));
}

TEST(PeerProtocol, aReplyIsNotCutAtALineFeed) {
  EXPECT_EQ(replyFromText("OP_SUCCESS\n"), PeerReply::failed("bad_cmd: OP_SUCCESS\n"));
}

TEST(PeerProtocol, aRequestIsTheFirstLineThatIsNotEmpty) {
  EXPECT_EQ(firstLine("HEALTH_CHECK"), "HEALTH_CHECK");
  EXPECT_EQ(firstLine("HEALTH_CHECK\n"), "HEALTH_CHECK");
  EXPECT_EQ(firstLine("PLEASE_RELEASE\nand more\n"), "PLEASE_RELEASE");
  EXPECT_EQ(firstLine("\n\nRELEASED\n"), "RELEASED");
}

TEST(PeerProtocol, onlyLineFeedsEndALine) {
  EXPECT_EQ(firstLine("HEALTH_CHECK\r\n"), "HEALTH_CHECK\r");
}

TEST(PeerProtocol, emptyTextOrOnlyLineFeedsHaveNoFirstLine) {
  EXPECT_EQ(firstLine(""), std::nullopt);
  EXPECT_EQ(firstLine("\n\n\n"), std::nullopt);
}

}  // namespace
}  // namespace zolvex
