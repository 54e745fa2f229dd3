#include "lab/PrivateBus.h"

#include <QFile>

#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

namespace zolvex::lab {

namespace {

constexpr int startLimitMilliseconds = 10'000;
constexpr int stopLimitMilliseconds = 2'000;

// The directory must be open to the user avahi, as which avahi-daemon may run.
constexpr QFile::Permissions openDirectory = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup |
                                             QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther;

constexpr auto configurationFormat = R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <listen>%1</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow receive_sender="*" eavesdrop="true"/>
  </policy>
</busconfig>
)";

}  // namespace

PrivateBus::~PrivateBus() {
  stop();
}

QString PrivateBus::address() const {
  return QStringLiteral("unix:path=%1/bus").arg(directory_.path());
}

bool PrivateBus::start() {
  if (!directory_.isValid() || !writeConfiguration()) {
    error_ = QStringLiteral("cannot write to the temporary directory %1").arg(directory_.path());
    return false;
  }
  daemon_.setChildProcessModifier([] {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    setsid();  // a Ctrl-C is for its owner
  });
  daemon_.setProcessChannelMode(QProcess::MergedChannels);
  daemon_.start(QStringLiteral("dbus-daemon"),
                {QStringLiteral("--config-file=%1/bus.conf").arg(directory_.path()), QStringLiteral("--nofork"),
                 QStringLiteral("--nopidfile"), QStringLiteral("--print-address")});
  if (!daemon_.waitForStarted(startLimitMilliseconds) || !daemon_.waitForReadyRead(startLimitMilliseconds)) {
    error_ = QStringLiteral("dbus-daemon did not start: %1").arg(daemon_.errorString());
    return false;
  }
  const auto printed = daemon_.readAll();
  if (printed.startsWith("unix:")) return true;
  error_ = QStringLiteral("dbus-daemon did not start: %1").arg(QString::fromUtf8(printed).trimmed());
  return false;
}

void PrivateBus::stop() {
  if (daemon_.state() == QProcess::NotRunning) return;
  daemon_.terminate();
  if (!daemon_.waitForFinished(stopLimitMilliseconds)) {
    daemon_.kill();
    daemon_.waitForFinished(stopLimitMilliseconds);
  }
  QFile::remove(directory_.filePath(QStringLiteral("bus")));
}

bool PrivateBus::writeConfiguration() {
  QFile::setPermissions(directory_.path(), openDirectory);
  QFile file(directory_.filePath(QStringLiteral("bus.conf")));
  if (!file.open(QIODevice::WriteOnly)) return false;
  return file.write(QString::fromLatin1(configurationFormat).arg(address()).toUtf8()) > 0;
}

}  // namespace zolvex::lab
