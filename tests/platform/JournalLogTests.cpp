#include "platform/linux/JournalLog.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace zolvex::test {
namespace {

/// A socket in the journal's place.
class JournalStandIn {
 public:
  JournalStandIn() : socket_(socket(AF_UNIX, SOCK_DGRAM, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path().copy(address.sun_path, sizeof address.sun_path - 1);
    std::filesystem::remove(path());
    bound_ = bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  }
  ~JournalStandIn() {
    close(socket_);
    std::filesystem::remove(path());
  }
  std::string path() const { return testing::TempDir() + "journal-" + std::to_string(getpid()); }
  bool isBound() const { return bound_; }
  std::string received() const {
    std::array<char, 4096> buffer{};
    const auto length = recv(socket_, buffer.data(), buffer.size(), MSG_DONTWAIT);
    return length < 0 ? "" : std::string(buffer.data(), static_cast<std::size_t>(length));
  }

 private:
  int socket_;
  bool bound_ = false;
};

TEST(JournalLog, sendsTheRecordWithItsFields) {
  const JournalStandIn journal;
  ASSERT_TRUE(journal.isBound());
  journalSink(journal.path())({LogLevel::info, "BluetoothConnector", "connect: SUCCESS Magic Mouse"});
  EXPECT_EQ(journal.received(),
            "MESSAGE=connect: SUCCESS Magic Mouse\nPRIORITY=6\nSYSLOG_IDENTIFIER=zolvex\n"
            "SUBSYSTEM=quenmar.zolvex.app.macos\nCATEGORY=BluetoothConnector\n");
}

TEST(JournalLog, tellsErrorsAndFatalLinesByTheirPriority) {
  const JournalStandIn journal;
  const auto sink = journalSink(journal.path());
  sink({LogLevel::error, "c", "m"});
  EXPECT_NE(journal.received().find("PRIORITY=3\n"), std::string::npos);
  sink({LogLevel::fatal, "c", "m"});
  EXPECT_NE(journal.received().find("PRIORITY=2\n"), std::string::npos);
}

TEST(JournalLog, aMessageOfSeveralLinesCannotForgeAField) {
  const JournalStandIn journal;
  journalSink(journal.path())({LogLevel::info, "c", "one\nPRIORITY=0"});
  const std::string length("\x0e\0\0\0\0\0\0\0", 8);
  EXPECT_TRUE(journal.received().starts_with("MESSAGE\n" + length + "one\nPRIORITY=0\nPRIORITY=6\n"));
}

TEST(JournalLog, withoutAJournalTheLineGoesToStandardError) {
  testing::internal::CaptureStderr();
  journalSink("/nonexistent/socket")({LogLevel::error, "Settings", "lost"});
  EXPECT_NE(testing::internal::GetCapturedStderr().find(" error Settings: lost\n"), std::string::npos);
}

TEST(JournalLog, aTerminalGetsPlainLines) {
  testing::internal::CaptureStderr();
  setenv("JOURNAL_STREAM", "1:1", 1);  // inherited from a service, but not this program's standard error
  journalOrStandardError()({LogLevel::info, "c", "hello"});
  unsetenv("JOURNAL_STREAM");
  EXPECT_NE(testing::internal::GetCapturedStderr().find(" info c: hello\n"), std::string::npos);
}

}  // namespace
}  // namespace zolvex::test
