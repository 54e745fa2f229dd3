#include "lab/world/LabProcess.h"

#include "lab/SignalStatus.h"

#include <csignal>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace zolvex::lab {

namespace {

constexpr int programStartLimitMilliseconds = 10'000;
constexpr int setupFailedStatus = 126;

/// Runs between fork and exec: system calls only.
void enterComputer(const QByteArray& networkNamespace, const QByteArray& hostName, bool hasOwnAvahiDirectory) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  setsid();
  if (!networkNamespace.isEmpty()) {
    const auto descriptor = open(networkNamespace.constData(), O_RDONLY | O_CLOEXEC);
    if (setns(descriptor, CLONE_NEWNET) != 0) _exit(setupFailedStatus);
    close(descriptor);
  }
  if (!hostName.isEmpty()) {
    if (unshare(CLONE_NEWUTS) != 0) _exit(setupFailedStatus);
    if (sethostname(hostName.constData(), static_cast<std::size_t>(hostName.size())) != 0) _exit(setupFailedStatus);
  }
  if (hasOwnAvahiDirectory) {
    if (unshare(CLONE_NEWNS) != 0) _exit(setupFailedStatus);
    if (mount("tmpfs", "/run/avahi-daemon", "tmpfs", 0, "mode=755") != 0) _exit(setupFailedStatus);
  }
}

}  // namespace

LabProcess::LabProcess(ProcessSetup setup) : setup_(std::move(setup)) {
  process_.setProcessChannelMode(QProcess::MergedChannels);
  process_.setProcessEnvironment(setup_.environment);
  process_.setChildProcessModifier(
      [networkNamespace = setup_.networkNamespace.toUtf8(), hostName = setup_.hostName.toUtf8(),
       avahi = setup_.hasOwnAvahiDirectory] { enterComputer(networkNamespace, hostName, avahi); });
  connect(&process_, &QProcess::readyRead, this, &LabProcess::readLines);
  connect(&process_, &QProcess::finished, this, [this] {
    thaw();  // whatever it left behind
    readLines();
    if (!unfinished_.isEmpty()) Q_EMIT line(QString::fromUtf8(std::exchange(unfinished_, {})));
    Q_EMIT ended();
  });
}

LabProcess::~LabProcess() {
  disconnect();
  stop();
}

bool LabProcess::start() {
  process_.start(setup_.program, setup_.arguments);
  process_.closeWriteChannel();
  return process_.waitForStarted(programStartLimitMilliseconds);
}

void LabProcess::freeze() {
  if (!isRunning() || frozen_) return;
  frozen_.emplace(static_cast<pid_t>(processId()));
  frozen_->freeze();
}

void LabProcess::thaw() {
  if (frozen_) frozen_->thaw();
  frozen_.reset();
}

void LabProcess::terminate() {
  thaw();
  if (isRunning()) process_.terminate();
}

void LabProcess::stop() {
  terminate();
  if (isRunning() && !process_.waitForFinished(static_cast<int>(politeLimit.count()))) kill();
}

void LabProcess::kill() {
  if (!isRunning()) return;
  process_.kill();
  process_.waitForFinished(static_cast<int>(politeLimit.count()));
}

int LabProcess::exitStatus() const {
  return process_.exitStatus() == QProcess::CrashExit ? signalStatusBase + process_.exitCode() : process_.exitCode();
}

void LabProcess::readLines() {
  unfinished_ += process_.readAll();
  for (auto end = unfinished_.indexOf('\n'); end >= 0; end = unfinished_.indexOf('\n')) {
    const auto text = QString::fromUtf8(unfinished_.first(end));
    unfinished_.remove(0, end + 1);
    Q_EMIT line(text);
  }
}

}  // namespace zolvex::lab
