#include "integration/worker/WorkerLab.h"
#include "platform/linux/FileDescriptor.h"
#include "support/EventLoop.h"

#include <QProcess>

#include <array>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

namespace zolvex::test {
namespace {

using namespace Qt::StringLiterals;

struct Pipe {
  Pipe() {
    std::array<int, 2> ends{-1, -1};
    EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    readEnd = FileDescriptor(ends[0]);
    writeEnd = FileDescriptor(ends[1]);
  }
  bool isEmpty() const {
    int left = -1;
    return ::ioctl(writeEnd.get(), FIONREAD, &left) == 0 && left == 0;
  }
  /// Whether nobody has the reading end any more.
  bool isAbandoned() const {
    pollfd state{.fd = writeEnd.get(), .events = 0, .revents = 0};
    return ::poll(&state, 1, 0) == 1 && (state.revents & POLLERR) != 0;
  }
  FileDescriptor readEnd;
  FileDescriptor writeEnd;
};

/// The worker as a process among others.
using WorkerProcess = WorkerLab;

// Its exit status says how it ended, whoever is left to read the rest.
TEST_F(WorkerProcess, endsWithItsStatusWhenNobodyReadsItsOutput) {
  bond(mouse);
  radio.openLink(laptop, radio.addressOf(mouse));
  Pipe output;
  output.readEnd.close();
  for (const auto& [command, status] : {std::pair(u"connect"_s, 0), {u"nonsense"_s, 64}}) {
    QProcess worker;
    worker.setProcessEnvironment(environment);
    worker.setChildProcessModifier([&] {
      ::dup2(output.writeEnd.get(), STDOUT_FILENO);
      ::dup2(output.writeEnd.get(), STDERR_FILENO);
    });
    worker.start(QStringLiteral(ZOLVEX_PROGRAM), {u"--zolvex-bluetooth-worker"_s, command});
    worker.write(printed(mouse));
    worker.closeWriteChannel();
    ASSERT_TRUE(runUntil([&] { return worker.state() == QProcess::NotRunning; }));
    EXPECT_EQ(worker.exitStatus(), QProcess::NormalExit) << command.toStdString();
    EXPECT_EQ(worker.exitCode(), status);
  }
}

// Somebody else may still have the other end of its input.
TEST_F(WorkerProcess, anOrphanThatStillReadsItsInputEndsByItself) {
  Pipe input;
  QProcess parent;
  parent.setProcessEnvironment(environment);
  parent.setChildProcessModifier([&] { ::dup2(input.readEnd.get(), STDIN_FILENO); });
  parent.start(u"/bin/sh"_s,
               {u"-c"_s, u"\"$0\" --zolvex-bluetooth-worker connect; exit 0"_s, QStringLiteral(ZOLVEX_PROGRAM)});
  ASSERT_TRUE(parent.waitForStarted());
  input.readEnd.close();
  ASSERT_EQ(::write(input.writeEnd.get(), "0", 1), 1);
  ASSERT_TRUE(runUntil([&] { return input.isEmpty(); }));
  parent.kill();
  parent.waitForFinished();
  EXPECT_TRUE(runUntil([&] { return input.isAbandoned(); }));
}

}  // namespace
}  // namespace zolvex::test
