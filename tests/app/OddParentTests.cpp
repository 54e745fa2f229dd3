#include "ZolvexProcess.h"
#include "lab/bluez/BluezService.h"

#include <gtest/gtest.h>

#include <csignal>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

/// The real program, started by one that leaves signals and standard streams in an odd state.
struct OddParentTest : testing::Test {
  void SetUp() override { ASSERT_TRUE(computer.sessionBus.start()); }

  /// The shell that becomes it knows the program as $0, and a directory to use as $1.
  void startBy(const QString& script) {
    computer.zolvex.emplace(u"/bin/sh"_s,
                            QStringList{u"-c"_s, script, QStringLiteral(ZOLVEX), computer.directory.path()},
                            computer.variables());
  }
  ProgramRun& zolvex() { return *computer.zolvex; }
  std::string lockFile() const {
    QFile file(computer.directory.filePath(u"zolvex/instance.lock"_s));
    return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : std::string();
  }

  ZolvexProcess computer;
};

TEST_F(OddParentTest, ignoredEndsOfChildrenDoNotFailASwitch) {
  ASSERT_TRUE(computer.systemBus.start());
  lab::Radio radio;
  for (const auto& device : lab::magicDevices()) radio.addDevice(device);
  const auto mouse = radio.addressOf(u"Magic Mouse"_s);
  radio.bond(u"Laptop"_s, mouse);
  lab::BluezService bluez(radio, {u"Laptop"_s, radio.adapterAddressFor(u"Laptop"_s)});
  ASSERT_TRUE(bluez.start(computer.systemBus.address()));
  computer.writeSettings(R"({"autoConnect": false, "managedDeviceAddresses": [")" + mouse.toUtf8() + R"("]})");
  startBy(u"exec env --ignore-signal=CHLD \"$0\""_s);
  ASSERT_TRUE(computer.isAnswering());
  auto program = computer.control({u"switch"_s, u"--wait"_s});
  EXPECT_EQ(program.exitStatus(), 0) << program.output() << zolvex().errors();
  EXPECT_EQ(computer.end(), 0);
}

TEST_F(OddParentTest, withoutStandardErrorTheLogGoesIntoNoOtherFile) {
  startBy(u"exec \"$0\" 2>&-"_s);
  ASSERT_TRUE(computer.isAnswering());
  EXPECT_EQ(lockFile(), std::to_string(zolvex().processId()) + "\n");
  EXPECT_EQ(computer.end(), 0);
}

TEST_F(OddParentTest, startsAlsoWhenNobodyReadsTheFirstComplaint) {
  QDir().mkpath(computer.directory.filePath(u"zolvex/instance.lock"_s));  // no file, so that it cannot be locked
  startBy(u"mkfifo \"$1/log\"; exec \"$0\" 3<>\"$1/log\" 2>\"$1/log\" 3<&-"_s);
  EXPECT_TRUE(computer.isAnswering());
  EXPECT_EQ(computer.end(), 0);
}

TEST_F(OddParentTest, staysAtAHangUpAfterNohup) {
  startBy(u"exec env --ignore-signal=HUP \"$0\""_s);
  ASSERT_TRUE(computer.isAnswering());
  kill(static_cast<pid_t>(zolvex().processId()), SIGHUP);
  EXPECT_EQ(computer.control({u"status"_s}).exitStatus(), 0);
  EXPECT_EQ(computer.end(), 0);
}

}  // namespace
}  // namespace zolvex::test
